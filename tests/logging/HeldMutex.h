#pragma once

#include <QtCore/QMutex>
#include <QtCore/QSemaphore>

#include <mutex>
#include <thread>

/// A thread of its own has the mutex while this lives.
class HeldMutex
{
public:
    explicit HeldMutex(QRecursiveMutex& mutex)
        : iHolder([this, &mutex] {
            const std::lock_guard<QRecursiveMutex> lock(mutex);
            iHeld.release();
            iRelease.acquire();
        })
    {
        iHeld.acquire();
    }
    Q_DISABLE_COPY(HeldMutex)
    ~HeldMutex()
    {
        iRelease.release();
        iHolder.join();
    }

private:
    QSemaphore iHeld;
    QSemaphore iRelease;
    std::thread iHolder;
};
