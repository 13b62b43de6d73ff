#pragma once

/// Threads and timers: every class of the family.
#include "RTimerGarbageCollector.h"
#include "RegisteredThread.h"
#include "RegisteredTimer.h"
