#pragma once

#include "Export.h"

#include <QtCore/QtGlobal>

class SingletonHook;

/// Holds the hook of the process, through which its shared libraries find their singletons. The first hook that is
/// installed stays until a holder is destroyed. The host owns the hook, and installs it at the start of main, before
/// it uses SystemConfig or any other singleton of a hook:
/// @code
/// SingletonHook hook;
/// HookedSingleton::InstallHook(&hook);
/// @endcode
/// For the main thread.
class NEROLTORVANEBASE_EXPORT HookedSingleton
{
public:
    /// Only stores the hook. Call InstallHook to make it the hook of the process.
    explicit HookedSingleton(SingletonHook* hook);
    /// Does not delete the hook. Afterwards InstallHook may install another one.
    ~HookedSingleton();

    /// Installs the hook for the process. Does nothing if there is one already.
    static void InstallHook(SingletonHook* hook);
    /// Returns the installed hook. Without one this ends the process with a message.
    static SingletonHook* GetInstance();

private:
    Q_DISABLE_COPY(HookedSingleton)

    static HookedSingleton* iInstance;

    SingletonHook* iHook;
};
