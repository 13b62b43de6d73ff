#pragma once

#include <functional>

/// An allocator that fails on request. Linking it replaces the C library's functions for the whole process, and so
/// those that the framework and the standard library use.
namespace ShortMemory {

constexpr int kForGood = 1000000;

/// Runs `call` on this thread. Its `number`-th allocation fails, counted from 0, and so do the `more` next ones.
/// Returns whether the call has made that many. Lets exceptions pass.
bool Refuse(int number, int more, const std::function<void()>& call);

/// Runs `call` and returns the number of its allocations.
int Count(const std::function<void()>& call);

/// The same as Refuse for the next allocations of every thread whose name the kernel gives as `thread`, from now on.
void RefuseThread(const char* thread, int number, int more);
/// Whether such a thread has made that many allocations.
bool HasRefusedThread();

} // namespace ShortMemory
