#pragma once

#include <QtCore/QByteArray>
#include <QtCore/QList>
#include <QtCore/QString>

/// What the system itself says about a file, and changes behind the library's back. Links are followed, and no
/// CallFailure stands in the way.
namespace FileState {

/// The permissions with the three bits above them; -1 when there is no such file.
int Mode(const QString& path);
bool SetMode(const QString& path, int mode);
/// Whether the file can be opened for writing; for a folder, whether something can be made in it.
bool CanWrite(const QString& path);

/// The names of the attributes in the user's namespace.
QList<QByteArray> AttributeNames(const QString& path);
/// Null when there is no such attribute.
QByteArray Attribute(const QString& path, const char* name);
bool SetAttribute(const QString& path, const char* name, const QByteArray& text);

/// The flags of the inode; -1 when there are none.
int Flags(const QString& path);
bool SetFlags(const QString& path, int flags);
bool IsImmutable(const QString& path);
bool SetImmutable(const QString& path, bool immutable);

/// Nanoseconds since the epoch; the smallest number when there is no such time.
qint64 BirthTime(const QString& path);
qint64 AccessTime(const QString& path);
qint64 ModificationTime(const QString& path);
bool SetTimes(const QString& path, qint64 access, qint64 modification);

} // namespace FileState

/// Sees what happens to a file.
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
