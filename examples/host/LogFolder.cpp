#include "LogFolder.h"

#include <QtCore/QDateTime>
#include <QtCore/QFile>
#include <QtCore/QFileInfo>

namespace {

constexpr int kRotatedKept = 3;

// The existing part of a path.
QFileInfo NearestExisting(const QString& path)
{
    QFileInfo info(path);
    while (!info.exists() && !info.isRoot())
        info = QFileInfo(info.path());
    return info;
}

} // namespace

LogFolder::LogFolder(const QString& base)
    : iDir(QDir(base).filePath(QStringLiteral("Logs")))
{
}

QString LogFolder::Create() const
{
    const QFileInfo existing = NearestExisting(iDir.path());
    if (!existing.isDir())
        return QStringLiteral("%1 is not a folder").arg(existing.filePath());
    if (!existing.isWritable())
        return QStringLiteral("%1 may not be written to").arg(existing.filePath());
    const QFileInfo log(LogPath());
    if (log.exists() && !(log.isFile() && log.isWritable()))
        return QStringLiteral("%1 may not be written to").arg(LogPath());
    return iDir.mkpath(QStringLiteral(".")) ? QString() : QStringLiteral("cannot create %1").arg(iDir.path());
}

QString LogFolder::LogPath() const
{
    return PathOf(QStringLiteral("host.log"));
}

QString LogFolder::PathOf(const QString& name) const
{
    return iDir.filePath(name);
}

QStringList LogFolder::Rotated() const
{
    const QString pattern = QStringLiteral("host-%1%1-%1-%1_%1-%1-%1.log").arg(QStringLiteral("[0-9][0-9]"));
    return iDir.entryList({pattern}, QDir::Files, QDir::Name);
}

int LogFolder::RemoveOld() const
{
    const QStringList old = Rotated();
    int removed = 0;
    for (int i = 0; i < old.size() - kRotatedKept; ++i)
        removed += QFile::remove(PathOf(old[i])) ? 1 : 0;
    return removed;
}

bool LogFolder::IsRotationBlocked() const
{
    const QString time = QDateTime::currentDateTime().toString(QStringLiteral("yyyy-MM-dd_hh-mm-ss"));
    return QFile::exists(PathOf(QStringLiteral("host-%1.log").arg(time)));
}
