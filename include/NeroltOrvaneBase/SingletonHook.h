#pragma once

#include "Export.h"

#include <QtCore/QMap>
#include <QtCore/QString>

class IOrvaneInstance;

/// Names and the singletons behind them, shared by all modules of a process. Used on the main thread during start-up
/// and at the end; look-ups in between only read.
class NEROLTORVANEBASE_EXPORT SingletonHook
{
public:
    SingletonHook();
    /// Calls Delete() on every instance, in the order of their names. There must be no null among them, and none may
    /// call back.
    ~SingletonHook();

    /// Null when there is none of that name.
    IOrvaneInstance* GetInstance(const QString& name);
    /// Enters or replaces; an instance that is replaced is not deleted.
    void SetInstance(const QString& name, IOrvaneInstance* instance);

private:
    Q_DISABLE_COPY(SingletonHook)

    QMap<QString, IOrvaneInstance*> iInstances;
};
