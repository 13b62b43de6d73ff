#pragma once

#include "Export.h"

#include <QtCore/QtGlobal>

class SingletonHook;

/// Holds the hook of the process, the first that was installed, until the holder is destroyed. The hook belongs to the
/// host. For the main thread.
class NEROLTORVANEBASE_EXPORT HookedSingleton
{
public:
    /// Stores the hook, and nothing else: InstallHook is what makes a holder the one of the process.
    explicit HookedSingleton(SingletonHook* hook);
    /// Makes room for another hook; deletes nothing.
    ~HookedSingleton();

    /// Installs the hook unless there is one.
    static void InstallHook(SingletonHook* hook);
    /// The hook installed. Asking before there is one is a mistake that ends the process.
    static SingletonHook* GetInstance();

private:
    Q_DISABLE_COPY(HookedSingleton)

    static HookedSingleton* iInstance;

    SingletonHook* iHook;
};
