#include "Files.h"

#include <QtCore/QDir>
#include <QtCore/QElapsedTimer>
#include <QtCore/QThread>

namespace {

constexpr int kPatienceMs = 60000;
constexpr unsigned long kPollUs = 200;

} // namespace

QString Files::LogPath(const QString& folder)
{
    return QDir(folder).filePath(QStringLiteral("bench.log"));
}

QStringList Files::All(const QString& folder)
{
    // "bench-<time>.log" comes before "bench.log".
    QStringList paths;
    const QDir dir(folder);
    for (const QString& name : dir.entryList({QStringLiteral("bench*.log")}, QDir::Files, QDir::Name))
        paths += dir.filePath(name);
    return paths;
}

qint64 Files::TotalSize(const QString& folder)
{
    qint64 size = 0;
    for (const QString& path : All(folder))
        size += QFileInfo(path).size();
    return size;
}

bool Files::WaitForSize(const QString& folder, qint64 bytes)
{
    QElapsedTimer elapsed;
    elapsed.start();
    while (TotalSize(folder) < bytes) {
        if (elapsed.hasExpired(kPatienceMs))
            return false;
        QThread::usleep(kPollUs);
    }
    return true;
}
