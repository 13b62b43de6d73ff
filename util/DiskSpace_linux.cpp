#include <NeroltOrvaneBase/DiskSpace.h>

#include <QtCore/QFile>

#include <cerrno>
#include <sys/statvfs.h>

qint64 DiskSpace::GetFreeDiskSpace(const QString& path)
{
    if (path.contains(QChar(0)))
        return -1; // the system would take the part before it for the path
    const QByteArray native = QFile::encodeName(path);
    struct statvfs volume = {};
    int status = 0;
    do
        status = ::statvfs(native.constData(), &volume);
    while (status != 0 && errno == EINTR);
    return status == 0 ? qint64(volume.f_bfree) * qint64(volume.f_frsize) : -1;
}
