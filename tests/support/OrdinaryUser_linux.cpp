#include "OrdinaryUser.h"

#include <QtCore/QtGlobal>

#include <unistd.h>

OrdinaryUser::OrdinaryUser()
{
    if (IsTestRoot() && (::setresgid(kId, kId, 0) != 0 || ::setresuid(kId, kId, 0) != 0))
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
