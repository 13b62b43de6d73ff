#pragma once

#include "support/PrivateAccess.h"

#include <NeroltOrvaneBase/HookedSingleton.h>
#include <NeroltOrvaneBase/SingletonHook.h>

NEROLT_PRIVATE_STATIC(HookedSingleton, iInstance, HookedSingleton*)

/// A hook that is the installed one while it lives. Its end deletes the singletons in it, so that the next may begin as
/// a fresh process does.
class InstalledHook : public SingletonHook
{
public:
    InstalledHook() { HookedSingleton::InstallHook(this); }
    ~InstalledHook() { delete HookedSingleton_iInstance(); }

private:
    Q_DISABLE_COPY(InstalledHook)
};
