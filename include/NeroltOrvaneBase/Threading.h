#pragma once

/// @file
/// Threads, timers and singletons: every class of the family.
#include "HookedSingleton.h"
#include "IOrvaneInstance.h"
#include "RTimerGarbageCollector.h"
#include "RegisteredThread.h"
#include "RegisteredTimer.h"
#include "SingletonHook.h"
