#include "FileState.h"

#include <QtCore/QFile>

#include <cerrno>
#include <fcntl.h>
#include <limits>
#include <linux/fs.h>
#include <sys/inotify.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/xattr.h>
#include <unistd.h>

namespace {

constexpr qint64 kNsPerSecond = 1000000000;
constexpr qint64 kNone = std::numeric_limits<qint64>::min();

class OpenFile
{
public:
    OpenFile(const QString& path, int flags)
        : iFile(::open(QFile::encodeName(path).constData(), flags | O_NONBLOCK | O_CLOEXEC, 0600))
    {
    }
    ~OpenFile()
    {
        if (iFile >= 0)
            ::close(iFile);
    }
    Q_DISABLE_COPY(OpenFile)

    int Get() const { return iFile; }

private:
    const int iFile;
};

using Status = struct statx;

qint64 Time(const QString& path, unsigned int field, statx_timestamp Status::*time)
{
    Status status = {};
    const QByteArray name = QFile::encodeName(path);
    if (::syscall(SYS_statx, AT_FDCWD, name.constData(), 0, field, &status) != 0 || (status.stx_mask & field) == 0)
        return kNone;
    return (status.*time).tv_sec * kNsPerSecond + (status.*time).tv_nsec;
}

struct timespec Timespec(qint64 ns)
{
    struct timespec time = {};
    time.tv_nsec = long((ns % kNsPerSecond + kNsPerSecond) % kNsPerSecond);
    time.tv_sec = (ns - time.tv_nsec) / kNsPerSecond;
    return time;
}

} // namespace

int FileState::Mode(const QString& path)
{
    struct stat status = {};
    return ::stat(QFile::encodeName(path).constData(), &status) == 0 ? int(status.st_mode & 07777) : -1;
}

bool FileState::SetMode(const QString& path, int mode)
{
    return ::syscall(SYS_fchmodat, AT_FDCWD, QFile::encodeName(path).constData(), mode) == 0;
}

bool FileState::CanWrite(const QString& path)
{
    if (OpenFile(path, O_WRONLY).Get() >= 0)
        return true;
    const QString probe = path + QStringLiteral("/probe");
    return OpenFile(probe, O_WRONLY | O_CREAT).Get() >= 0 && QFile::remove(probe);
}

QList<QByteArray> FileState::AttributeNames(const QString& path)
{
    char buffer[4096];
    const ssize_t size = ::listxattr(QFile::encodeName(path).constData(), buffer, sizeof buffer);
    if (size < 0)
        return {"not to be listed"};
    QList<QByteArray> names;
    for (const QByteArray& name : QByteArray(buffer, int(size)).split('\0')) {
        if (name.startsWith("user."))
            names += name;
    }
    return names;
}

QByteArray FileState::Attribute(const QString& path, const char* name)
{
    char buffer[4096];
    const long size = ::syscall(SYS_getxattr, QFile::encodeName(path).constData(), name, buffer, sizeof buffer);
    return size < 0 ? QByteArray() : QByteArray(buffer, int(size));
}

bool FileState::SetAttribute(const QString& path, const char* name, const QByteArray& text)
{
    return ::syscall(SYS_setxattr, QFile::encodeName(path).constData(), name, text.constData(), size_t(text.size()), 0)
        == 0;
}

int FileState::Flags(const QString& path)
{
    const OpenFile file(path, O_RDONLY);
    int flags = 0;
    return ::syscall(SYS_ioctl, file.Get(), FS_IOC_GETFLAGS, &flags) == 0 ? flags : -1;
}

bool FileState::SetFlags(const QString& path, int flags)
{
    const OpenFile file(path, O_RDONLY);
    return ::syscall(SYS_ioctl, file.Get(), FS_IOC_SETFLAGS, &flags) == 0;
}

bool FileState::IsImmutable(const QString& path)
{
    Status status = {};
    const QByteArray name = QFile::encodeName(path);
    return ::syscall(SYS_statx, AT_FDCWD, name.constData(), 0, STATX_TYPE, &status) == 0
        && (status.stx_attributes & STATX_ATTR_IMMUTABLE) != 0;
}

bool FileState::SetImmutable(const QString& path, bool immutable)
{
    const int flags = Flags(path);
    return flags >= 0 && SetFlags(path, immutable ? flags | FS_IMMUTABLE_FL : flags & ~FS_IMMUTABLE_FL);
}

qint64 FileState::BirthTime(const QString& path)
{
    return Time(path, STATX_BTIME, &Status::stx_btime);
}

qint64 FileState::AccessTime(const QString& path)
{
    return Time(path, STATX_ATIME, &Status::stx_atime);
}

qint64 FileState::ModificationTime(const QString& path)
{
    return Time(path, STATX_MTIME, &Status::stx_mtime);
}

bool FileState::SetTimes(const QString& path, qint64 access, qint64 modification)
{
    const struct timespec times[] = {Timespec(access), Timespec(modification)};
    return ::syscall(SYS_utimensat, AT_FDCWD, QFile::encodeName(path).constData(), times, 0) == 0;
}

FileWatch::FileWatch(const QString& path, What what)
    : iQueue(::inotify_init1(IN_NONBLOCK | IN_CLOEXEC))
    , iWatch(::inotify_add_watch(iQueue, QFile::encodeName(path).constData(), what == Opens ? IN_OPEN : IN_ATTRIB))
{
    if (iWatch < 0)
        qFatal("cannot watch %s", qPrintable(path));
}

FileWatch::~FileWatch()
{
    ::close(iQueue);
}

bool FileWatch::Saw()
{
    alignas(inotify_event) char buffer[4096];
    return ::read(iQueue, buffer, sizeof buffer) > 0;
}
