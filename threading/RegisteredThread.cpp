#include "../logging/LogIf.h"
#include "../logging/Swallow.h"

#include <NeroltOrvaneBase/RegisteredThread.h>

#include <new>
#include <pthread.h>

// The library's only static initialiser.
QList<RegisteredThread*> RegisteredThread::iThreads;
QRecursiveMutex RegisteredThread::iMutex((WatchForks(), QRecursiveMutex()));

// A forked process inherits the lock, but not the threads that would release it. So the forking thread holds the lock
// during the fork. If another thread holds it, the child begins with a new lock and a new list. It does not free the
// old ones, which may have been in use.
void RegisteredThread::WatchForks() noexcept
{
    static thread_local bool tHoldsList = false;
    ::pthread_atfork(
        [] {
            tHoldsList = iMutex.tryLock();
            Logger::BeforeFork();
        },
        [] {
            Logger::AfterFork();
            if (tHoldsList)
                iMutex.unlock();
        },
        [] { BeginInChild(tHoldsList); });
}

void RegisteredThread::BeginInChild(bool holdsList) noexcept
{
    Logger::BeginInChild();
    try {
        if (holdsList) {
            iMutex.unlock();
            iThreads.clear();
        } else {
            new (&iMutex) QRecursiveMutex;
            new (&iThreads) QList<RegisteredThread*>;
        }
        if (auto* const current = dynamic_cast<RegisteredThread*>(QThread::currentThread()))
            iThreads.append(current);
    } catch (...) {
        // Out of memory: the child probably only executes another program.
    }
}

std::unique_lock<QRecursiveMutex> RegisteredThread::LockList() noexcept
{
    std::unique_lock<QRecursiveMutex> lock(iMutex, std::try_to_lock);
    if (!lock) {
        const int times = Logger::UnlockForList();
        lock.lock();
        Logger::LockAgain(times);
    }
    return lock;
}

RegisteredThread::RegisteredThread(const QString& name, QObject* parent)
    : QThread(parent)
    , iName(name)
    , iInterrupted(false)
{
    const std::unique_lock<QRecursiveMutex> lock = LockList();
    try {
        iThreads.append(this);
    } catch (...) {
        // Out of memory: the thread works, but is not listed.
    }
}

RegisteredThread::RegisteredThread(QObject* parent, const QString& name) noexcept
    : RegisteredThread(name, parent)
{
}

RegisteredThread::~RegisteredThread() noexcept
{
    const NotCancelled moment;
    const std::unique_lock<QRecursiveMutex> lock = LockList();
    try {
        if (isRunning()) {
            const QByteArray func = QByteArray(metaObject()->className()) + "::~RegisteredThread";
            LogIf::Warning(func.constData(), [this] {
                return QLatin1String("Thread: ") + iName + QLatin1String(" destroyed while running");
            });
        }
    } catch (...) {
        // Out of memory: no warning is logged.
    }
    iThreads.removeOne(this);
}

const QString& RegisteredThread::Name() const noexcept
{
    return iName;
}

void RegisteredThread::LogThreads() noexcept
{
    const NotCancelled moment;
    const std::unique_lock<QRecursiveMutex> lock = LockList();
    try {
        const QList<RegisteredThread*> threads = iThreads;
        for (const RegisteredThread* const thread : threads) {
            LogIf::Warning("RegisteredThread::LogThreads", [thread] {
                return QLatin1String("Thread: ") + thread->iName + QLatin1String(", running: ")
                    + QString::number(int(thread->isRunning()));
            });
        }
    } catch (...) {
        // Out of memory: the rest is not listed.
    }
}

void RegisteredThread::SetInterrupted() noexcept
{
    const NotCancelled moment;
    try {
        const QByteArray func = QByteArray(metaObject()->className()) + "::SetInterrupted";
        Logger::LogDebug(func.constData(), iName);
    } catch (...) {
        // Out of memory: the flag is set anyway.
    }
    // What this thread wrote before is visible to whoever sees the flag, such as the reason for the interruption.
    iInterrupted.store(true, std::memory_order_release);
}

bool RegisteredThread::IsInterrupted() const noexcept
{
    return iInterrupted.load(std::memory_order_acquire);
}
