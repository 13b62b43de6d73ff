#include <NeroltOrvaneBase/Logger.h>
#include <NeroltOrvaneBase/RegisteredThread.h>

#include <mutex>

// The library's only static initialiser.
QList<RegisteredThread*> RegisteredThread::iThreads;
QMutex RegisteredThread::iMutex(QMutex::Recursive);

RegisteredThread::RegisteredThread(QObject* parent, const QString& name) noexcept
    : QThread(parent)
    , iName(name)
    , iInterrupted(false)
{
    const std::lock_guard<QMutex> lock(iMutex);
    iThreads.append(this);
}

RegisteredThread::~RegisteredThread() noexcept
{
    const QByteArray func = QByteArray(metaObject()->className()) + "::~RegisteredThread";
    const std::lock_guard<QMutex> lock(iMutex);
    if (isRunning() && Logger::GetInstance()->LoggingEnabled(LoggerDefs::Warning))
        Logger::LogWarning(func.constData(),
                           QLatin1String("Thread: ") + iName + QLatin1String(" destroyed while running"));
    iThreads.removeOne(this);
}

const QString& RegisteredThread::Name() const noexcept
{
    return iName;
}

void RegisteredThread::LogThreads() noexcept
{
    const std::lock_guard<QMutex> lock(iMutex);
    const QList<RegisteredThread*> threads = iThreads;
    for (const RegisteredThread* const thread : threads) {
        if (Logger::GetInstance()->LoggingEnabled(LoggerDefs::Warning))
            Logger::LogWarning("RegisteredThread::LogThreads",
                               QLatin1String("Thread: ") + thread->iName + QLatin1String(", running: ")
                                   + QString::number(int(thread->isRunning())));
    }
}

void RegisteredThread::SetInterrupted() noexcept
{
    if (Logger::GetInstance()->LoggingEnabled(LoggerDefs::Debug)) {
        const QByteArray func = QByteArray(metaObject()->className()) + "::SetInterrupted";
        Logger::LogDebug(func.constData(), iName);
    }
    iInterrupted.store(true, std::memory_order_release);
}

bool RegisteredThread::IsInterrupted() const noexcept
{
    return iInterrupted.load(std::memory_order_acquire);
}
