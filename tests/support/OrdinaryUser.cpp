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
    if (IsTestRoot() && (::setresgid(kNobody, kNobody, 0) != 0 || ::setresuid(kNobody, kNobody, 0) != 0))
        qFatal("cannot become an ordinary user");
}

OrdinaryUser::~OrdinaryUser()
{
    if (IsTestRoot() && (::setresuid(0, 0, 0) != 0 || ::setresgid(0, 0, 0) != 0))
        qFatal("cannot become root again");
}

bool OrdinaryUser::IsTestRoot()
{
    uid_t real = 0;
    uid_t effective = 0;
    uid_t saved = 0;
    return ::getresuid(&real, &effective, &saved) == 0 && saved == 0;
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
