#pragma once

#include <QtCore/QByteArray>
#include <QtCore/QList>
#include <QtCore/QString>

/// Reads and changes a file's attributes directly, without the library. Links are followed, and CallFailure has no
/// effect.
namespace FileState {

/// The permissions with the three bits above them, -1 if there is no such file.
int Mode(const QString& path);
bool SetMode(const QString& path, int mode);
/// Whether the file can be opened for writing; for a folder, whether a file can be created in it.
bool CanWrite(const QString& path);

/// The names of the attributes in the user namespace.
QList<QByteArray> AttributeNames(const QString& path);
/// The attribute, null if there is none.
QByteArray Attribute(const QString& path, const char* name);
bool SetAttribute(const QString& path, const char* name, const QByteArray& text);

/// The flags of the inode, -1 if there are none.
int Flags(const QString& path);
bool SetFlags(const QString& path, int flags);
bool IsImmutable(const QString& path);
bool SetImmutable(const QString& path, bool immutable);

/// Nanoseconds since the epoch, or the smallest number if there is no such time.
qint64 BirthTime(const QString& path);
qint64 AccessTime(const QString& path);
qint64 ModificationTime(const QString& path);
bool SetTimes(const QString& path, qint64 access, qint64 modification);

} // namespace FileState

/// Watches a file.
class FileWatch
{
public:
    enum What {
        Opens,
        Changes, ///< of its mode, its attributes and its times
    };

    FileWatch(const QString& path, What what);
    ~FileWatch();
    Q_DISABLE_COPY(FileWatch)

    /// Whether it happened since the last call.
    bool Saw();

private:
    const int iQueue;
    const int iWatch;
};
