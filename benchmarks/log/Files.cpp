#include "Files.h"

#include <QtCore/QDir>

QString Files::LogPath(const QString& folder)
{
    return QDir(folder).filePath(QStringLiteral("bench.log"));
}

QStringList Files::All(const QString& folder)
{
    // "bench-<time>.log" comes before "bench.log".
    QStringList paths;
    const QDir dir(folder);
    for (const QString& name : dir.entryList({QStringLiteral("bench*")}, QDir::Files, QDir::Name))
        paths += dir.filePath(name);
    return paths;
}
