#pragma once

#include "support/PrivateAccess.h"

#include <NeroltOrvaneBase/HookedSingleton.h>
#include <NeroltOrvaneBase/SingletonHook.h>

NEROLT_PRIVATE_STATIC(HookedSingleton, iInstance, HookedSingleton*)

/// A hook that is installed while it lives. Its destructor deletes the singletons in it, so that the next one starts as
/// in a new process.
class InstalledHook : public SingletonHook
{
public:
    InstalledHook() { HookedSingleton::InstallHook(this); }
    ~InstalledHook() { delete HookedSingleton_iInstance(); }

private:
    Q_DISABLE_COPY(InstalledHook)
};
