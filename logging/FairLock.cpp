#include "FairLock.h"

#include <QtCore/QThread>

#include <atomic>

namespace {

constexpr std::chrono::milliseconds kPatience(50);
constexpr unsigned long kStandBackUsecs = 50;

// Threads that have lost their patience, on whatever mutex.
std::atomic<int> gStarving{0};

class Starving
{
public:
    Starving() { gStarving.fetch_add(1, std::memory_order_relaxed); }
    ~Starving() { gStarving.fetch_sub(1, std::memory_order_relaxed); }
    Q_DISABLE_COPY(Starving)
};

} // namespace

[[gnu::hot]] std::unique_lock<QMutex> FairLock::Within(QMutex& mutex, std::chrono::milliseconds timeout)
{
    if (gStarving.load(std::memory_order_relaxed) > 0)
        QThread::usleep(kStandBackUsecs);
    std::unique_lock<QMutex> lock(mutex, std::try_to_lock);
    if (lock || lock.try_lock_for(kPatience))
        return lock;
    const Starving starving;
    lock.try_lock_for(timeout - kPatience);
    return lock;
}

void FairLock::BeginInCopy()
{
    gStarving = 0;
}
