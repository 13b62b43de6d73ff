#include "LogFile.h"

#include <NeroltOrvaneBase/FileUtilities.h>

#include <QtCore/QByteArray>
#include <QtCore/QFile>

#include <cerrno>
#include <fcntl.h>
#include <unistd.h>

namespace {

class Descriptor
{
public:
    // Not blocking, so that a pipe without a reader in the log's place fails to open instead of holding up the log,
    // and with it whoever stops it. Files know no difference.
    Descriptor(const QString& path, int flags)
    {
        if (path.contains(QChar(0)))
            return; // the system would take the part before it for the name
        const QByteArray name = QFile::encodeName(path);
        do {
            iDescriptor = ::open(name.constData(), O_WRONLY | O_CREAT | O_CLOEXEC | O_NONBLOCK | flags, 0666);
        } while (iDescriptor < 0 && errno == EINTR);
    }

    // Nothing can be done about a failing close: what is lost by then is lost.
    ~Descriptor()
    {
        if (IsOpen())
            ::close(iDescriptor);
    }

    Q_DISABLE_COPY(Descriptor)

    bool IsOpen() const { return iDescriptor >= 0; }

    // How much of the bytes was written. A full disk or a full pipe takes what it can; a batch is not tried again.
    int Write(const QByteArray& bytes) const
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

    // Undoes the end of what was just appended, unless somebody has written behind it. A pipe keeps what it has.
    void TakeBack(int bytes) const
    {
        const off_t end = ::lseek(iDescriptor, 0, SEEK_CUR);
        if (bytes > 0 && end >= bytes && end == Size() && ::ftruncate(iDescriptor, end - bytes) != 0)
            return; // then the next line stands behind half of one
    }

    // Half the price of fstat. A pipe has no size.
    qint64 Size() const
    {
        const off_t end = ::lseek(iDescriptor, 0, SEEK_END);
        return end < 0 ? 0 : qint64(end);
    }

    std::optional<qint64> CreatedMSecs(const QString& path) const
    {
        return FileUtilities::GetMSecs(path, FileTimeCreation, iDescriptor);
    }

private:
    int iDescriptor = -1;
};

} // namespace

std::optional<LogFile::State> LogFile::Append(const QString& path, const QByteArray& bytes)
{
    const Descriptor file(path, O_APPEND);
    if (!file.IsOpen())
        return std::nullopt;
    const int written = file.Write(bytes);
    // Lines that do not fit are lost whole, or the next to be written would stand behind half of one.
    if (written > 0 && written < bytes.size())
        file.TakeBack(written - (bytes.lastIndexOf('\n', written - 1) + 1));
    // While it is open: the path need not be gone again.
    return State{file.Size(), file.CreatedMSecs(path)};
}

bool LogFile::Replace(const QString& path, const QByteArray& bytes)
{
    const Descriptor file(path, O_TRUNC);
    if (file.IsOpen())
        file.Write(bytes);
    return file.IsOpen();
}
