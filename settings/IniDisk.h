#pragma once

#include <QtCore/QByteArray>
#include <QtCore/QString>

#include <sys/stat.h>
#include <sys/types.h>

/// INI files on disks that fail, fill up and are shared.
namespace IniDisk {

enum class Kind { None, File, Folder, Other };

/// What tells one state of a file from another.
struct State
{
    Kind iKind = Kind::None;
    dev_t iDevice = 0;
    ino_t iNode = 0;
    off_t iSize = 0;
    timespec iTime = {};
};
bool operator==(const State& left, const State& right);

State StateOf(const QString& path);
State StateOf(const QByteArray& encodedPath);
/// Where the links at the end of the path lead, which may be nowhere.
QString TargetOf(const QString& path);

/// Puts a new file with these bytes in the place of the one at `path`, or leaves that as it is and gives false.
bool Replace(const QString& path, const QByteArray& bytes);
/// Removes what killed writers left beside the file more than a minute ago.
void RemoveLeftovers(const QString& path);

/// The bytes of a regular file, beside the heap: a large block there has all small ones put in order first, which takes
/// longer than reading.
class Content
{
public:
    Content() = default;
    ~Content() { Clear(); }

    /// A file that is missing has none. False if they cannot be had.
    bool Read(const QString& path);
    /// As long as this is.
    const QByteArray& Bytes() const { return iBytes; }

private:
    Q_DISABLE_COPY(Content)

    bool ReadOnce(const QByteArray& encodedPath);
    void Clear();

    void* iMemory = nullptr;
    size_t iSize = 0;
    QByteArray iBytes;
};

/// Keeps other objects and processes that ask for it from changing a folder's INI files. Waits for a while only: a lock
/// that somebody keeps is worth less than the change.
class FolderLock
{
public:
    explicit FolderLock(const QString& path);
    ~FolderLock();

private:
    Q_DISABLE_COPY(FolderLock)

    int iFolder;
};

/// A second name for a file, or a copy where there are no such names, until its end.
class Backup
{
public:
    explicit Backup(const QString& path);
    ~Backup();

    /// Empty without a backup.
    QString Path() const { return iPath; }
    bool Restore();

private:
    Q_DISABLE_COPY(Backup)

    const QString iOriginal;
    QString iPath;
};

} // namespace IniDisk
