#include <NeroltOrvaneBase/DiskSpace.h>

#include <QtCore/QFile>

#include <cerrno>
#include <limits>
#include <sys/statvfs.h>

namespace {

// A volume that claims more bytes than fit has the largest number.
qint64 BytesIn(quint64 blocks, quint64 blockSize)
{
    constexpr auto most = quint64(std::numeric_limits<qint64>::max());
    return blockSize != 0 && blocks > most / blockSize ? qint64(most) : qint64(blocks * blockSize);
}

} // namespace

qint64 DiskSpace::GetFreeDiskSpace(const QString& path)
{
    if (path.contains(QChar(0)))
        return -1; // the system would use the part before the NUL as the path
    const QByteArray native = QFile::encodeName(path);
    struct statvfs volume = {};
    int status = 0;
    do
        status = ::statvfs(native.constData(), &volume);
    while (status != 0 && errno == EINTR);
    return status == 0 ? BytesIn(volume.f_bfree, volume.f_frsize) : -1;
}
