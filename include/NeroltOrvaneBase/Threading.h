#pragma once

/// @file
/// All classes of the module threading.
#include "HookedSingleton.h"
#include "IOrvaneInstance.h"
#include "RTimerGarbageCollector.h"
#include "RegisteredThread.h"
#include "RegisteredTimer.h"
#include "SingletonHook.h"
