#include "OrdinaryUser.h"

#include <QtCore/QtGlobal>

#include <unistd.h>

// The system has no call for the third of a process's users, which is the way back, so that the first remains root.

OrdinaryUser::OrdinaryUser()
{
    if (IsTestRoot() && (::setegid(kId) != 0 || ::seteuid(kId) != 0))
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
