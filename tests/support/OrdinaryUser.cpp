#include "OrdinaryUser.h"

#include <QtCore/QDir>
#include <QtCore/QFile>

#include <sys/stat.h>
#include <unistd.h>

namespace {

constexpr uid_t kNobody = 65534;

} // namespace

OrdinaryUser::OrdinaryUser()
{
    if (IsTestRoot() && (::setegid(kNobody) != 0 || ::seteuid(kNobody) != 0))
        qFatal("cannot become an ordinary user");
}

OrdinaryUser::~OrdinaryUser()
{
    if (IsTestRoot() && (::seteuid(0) != 0 || ::setegid(0) != 0))
        qFatal("cannot become root again");
}

bool OrdinaryUser::IsTestRoot()
{
    return ::getuid() == 0;
}

void OrdinaryUser::Own(const QString& path)
{
    if (!IsTestRoot())
        return;
    if (::chown(QFile::encodeName(path).constData(), kNobody, kNobody) != 0)
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
