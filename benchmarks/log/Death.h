#pragma once

#include <QtCore/QString>

#include <atomic>

/// The end of a process that is not to end well.
namespace Death {

/// How many calls have returned, in memory that outlives the process: the file "returned" in that folder.
std::atomic<int>& Returned(const QString& folder);

/// By "crash" (SIGSEGV), "abort" or "terminate" (an exception that nobody catches), or waits until it is killed. No
/// core is left.
[[noreturn]] void Die(const QString& how);

} // namespace Death
