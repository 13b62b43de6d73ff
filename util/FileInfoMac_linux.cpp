#include "FileAttributes_linux.h"
#include "FileLock_linux.h"
#include "OsRelease.h"

#include <NeroltOrvaneBase/FileInfoMac.h>

#include <QtCore/QDateTime>
#include <QtCore/QFile>

#include <array>
#include <cerrno>
#include <charconv>
#include <fcntl.h>
#include <sys/stat.h>
#include <sys/utsname.h>
#include <sys/xattr.h>

using FileAttributes::Result;

namespace {

// Holds the creation time that was set, in decimal milliseconds since the epoch. That of the file system cannot be set.
constexpr const char* kCreationTime = "user.NeroltOrvaneBase.creation";

// Empty, which is the name of no file, if the system would read the path as a different one.
QByteArray NativePath(const QString& path)
{
    return path.contains(QChar(0)) ? QByteArray() : QFile::encodeName(path);
}

// Accepts only digits and a sign: another program may have stored something else.
std::optional<qint64> ToNumber(const QByteArray& text)
{
    qint64 number = 0;
    const char* const end = text.constData() + text.size();
    const auto [next, error] = std::from_chars(text.constData(), end, number);
    return error == std::errc() && next == end ? std::optional<qint64>(number) : std::nullopt;
}

std::optional<qint64> FromStatx(const struct statx& status, unsigned int field, const struct statx_timestamp& time)
{
    if ((status.stx_mask & field) == 0)
        return std::nullopt;
    return qint64(time.tv_sec) * 1000 + time.tv_nsec / 1000000;
}

bool Status(const QByteArray& path, struct statx& status)
{
    return ::statx(AT_FDCWD, path.constData(), 0, STATX_BTIME | STATX_MTIME, &status) == 0;
}

std::optional<qint64> ModificationTime(const QByteArray& path)
{
    struct statx status = {};
    return Status(path, status) ? FromStatx(status, STATX_MTIME, status.stx_mtime) : std::nullopt;
}

std::optional<qint64> CreationTime(const QByteArray& path)
{
    QByteArray text;
    if (FileAttributes::Read(path, kCreationTime, text) == Result::Done) {
        if (const std::optional<qint64> msecs = ToNumber(text))
            return msecs;
    }
    struct statx status = {};
    return Status(path, status) ? FromStatx(status, STATX_BTIME, status.stx_btime) : std::nullopt;
}

std::optional<qint64> CreationTime(int descriptor)
{
    std::array<char, 64> text = {};
    const ssize_t size = ::fgetxattr(descriptor, kCreationTime, text.data(), text.size() - 1);
    // An owner without the read permission can grant it to himself, which needs a path. This one needs no encoding,
    // which would fail at the end of the process, when the framework's codecs are gone.
    if (size < 0 && errno == EACCES)
        return CreationTime("/proc/self/fd/" + QByteArray::number(descriptor));
    if (size > 0) {
        if (const std::optional<qint64> msecs = ToNumber(QByteArray(text.data(), int(size))))
            return msecs;
    }
    struct statx status = {};
    const bool isKnown = ::statx(descriptor, "", AT_EMPTY_PATH, STATX_BTIME, &status) == 0;
    return isKnown ? FromStatx(status, STATX_BTIME, status.stx_btime) : std::nullopt;
}

bool SetModificationTime(const QByteArray& path, qint64 msecs)
{
    qint64 seconds = msecs / 1000;
    qint64 rest = msecs % 1000;
    if (rest < 0) { // before 1970
        rest += 1000;
        --seconds;
    }
    struct timespec times[2] = {};
    times[0].tv_nsec = UTIME_OMIT;
    times[1].tv_sec = time_t(seconds);
    times[1].tv_nsec = long(rest * 1000000);
    return ::utimensat(AT_FDCWD, path.constData(), times, 0) == 0;
}

bool SetCreationTime(const QByteArray& path, qint64 msecs)
{
    return FileAttributes::Write(path, kCreationTime, QByteArray::number(msecs)) == Result::Done;
}

} // namespace

FileInfoMac::FileInfoMac(const QString& path)
    : iPath(path)
{
}

FileInfoMac::~FileInfoMac() = default;

QDateTime FileInfoMac::GetTime(FileTimeType type)
{
    const std::optional<qint64> msecs = GetMSecs(type);
    return msecs ? QDateTime::fromMSecsSinceEpoch(*msecs) : QDateTime();
}

std::optional<qint64> FileInfoMac::GetMSecs(FileTimeType type, int descriptor)
{
    switch (type) {
    case FileTimeCreation:
        if (descriptor >= 0) {
            errno = 0;
            const std::optional<qint64> msecs = CreationTime(descriptor);
            if (msecs || errno != EBADF)
                return msecs;
        }
        return CreationTime(NativePath(iPath));
    case FileTimeModification:
    case FileTimeWrite:
        return ModificationTime(NativePath(iPath));
    }
    return std::nullopt;
}

bool FileInfoMac::SetTime(const QDateTime& time, FileTimeType type)
{
    if (!time.isValid())
        return false;
    switch (type) {
    case FileTimeCreation:
        return SetCreationTime(NativePath(iPath), time.toMSecsSinceEpoch());
    case FileTimeModification:
    case FileTimeWrite:
        return SetModificationTime(NativePath(iPath), time.toMSecsSinceEpoch());
    }
    return false;
}

bool FileInfoMac::SetCreationMSecs(qint64 msecs, int descriptor)
{
    const QByteArray text = QByteArray::number(msecs);
    return ::fsetxattr(descriptor, kCreationTime, text.constData(), size_t(text.size()), 0) == 0;
}

bool FileInfoMac::SetReadOnlyFlag(bool readOnly)
{
    const QByteArray path = NativePath(iPath);
    return readOnly ? FileLock::Lock(path) : FileLock::Unlock(path);
}

OSVersion FileInfoMac::GetOSVersion()
{
    struct utsname names = {};
    return ::uname(&names) == 0 ? ParseOsRelease(names.release) : OSVersion();
}
