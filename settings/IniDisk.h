#pragma once

#include <QtCore/QByteArray>
#include <QtCore/QString>

#include <sys/stat.h>
#include <sys/types.h>

/// INI files on disks that fail or fill up, and that other processes change.
namespace IniDisk {

enum class Kind { None, File, Folder, Other };

/// Identifies a version of a file.
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
/// The target of the links at the end of the path, which need not exist.
QString TargetOf(const QString& path);

/// Writes these bytes to the file at `path`, and creates it if it is missing.
bool Put(const QString& path, const QByteArray& text);
/// Replaces the file at `path` with a new one that holds these bytes, or leaves it alone and returns false.
bool Replace(const QString& path, const QByteArray& bytes);
/// Whether the times of two versions in a row show QSettings, which compares milliseconds, that they are two. Clocks
/// may tick in steps of milliseconds, too. A time far ahead of the clock does not count.
bool IsLater(const State& version, const State& before);
/// Makes the time of the file a millisecond later than both.
void SetLater(const QString& path, const State& version, const State& before);
/// Removes the files that killed writers left beside this one more than a minute ago.
void RemoveLeftovers(const QString& path);

/// The bytes of a regular file, outside the heap: to allocate a large block there, the allocator first merges all small
/// free ones, which takes longer than reading.
class Content
{
public:
    Content() = default;
    ~Content() { Clear(); }

    /// A missing file has no bytes. False if the file cannot be read.
    bool Read(const QString& path);
    /// Valid as long as this object.
    const QByteArray& Bytes() const { return iBytes; }

private:
    Q_DISABLE_COPY(Content)

    bool ReadOnce(const QByteArray& encodedPath);
    void Clear();

    void* iMemory = nullptr;
    size_t iSize = 0;
    QByteArray iBytes;
};

/// Keeps other objects and processes that take this lock from changing the folder of an INI file. Waits for a limited
/// time: writing a change, or reading one soon, is more important than respecting a lock that is not released.
class FolderLock
{
public:
    /// A shared lock for reading: QSettings reads a file first and then asks for its time and size. If another process
    /// replaces the file in between, QSettings takes the old contents for the new ones from then on.
    enum class For { Reading, Writing };

    FolderLock(const QString& path, For purpose);
    ~FolderLock();

private:
    Q_DISABLE_COPY(FolderLock)

    int iFolder;
};

/// A second name for a file, or a copy if the file system has no hard links, until this object is destroyed.
class Backup
{
public:
    explicit Backup(const QString& path);
    ~Backup();

    /// The path, empty without a backup.
    QString Path() const { return iPath; }
    bool Restore();

private:
    Q_DISABLE_COPY(Backup)

    const QString iOriginal;
    QString iPath;
};

} // namespace IniDisk
