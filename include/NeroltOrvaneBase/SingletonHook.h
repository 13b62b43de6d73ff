#pragma once

#include "Export.h"

#include <QtCore/QMap>
#include <QtCore/QString>

class IOrvaneInstance;

/// Maps names to singletons, for all shared libraries of a process. Change it on the main thread only, when the process
/// starts or ends. In between, any thread may look instances up.
class NEROLTORVANEBASE_EXPORT SingletonHook
{
public:
    SingletonHook();
    /// Calls Delete() on each instance, in the order of their names. No instance may be null, and none may use the hook
    /// meanwhile.
    ~SingletonHook();

    /// Returns the instance with that name, or null.
    IOrvaneInstance* GetInstance(const QString& name);
    /// Adds an instance or replaces it. Does not delete the instance that it replaces.
    void SetInstance(const QString& name, IOrvaneInstance* instance);

private:
    Q_DISABLE_COPY(SingletonHook)

    QMap<QString, IOrvaneInstance*> iInstances;
};
