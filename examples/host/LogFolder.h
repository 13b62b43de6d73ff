#pragma once

#include <QtCore/QDir>
#include <QtCore/QStringList>

/// The folder of the log file and of those that it was rotated to.
class LogFolder
{
public:
    /// Below the folder `base`.
    explicit LogFolder(const QString& base);

    /// Makes the folder when it is missing. What stands in the way, empty when nothing does; then nothing was created.
    QString Create() const;

    QString LogPath() const;
    QString PathOf(const QString& name) const;
    /// The names of the rotated files, oldest first.
    QStringList Rotated() const;
    /// Removes all but the newest rotated files. How many that were.
    int RemoveOld() const;

    /// Whether a rotation in this second would find its name taken. Names tell time to the second, and the content of a
    /// log that cannot be renamed is lost: who logs a hundred megabytes in a second has to mind that.
    bool IsRotationBlocked() const;
    /// Whether the text stands near the end of what was logged so far.
    bool EndsWith(const QByteArray& text) const;

private:
    QDir iDir;
};
