#pragma once

#include "Stopwatch.h"

#include <functional>

/// A program that logs beside its own work. Its main thread has an event loop with a timer of 1 ms, its second thread
/// allocates and frees memory all the time, and its third thread logs.
///
/// The first two have a heap of small blocks each, and every second block of it is free. They allocate from that heap,
/// so that both have to wait when another thread holds the heap's lock for long.
namespace Host {

/// Runs `work` on the third thread, and returns when it ends; the calling thread is the main one. "timer p99.9" and
/// "timer worst" are how late the timer was, "allocation p99.9" and "allocation worst" how long an allocation of the
/// first two threads took, in nanoseconds. `heapBytes` is for both together, before every second block is freed.
Results Run(qint64 heapBytes, const std::function<void()>& work);

} // namespace Host
