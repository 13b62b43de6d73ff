#include "Descriptor.h"

#include <QtCore/QByteArray>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <climits>
#include <cstring>
#include <fcntl.h>
#include <poll.h>
#include <sys/file.h>
#include <unistd.h>

namespace {

constexpr useconds_t kLeaseUsecs = 1000;
constexpr int kLeaseTimes = 60000; // longer than systems grant one

// As many whole lines as a pipe takes at once or not at all; or one that is longer.
size_t Piece(const char* from, const char* end)
{
    size_t piece = 0;
    while (from + piece != end) {
        const auto* const feed = static_cast<const char*>(std::memchr(from + piece, '\n', size_t(end - from) - piece));
        const size_t next = feed ? size_t(feed + 1 - from) : size_t(end - from);
        if (piece > 0 && next > PIPE_BUF)
            break;
        piece = next;
    }
    return piece;
}

} // namespace

// Nothing can be done about a failing close: what is lost by then is lost.
OwnedFile::~OwnedFile()
{
    if (IsOpen())
        ::close(iDescriptor);
}

struct stat OwnedFile::Status() const
{
    struct stat status = {};
    ::fstat(iDescriptor, &status); // which leaves it alone when it fails
    return status;
}

OwnedFile::Identity OwnedFile::Which() const
{
    const struct stat status = Status();
    return {status.st_dev, status.st_ino};
}

ssize_t OwnedFile::Read(char* bytes, size_t size, qint64 offset) const
{
    ssize_t read = -1;
    do
        read = ::pread(iDescriptor, bytes, size, off_t(offset));
    while (read < 0 && errno == EINTR);
    return read;
}

// Not blocking, so that a pipe without a reader in the log's place fails to open instead of holding up the log, and
// with it whoever stops it. Files know no difference, but for those that another process has a lease on: it is asked to
// give it back.
Descriptor::Descriptor(const QByteArray& name, Links links)
{
    const int flags = O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC | O_NONBLOCK | (links == Refused ? O_NOFOLLOW : 0);
    for (int i = 0; i < kLeaseTimes; ++i) {
        iDescriptor = ::open(name.constData(), flags, 0666);
        if (IsOpen() || (errno != EINTR && errno != EWOULDBLOCK))
            return;
        if (errno == EWOULDBLOCK)
            ::usleep(kLeaseUsecs);
    }
}

qint64 Descriptor::Write(const char* lines, qint64 size, int patienceMs) const
{
    const bool isFile = IsRegular();
    const char* const end = lines + size;
    const char* from = lines;
    while (from != end) {
        const ssize_t written = ::write(iDescriptor, from, isFile ? size_t(end - from) : Piece(from, end));
        if (written > 0)
            from += written;
        else if (written == 0 || (errno != EINTR && !(errno == EAGAIN && !isFile && CanWrite(patienceMs))))
            break;
    }
    return from - lines;
}

bool Descriptor::CanWrite(int patienceMs) const
{
    using Clock = std::chrono::steady_clock;
    const Clock::time_point end = Clock::now() + std::chrono::milliseconds(patienceMs);
    pollfd file = {iDescriptor, POLLOUT, 0};
    int ready = ::poll(&file, 1, patienceMs);
    // A signal that the host handles on this thread ends the wait early.
    while (ready < 0 && errno == EINTR && Clock::now() < end) {
        const auto left = std::chrono::ceil<std::chrono::milliseconds>(end - Clock::now());
        ready = ::poll(&file, 1, std::max(0, int(left.count())));
    }
    return ready == 1 && file.revents == POLLOUT;
}

void Descriptor::TakeBack(qint64 bytes) const
{
    const off_t end = ::lseek(iDescriptor, 0, SEEK_CUR);
    // Where that fails the next line stands behind half of one.
    if (bytes > 0 && end >= bytes && end == Size())
        static_cast<void>(!::ftruncate(iDescriptor, end - bytes));
}

bool Descriptor::Empty() const
{
    return ::ftruncate(iDescriptor, 0) == 0;
}

qint64 Descriptor::Size() const
{
    const off_t end = ::lseek(iDescriptor, 0, SEEK_END); // half the price of fstat
    return end < 0 ? 0 : qint64(end);
}

bool Descriptor::IsAt(const QByteArray& name) const
{
    struct stat status = {};
    return ::stat(name.constData(), &status) == 0 && Identity{status.st_dev, status.st_ino} == Which();
}

bool Descriptor::IsRegular() const
{
    return S_ISREG(Status().st_mode);
}

bool Descriptor::Lock() const
{
    return ::flock(iDescriptor, LOCK_EX | LOCK_NB) == 0 || errno != EWOULDBLOCK;
}

// Closing would not do while a forked process has the file open as well.
void Descriptor::Unlock() const
{
    ::flock(iDescriptor, LOCK_UN);
}
