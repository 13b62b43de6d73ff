#include "FileLock_linux.h"

#include "FileAttributes_linux.h"

#include <fcntl.h>
#include <linux/fs.h>
#include <sys/ioctl.h>
#include <sys/stat.h>
#include <unistd.h>

using FileAttributes::kModeBits;
using FileAttributes::Result;

namespace {

// Holds the write bits that locking removed, in octal.
constexpr const char* kTakenBits = "user.NeroltOrvaneBase.locked";
constexpr mode_t kWriteBits = S_IWUSR | S_IWGRP | S_IWOTH;

bool SetImmutable(const QByteArray& path, bool immutable)
{
    const int file = ::open(path.constData(), O_RDONLY | O_NONBLOCK | O_NOCTTY | O_CLOEXEC);
    if (file < 0)
        return false;
    int flags = 0;
    bool done = ::ioctl(file, FS_IOC_GETFLAGS, &flags) == 0;
    if (done) {
        flags = immutable ? flags | FS_IMMUTABLE_FL : flags & ~FS_IMMUTABLE_FL;
        done = ::ioctl(file, FS_IOC_SETFLAGS, &flags) == 0;
    }
    ::close(file);
    return done;
}

bool IsImmutable(const QByteArray& path)
{
    struct statx status = {};
    return ::statx(AT_FDCWD, path.constData(), 0, STATX_TYPE, &status) == 0
        && (status.stx_attributes & STATX_ATTR_IMMUTABLE) != 0;
}

// Only files and folders have flags and attributes, and opening a device may have side effects.
bool IsFileOrFolder(mode_t mode)
{
    return S_ISREG(mode) || S_ISDIR(mode);
}

bool SetMode(const QByteArray& path, mode_t mode)
{
    return ::chmod(path.constData(), mode & kModeBits) == 0;
}

Result ReadTakenBits(const QByteArray& path, mode_t mode, mode_t& bits)
{
    if (!IsFileOrFolder(mode))
        return Result::Unsupported;
    QByteArray text;
    const Result result = FileAttributes::Read(path, kTakenBits, text);
    bits = mode_t(text.toUInt(nullptr, 8)) & kWriteBits;
    return result;
}

// Records the bits before it removes them: afterwards the file is no longer writable.
bool TakeWriteBits(const QByteArray& path, mode_t mode)
{
    mode_t noted = 0;
    const Result before = ReadTakenBits(path, mode, noted);
    if (before == Result::Failed)
        return false; // there may be a record, which must not be lost
    const mode_t present = mode & kWriteBits;
    if (present != 0 && IsFileOrFolder(mode)) {
        const Result note = FileAttributes::Write(path, kTakenBits, QByteArray::number(present | noted, 8));
        if (note == Result::Failed)
            return false;
    }
    if (SetMode(path, mode & ~kWriteBits))
        return true;
    if (before == Result::Done)
        FileAttributes::Write(path, kTakenBits, QByteArray::number(noted, 8));
    else
        FileAttributes::Remove(path, kTakenBits);
    return false;
}

bool GiveWriteBitsBack(const QByteArray& path, mode_t mode)
{
    mode_t noted = 0;
    switch (ReadTakenBits(path, mode, noted)) {
    case Result::Done:
        return SetMode(path, mode | noted) && FileAttributes::Remove(path, kTakenBits) == Result::Done;
    case Result::Absent:
        return true;
    case Result::Unsupported:
        return (mode & kWriteBits) != 0 || SetMode(path, mode | S_IWUSR);
    case Result::Failed:
        break;
    }
    return false;
}

} // namespace

bool FileLock::Lock(const QByteArray& path)
{
    struct stat status = {};
    if (::stat(path.constData(), &status) != 0)
        return false;
    if (IsFileOrFolder(status.st_mode) && (IsImmutable(path) || SetImmutable(path, true)))
        return true;
    return TakeWriteBits(path, status.st_mode);
}

bool FileLock::Unlock(const QByteArray& path)
{
    if (IsImmutable(path) && !SetImmutable(path, false))
        return false;
    struct stat status = {};
    return ::stat(path.constData(), &status) == 0 && GiveWriteBitsBack(path, status.st_mode);
}
