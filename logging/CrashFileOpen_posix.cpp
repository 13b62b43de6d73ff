#include "CrashFile.h"
#include "CrashFormat.h"
#include "MappedFile.h"
#include "Rename.h"
#include "Swallow.h"
#include "WriteSignals.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <fcntl.h>
#include <new>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>
#include <utility>

using CrashFormat::kFileBytes;

namespace {

constexpr mode_t kMode = 0600;
constexpr const char* kUnfinished = ".new";
constexpr int kMostTries = 10; // other processes may come and go

// For reading and writing.
class File : public OwnedFile
{
public:
    File(const QByteArray& name, int flags)
        : OwnedFile(::open(name.constData(), O_RDWR | O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK | O_NOCTTY | flags, kMode))
    {
    }

    int Take() { return std::exchange(iDescriptor, -1); }

    // Made by this user and nobody else: what is in it may be believed as far as he could do the same himself.
    bool IsOurs() const
    {
        const struct stat status = Status();
        return S_ISREG(status.st_mode) && status.st_uid == ::geteuid() && status.st_nlink == 1
            && (status.st_mode & (S_IWGRP | S_IWOTH)) == 0;
    }

    // Ends with the process, and a forked one does not have it.
    bool Lock() const
    {
        struct flock lock = {};
        lock.l_type = F_WRLCK;
        lock.l_whence = SEEK_SET;
        return ::fcntl(iDescriptor, F_SETLK, &lock) == 0;
    }

    bool Write(const QByteArray& bytes, qint64 offset) const
    {
        for (qint64 done = 0; done < bytes.size();) {
            const ssize_t written
                = ::pwrite(iDescriptor, bytes.constData() + done, size_t(bytes.size() - done), off_t(offset + done));
            if (written <= 0 && errno != EINTR)
                return false;
            done += std::max<ssize_t>(written, 0);
        }
        return true;
    }

    // Empty when it cannot be read, or is too large for one of ours.
    QByteArray ReadAll() const
    {
        const qint64 size = Status().st_size;
        if (size > CrashFormat::kMostBytes)
            return QByteArray();
        QByteArray bytes(int(size), '\0');
        for (int done = 0; done < bytes.size();) {
            const ssize_t read = Read(bytes.data() + done, size_t(bytes.size() - done), done);
            if (read <= 0)
                return QByteArray();
            done += int(read);
        }
        return bytes;
    }
};

bool IsAtName(int descriptor, const QByteArray& name)
{
    struct stat file = {};
    struct stat there = {};
    return ::fstat(descriptor, &file) == 0 && ::lstat(name.constData(), &there) == 0 && file.st_dev == there.st_dev
        && file.st_ino == there.st_ino;
}

// Somebody died between making a new file and giving it its name.
bool RemoveUnfinished(const QByteArray& name)
{
    const File file(name, 0);
    return file.IsOpen() && file.IsOurs() && file.Lock() && IsAtName(file.Number(), name)
        && ::unlink(name.constData()) == 0;
}

// The sections that are still to be recovered, one behind the other.
QByteArray ToKeep(const std::vector<CrashFormat::Remains>& all)
{
    QByteArray kept;
    for (const CrashFormat::Remains& remains : all) {
        if (!remains.iIsOver)
            kept += CrashFormat::Kept(remains);
    }
    return kept;
}

// Blocks are reserved at once: a store for which the disk has no room would be a signal.
bool Fill(const File& file, const QByteArray& kept)
{
    return ::fchmod(file.Number(), kMode) == 0 && MappedFile::Reserve(file.Number(), kFileBytes + kept.size())
        && file.Write(kept, kFileBytes);
}

} // namespace

CrashFile::Mapping::Mapping(int file, qint64 size)
    : iSize(size)
{
    void* const memory = ::mmap(nullptr, size_t(size), PROT_READ | PROT_WRITE, MAP_SHARED, file, 0);
    if (memory == MAP_FAILED)
        throw std::bad_alloc();
    iBytes = static_cast<char*>(memory);
    MappedFile::KeepFromCopies(iBytes, size);
}

CrashFile::Mapping::~Mapping()
{
    Shrink(0);
}

void CrashFile::Mapping::Shrink(qint64 size)
{
    if (size < iSize)
        ::munmap(iBytes + size, size_t(iSize - size));
    iSize = std::min(size, iSize);
}

CrashFile::CrashFile(const QByteArray& name, int descriptor, qint64 size)
    : iName(name)
    , iMapping(descriptor, size)
    , iDescriptor(descriptor)
    , iSection(*new (iMapping.iBytes) CrashFormat::Section(CrashFormat::kCapacity))
{
    // Now, and not when lines come: the first touch of each page costs a microsecond.
    std::fill_n(iSection.Bytes(), CrashFormat::kCapacity, '\0');
}

// Under another name first: what is at `name` is a whole crash file at any moment, the old one or the new one.
std::unique_ptr<CrashFile> CrashFile::Make(const QByteArray& name, const QByteArray& kept, bool isReplaced)
{
    const QByteArray unfinished = name + kUnfinished;
    File file(unfinished, O_CREAT | O_EXCL);
    // Before it was locked somebody may have taken it for a dead process's and removed it; another one may be there.
    if (!file.IsOpen() || !file.Lock() || !IsAtName(file.Number(), unfinished))
        return nullptr;
    const qint64 size = kFileBytes + kept.size();
    std::unique_ptr<CrashFile> made;
    if (size <= CrashFormat::kMostBytes && Fill(file, kept))
        Swallow([&] { made.reset(new CrashFile(name, file.Number(), size)); });
    if (made)
        file.Take();
    const bool isNamed = made
        && (isReplaced ? ::rename(unfinished.constData(), name.constData()) == 0
                       : RenameUnlessTaken(unfinished.constData(), name.constData()));
    if (isNamed)
        return made;
    ::unlink(unfinished.constData());
    return nullptr;
}

std::unique_ptr<CrashFile> CrashFile::Open(const QByteArray& name)
{
    const WriteSignals::Blocker blocker;
    for (int i = 0; i < kMostTries; ++i) {
        const File old(name, 0);
        if (old.IsOpen() ? !old.IsOurs() || !old.Lock() : errno != ENOENT)
            return nullptr;
        QByteArray kept;
        if (old.IsOpen()) {
            if (!IsAtName(old.Number(), name))
                continue; // its process has just removed it
            const auto all = CrashFormat::ReadAll(old.ReadAll());
            if (!all)
                return nullptr;
            kept = ToKeep(*all);
        }
        if (std::unique_ptr<CrashFile> made = Make(name, kept, old.IsOpen()))
            return made;
        if (!RemoveUnfinished(name + kUnfinished))
            return nullptr;
    }
    return nullptr;
}

// Nobody else may take it for a file that a dead process left.
CrashFile::~CrashFile()
{
    iSection.iIsOver = iSection.iHead == iSection.iTail ? 1 : 0;
    if (iSection.iIsOver && iMapping.iSize == kFileBytes && IsAtName(iDescriptor, iName))
        ::unlink(iName.constData());
    ::close(iDescriptor);
}

bool CrashFile::IsAt(const QByteArray& name) const
{
    return IsAtName(iDescriptor, name);
}

// Closing does not release the lock of the original.
void CrashFile::Abandon() const
{
    ::close(iDescriptor);
}
