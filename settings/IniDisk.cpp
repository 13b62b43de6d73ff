#include "IniDisk.h"

#include "FileTime.h"

#include <QtCore/QDir>
#include <QtCore/QFile>
#include <QtCore/QFileInfo>
#include <QtCore/QRandomGenerator>

#include <algorithm>
#include <cerrno>
#include <climits>
#include <cstdio>
#include <ctime>
#include <fcntl.h>
#include <sys/file.h>
#include <sys/mman.h>
#include <unistd.h>

using IniDisk::Backup;
using IniDisk::Content;
using IniDisk::FolderLock;
using IniDisk::Kind;
using IniDisk::State;

namespace {

constexpr int kTries = 8; ///< of a call that may fail once
constexpr int kUniqueSize = 6; ///< letters in the names of the framework's temporary files
constexpr mode_t kAllModes = 07777;

class OpenFile
{
public:
    explicit OpenFile(int file)
        : iFile(file)
    {
    }
    ~OpenFile()
    {
        if (iFile >= 0)
            ::close(iFile);
    }
    int Number() const { return iFile; }

private:
    Q_DISABLE_COPY(OpenFile)

    const int iFile;
};

QByteArray Encoded(const QString& path)
{
    return QFile::encodeName(path);
}

template <typename Function>
bool Try(const Function& function)
{
    for (int i = 0; i < kTries; ++i) {
        if (function())
            return true;
    }
    return false;
}

Kind KindOf(mode_t mode)
{
    if (S_ISREG(mode))
        return Kind::File;
    return S_ISDIR(mode) ? Kind::Folder : Kind::Other;
}

bool WriteAll(int file, const QByteArray& bytes)
{
    for (int at = 0; at < bytes.size();) {
        const ssize_t count = ::write(file, bytes.constData() + at, size_t(bytes.size() - at));
        if (count <= 0)
            return false;
        at += int(count);
    }
    return true;
}

QString NewNameBeside(const QString& path)
{
    QString name = path + QLatin1Char('.');
    for (int i = 0; i < kUniqueSize; ++i)
        name += QLatin1Char(char('a' + QRandomGenerator::system()->bounded(26)));
    return name;
}

// The file gets the mode of the existing one, if any.
bool WriteNew(const QString& path, const QByteArray& bytes, const QString& like)
{
    struct stat status = {};
    const bool hasLike = ::stat(Encoded(like).constData(), &status) == 0;
    const OpenFile file(
        ::open(Encoded(path).constData(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, hasLike ? 0600 : 0666));
    if (file.Number() < 0)
        return false;
    Content written;
    const bool isWhole = WriteAll(file.Number(), bytes)
        && (!hasLike || ::fchmod(file.Number(), status.st_mode & kAllModes) == 0) && ::fsync(file.Number()) == 0
        && written.Read(path) && written.Bytes() == bytes;
    if (!isWhole)
        ::unlink(Encoded(path).constData());
    return isWhole;
}

bool Rename(const QString& from, const QString& to)
{
    return Try([&] { return std::rename(Encoded(from).constData(), Encoded(to).constData()) == 0; });
}

qint64 MSecsOf(const State& version)
{
    return qint64(version.iTime.tv_sec) * 1000 + version.iTime.tv_nsec / 1000000;
}

bool IsUnique(const QString& name)
{
    return name.size() == kUniqueSize && std::all_of(name.begin(), name.end(), [](QChar c) {
               const ushort lower = c.unicode() | 0x20;
               return lower >= 'a' && lower <= 'z';
           });
}

} // namespace

bool IniDisk::operator==(const State& left, const State& right)
{
    return left.iKind == right.iKind && left.iDevice == right.iDevice && left.iNode == right.iNode
        && left.iSize == right.iSize && left.iTime.tv_sec == right.iTime.tv_sec
        && left.iTime.tv_nsec == right.iTime.tv_nsec;
}

State IniDisk::StateOf(const QString& path)
{
    return StateOf(Encoded(path));
}

State IniDisk::StateOf(const QByteArray& encodedPath)
{
    struct stat status = {};
    if (::stat(encodedPath.constData(), &status) != 0)
        return {};
    return {KindOf(status.st_mode), status.st_dev, status.st_ino, status.st_size, ModifiedAt(status)};
}

QString IniDisk::TargetOf(const QString& path)
{
    constexpr int kMostLinks = 40;
    QFileInfo info(path);
    for (int i = 0; i < kMostLinks && info.isSymLink(); ++i)
        info.setFile(info.symLinkTarget());
    return info.absoluteFilePath();
}

bool Content::Read(const QString& path)
{
    return Try([&] { return ReadOnce(Encoded(path)); });
}

bool Content::ReadOnce(const QByteArray& encodedPath)
{
    Clear();
    const OpenFile file(::open(encodedPath.constData(), O_RDONLY | O_NONBLOCK | O_CLOEXEC));
    struct stat status = {};
    if (file.Number() < 0)
        return errno == ENOENT;
    if (::fstat(file.Number(), &status) != 0 || !S_ISREG(status.st_mode) || status.st_size >= INT_MAX)
        return false;
    const auto size = size_t(status.st_size) + 1; // the last read finds the end of the file
    void* const memory = ::mmap(nullptr, size, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    if (memory == MAP_FAILED)
        return false;
    iMemory = memory;
    iSize = size;
    size_t read = 0;
    ssize_t count = 1;
    while (count > 0 && read < size) {
        count = ::read(file.Number(), static_cast<char*>(memory) + read, size - read);
        read += size_t(std::max<ssize_t>(count, 0));
    }
    iBytes = QByteArray::fromRawData(static_cast<const char*>(memory), int(read));
    return count == 0;
}

void Content::Clear()
{
    iBytes.clear();
    if (iMemory)
        ::munmap(iMemory, iSize);
    iMemory = nullptr;
}

bool IniDisk::Put(const QString& path, const QByteArray& text)
{
    QFile file(path);
    return file.open(QIODevice::WriteOnly | QIODevice::Unbuffered) && file.write(text) == text.size();
}

bool IniDisk::Replace(const QString& path, const QByteArray& bytes)
{
    return Try([&] {
        const QString name = NewNameBeside(path);
        if (!WriteNew(name, bytes, path))
            return false;
        if (Rename(name, path))
            return true;
        ::unlink(Encoded(name).constData());
        return false;
    });
}

bool IniDisk::IsLater(const State& version, const State& before)
{
    constexpr qint64 kFarMSecs = 1000;
    const qint64 ahead = MSecsOf(before) - MSecsOf(version);
    return before.iKind == Kind::None || ahead < 0 || ahead > kFarMSecs;
}

// A file of another user keeps its time.
void IniDisk::SetLater(const QString& path, const State& version, const State& before)
{
    const qint64 time = std::max(MSecsOf(version), MSecsOf(before)) + 1;
    const timespec times[] = {{0, UTIME_OMIT}, {time_t(time / 1000), long(time % 1000) * 1000000}};
    ::utimensat(AT_FDCWD, Encoded(path).constData(), times, 0);
}

void IniDisk::RemoveLeftovers(const QString& path)
{
    constexpr time_t kOldSecs = 60;
    const QFileInfo info(path);
    const QString start = info.fileName() + QLatin1Char('.');
    const QStringList names = info.dir().entryList(QDir::Files | QDir::Hidden, QDir::Unsorted);
    for (const QString& name : names) {
        if (!name.startsWith(start) || !IsUnique(name.mid(start.size())))
            continue;
        const QByteArray leftover = Encoded(info.dir().filePath(name));
        struct stat status = {};
        if (::lstat(leftover.constData(), &status) == 0 && S_ISREG(status.st_mode) && status.st_uid == ::geteuid()
            && ModifiedAt(status).tv_sec < std::time(nullptr) - kOldSecs)
            ::unlink(leftover.constData());
    }
}

FolderLock::FolderLock(const QString& path, For purpose)
    : iFolder(::open(Encoded(QFileInfo(TargetOf(path)).path()).constData(), O_RDONLY | O_DIRECTORY | O_CLOEXEC))
{
    constexpr useconds_t kWaitUsecs = 1000;
    const int waits = purpose == For::Writing ? 2000 : 100;
    const int operation = purpose == For::Writing ? LOCK_EX : LOCK_SH;
    for (int i = 0; i < waits && iFolder >= 0; ++i) {
        if (::flock(iFolder, operation | LOCK_NB) == 0 || errno != EWOULDBLOCK)
            break;
        ::usleep(kWaitUsecs);
    }
}

// Unlocks explicitly: a forked process may have the folder open, too.
FolderLock::~FolderLock()
{
    if (iFolder < 0)
        return;
    ::flock(iFolder, LOCK_UN);
    ::close(iFolder);
}

Backup::Backup(const QString& path)
    : iOriginal(path)
{
    Try([this] {
        const QString name = NewNameBeside(iOriginal);
        Content content;
        if (::link(Encoded(iOriginal).constData(), Encoded(name).constData()) == 0
            || (errno != ENOENT && content.Read(iOriginal) && WriteNew(name, content.Bytes(), iOriginal)))
            iPath = name;
        return !iPath.isEmpty();
    });
}

Backup::~Backup()
{
    if (!iPath.isEmpty())
        Try([this] { return ::unlink(Encoded(iPath).constData()) == 0 || errno == ENOENT; });
}

bool Backup::Restore()
{
    if (iPath.isEmpty() || !Rename(iPath, iOriginal))
        return false;
    iPath.clear();
    return true;
}
