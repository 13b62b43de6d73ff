#include "OrdinaryUser.h"

#include <QtCore/QDir>
#include <QtCore/QFile>

#include <sys/stat.h>
#include <unistd.h>

void OrdinaryUser::Own(const QString& path)
{
    if (!IsTestRoot())
        return;
    if (::chown(QFile::encodeName(path).constData(), kId, kId) != 0)
        qFatal("cannot give away %s", qPrintable(path));
    const QString home = QDir::homePath();
    for (QString folder = path; folder.startsWith(home); folder = QFileInfo(folder).path()) {
        const QByteArray name = QFile::encodeName(folder);
        struct stat status = {};
        if (::stat(name.constData(), &status) == 0 && S_ISDIR(status.st_mode))
            ::chmod(name.constData(), status.st_mode | 0111);
        if (folder == home)
            break;
    }
}
