#include "Descriptor.h"

#include <QtCore/QByteArray>

#include <cerrno>
#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

// Not blocking, so that a pipe without a reader in the log's place fails to open instead of holding up the log, and
// with it whoever stops it. Files know no difference.
Descriptor::Descriptor(const QByteArray& name, int flags)
{
    do {
        iDescriptor = ::open(name.constData(), O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC | O_NONBLOCK | flags, 0666);
    } while (iDescriptor < 0 && errno == EINTR);
}

// Nothing can be done about a failing close: what is lost by then is lost.
Descriptor::~Descriptor()
{
    if (IsOpen())
        ::close(iDescriptor);
}

int Descriptor::Write(const QByteArray& bytes) const
{
    const char* from = bytes.constData();
    const char* const end = from + bytes.size();
    while (from != end) {
        const ssize_t written = ::write(iDescriptor, from, size_t(end - from));
        if (written > 0)
            from += written;
        else if (written == 0 || errno != EINTR)
            break;
    }
    return int(from - bytes.constData());
}

void Descriptor::TakeBack(int bytes) const
{
    const off_t end = ::lseek(iDescriptor, 0, SEEK_CUR);
    if (bytes > 0 && end >= bytes && end == Size() && ::ftruncate(iDescriptor, end - bytes) != 0)
        return; // then the next line stands behind half of one
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

Descriptor::Identity Descriptor::Which() const
{
    struct stat status = {};
    ::fstat(iDescriptor, &status);
    return {status.st_dev, status.st_ino};
}

bool Descriptor::Lock() const
{
    return ::flock(iDescriptor, LOCK_EX | LOCK_NB) == 0 || errno != EWOULDBLOCK;
}

// Closing would not do while a copy of the process has the file open as well.
void Descriptor::Unlock() const
{
    ::flock(iDescriptor, LOCK_UN);
}
