#pragma once

#include "Export.h"

/// The base class of singletons that a SingletonHook can hold.
class NEROLTORVANEBASE_EXPORT IOrvaneInstance
{
public:
    virtual ~IOrvaneInstance();

    /// Destroys the object and clears any static pointer that refers to it.
    virtual void Delete() = 0;

protected:
    IOrvaneInstance() = default;
    IOrvaneInstance(const IOrvaneInstance&) = default; ///< copies nothing
    IOrvaneInstance& operator=(const IOrvaneInstance&) = default; ///< copies nothing
};
