#include <NeroltOrvaneBase/Logger.h>
#include <NeroltOrvaneBase/RegisteredThread.h>

#include <new>
#include <pthread.h>

// The library's only static initialiser.
QList<RegisteredThread*> RegisteredThread::iThreads;
QMutex RegisteredThread::iMutex((WatchCopies(), QMutex::Recursive));

// A copy of the process has the lock, but not the threads that would give it back. So both begin anew there; what the
// original held is not freed, it may have been in use.
void RegisteredThread::WatchCopies() noexcept
{
    ::pthread_atfork(&Logger::BeforeCopy, &Logger::AfterCopy, [] {
        new (&iMutex) QMutex(QMutex::Recursive);
        new (&iThreads) QList<RegisteredThread*>;
        if (auto* const current = dynamic_cast<RegisteredThread*>(QThread::currentThread()))
            iThreads.append(current);
        Logger::AfterCopy();
        Logger::BeginInCopy();
    });
}

std::unique_lock<QMutex> RegisteredThread::LockList() noexcept
{
    std::unique_lock<QMutex> lock(iMutex, std::try_to_lock);
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
    const std::unique_lock<QMutex> lock = LockList();
    try {
        iThreads.append(this);
    } catch (...) {
        // Without memory it works all the same, and is not listed.
    }
}

RegisteredThread::RegisteredThread(QObject* parent, const QString& name) noexcept
    : RegisteredThread(name, parent)
{
}

RegisteredThread::~RegisteredThread() noexcept
{
    const std::unique_lock<QMutex> lock = LockList();
    try {
        if (isRunning() && Logger::GetInstance()->LoggingEnabled(LoggerDefs::Warning)) {
            const QByteArray func = QByteArray(metaObject()->className()) + "::~RegisteredThread";
            Logger::LogWarning(func.constData(),
                               QLatin1String("Thread: ") + iName + QLatin1String(" destroyed while running"));
        }
    } catch (...) {
        // Out of memory: it goes without a word.
    }
    iThreads.removeOne(this);
}

const QString& RegisteredThread::Name() const noexcept
{
    return iName;
}

void RegisteredThread::LogThreads() noexcept
{
    const std::unique_lock<QMutex> lock = LockList();
    try {
        const QList<RegisteredThread*> threads = iThreads;
        for (const RegisteredThread* const thread : threads) {
            if (Logger::GetInstance()->LoggingEnabled(LoggerDefs::Warning))
                Logger::LogWarning("RegisteredThread::LogThreads",
                                   QLatin1String("Thread: ") + thread->iName + QLatin1String(", running: ")
                                       + QString::number(int(thread->isRunning())));
        }
    } catch (...) {
        // Out of memory: the rest is not listed.
    }
}

void RegisteredThread::SetInterrupted() noexcept
{
    try {
        if (Logger::GetInstance()->LoggingEnabled(LoggerDefs::Debug)) {
            const QByteArray func = QByteArray(metaObject()->className()) + "::SetInterrupted";
            Logger::LogDebug(func.constData(), iName);
        }
    } catch (...) {
        // Out of memory: the flag is set all the same.
    }
    iInterrupted.store(true, std::memory_order_release);
}

bool RegisteredThread::IsInterrupted() const noexcept
{
    return iInterrupted.load(std::memory_order_acquire);
}
