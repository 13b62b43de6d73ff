#pragma once

#include <functional>

/// An allocator that refuses. Linking it replaces the C library's functions for the whole process, and so what the
/// framework and the standard library allocate with.
namespace ShortMemory {

constexpr int kForGood = 1000000;

/// Runs `call` on this thread. Its `number`-th allocation fails, counted from 0, and so do the `more` next ones.
/// Whether the call has asked that often. What it throws comes out.
bool Refuse(int number, int more, const std::function<void()>& call);

/// Runs `call` and returns how often it asks for memory.
int Count(const std::function<void()>& call);

/// The same as Refuse for the next allocations of every thread whose name the kernel gives as `thread`, from now on.
void RefuseThread(const char* thread, int number, int more);
/// Whether such a thread has asked that often.
bool HasRefusedThread();

} // namespace ShortMemory
