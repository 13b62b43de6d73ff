#pragma once

#include <QtCore/QDir>
#include <QtCore/QStringList>

/// The folder of the log file and of the rotated files.
class LogFolder
{
public:
    /// For the folder below `base`.
    explicit LogFolder(const QString& base);

    /// Creates the folder if it is missing. Returns an empty text, or what prevents it; then nothing was created.
    QString Create() const;

    QString LogPath() const;
    QString PathOf(const QString& name) const;
    /// The names of the rotated files, oldest first.
    QStringList Rotated() const;
    /// Removes all but the newest rotated files. Returns their number.
    int RemoveOld() const;

    /// Whether a rotation in this second would find its name taken. Names contain the time to the second, and a log
    /// that cannot be renamed loses its content: a host that logs a hundred megabytes in a second must avoid that.
    bool IsRotationBlocked() const;

private:
    QDir iDir;
};
