#pragma once

#include <QtCore/QMutex>

#include <chrono>
#include <mutex>

/// Locks for threads that take a mutex in turn, over and over, for a moment each.
///
/// A mutex goes to whoever asks first after it was released, and that is mostly the thread that released it: under load
/// a thread could wait in vain for as long as others keep logging. Here one that has waited for long makes the others
/// stand back for a moment.
namespace FairLock {

/// The lock is not owned when the mutex could not be had in time. `timeout` is at least 50 ms.
std::unique_lock<QMutex> Within(QMutex& mutex, std::chrono::milliseconds timeout);

/// In a copy of the process nobody else waits.
void BeginInCopy();

} // namespace FairLock
