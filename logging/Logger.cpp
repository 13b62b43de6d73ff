#include "FairLock.h"

#include <NeroltOrvaneBase/IErrorReporter.h>
#include <NeroltOrvaneBase/Logger.h>
#include <NeroltOrvaneBase/LoggerAgent.h>
#include <NeroltOrvaneBase/RegisteredThread.h>

#include <QtCore/QElapsedTimer>
#include <QtCore/QThread>

#include <chrono>
#include <mutex>
#include <pthread.h>

namespace {

constexpr int kDefaultLevel = LoggerDefs::Error | LoggerDefs::Exception;
constexpr std::chrono::milliseconds kLockTimeout(1000);
constexpr int kLeaveTimeoutMs = 5000;

constexpr unsigned int kInformationCode = 10;
constexpr unsigned int kDebugCode = 20;
constexpr unsigned int kTraceCode = 25;
constexpr unsigned int kWarningCode = 30;

// Threads that are inside the agent without the Logger's mutex. The agent is not deleted under their feet.
std::atomic<int> gUnlockedCallers{0};
std::atomic<bool> gCleanedUp{false};

class UnlockedCaller
{
public:
    UnlockedCaller() { gUnlockedCallers.fetch_add(1); }
    ~UnlockedCaller() { gUnlockedCallers.fetch_sub(1); }
    Q_DISABLE_COPY(UnlockedCaller)
};

bool HaveUnlockedCallersLeft()
{
    QElapsedTimer elapsed;
    elapsed.start();
    while (gUnlockedCallers.load() != 0) {
        if (elapsed.hasExpired(kLeaveTimeoutMs))
            return false;
        QThread::yieldCurrentThread();
    }
    return true;
}

// The agent has taken leave of every caller; what it owns belongs to the thread it lives on.
void Dispose(LoggerAgent* agent)
{
    const QThread* const home = agent->thread();
    if (home && home != QThread::currentThread() && home->isRunning())
        agent->deleteLater();
    else
        delete agent;
}

void LogUnfiltered(LoggerAgent& agent, LoggerDefs::LogValues level, unsigned int code, const char* func,
                   const QString& msg)
{
    agent.Log(level, LoggerDefs::NoExtraInfo, code, func, msg);
}

} // namespace

std::atomic<Logger*> Logger::iInstance{nullptr};
std::atomic<int> Logger::iActiveLevel{0};

Logger::Logger()
    : iMutex(QMutex::Recursive)
    , iAgent(new LoggerAgent(kDefaultLevel, nullptr))
{
    iActiveLevel = kDefaultLevel;
}

Logger::~Logger()
{
    if (!iAgent.load())
        return;
    try {
        const std::lock_guard<QMutex> registry(RegisteredThread::iMutex);
        const std::lock_guard<QMutex> lock(iMutex);
        if (iAgent.load())
            EndAgent("~Logger", QStringLiteral("stopping logging"));
    } catch (...) {
        // Nobody is left to hear of it.
    }
}

void* Logger::operator new(std::size_t)
{
    alignas(Logger) static unsigned char storage[sizeof(Logger)];
    return storage;
}

void Logger::operator delete(void*) { }

Logger* Logger::CreateInstance()
{
    static QMutex mutex;
    const std::lock_guard<QMutex> lock(mutex);
    Logger* instance = iInstance.load(std::memory_order_relaxed);
    if (!instance) {
        instance = new Logger;
        iInstance.store(instance, std::memory_order_release);
    }
    return instance;
}

void Logger::Cleanup()
{
    Logger* const instance = iInstance.load(std::memory_order_acquire);
    if (instance && !gCleanedUp.exchange(true))
        delete instance;
}

// Says farewell and takes the agent out. The registry of threads and this object are locked.
void Logger::EndAgent(const char* func, const QString& farewell)
{
    LoggerAgent* const agent = iAgent.load();
    LogUnfiltered(*agent, LoggerDefs::Information, kInformationCode, func, farewell);
    iAgent = nullptr;
    iActiveLevel = 0;
    agent->StopLogging();
    // A caller that does not leave in time keeps the agent alive: a leak at the end is better than a crash.
    if (HaveUnlockedCallersLeft())
        Dispose(agent);
}

void Logger::StopLogging()
{
    Logger* const logger = GetInstance();
    if (!logger->iAgent.load())
        return;
    try {
        const std::lock_guard<QMutex> registry(RegisteredThread::iMutex);
        const std::lock_guard<QMutex> lock(logger->iMutex);
        if (const LoggerAgent* const agent = logger->iAgent.load())
            logger->EndAgent("Logger::StopLogging",
                             QLatin1String("stopping logging file path is ") + agent->FileName());
    } catch (...) {
        // Out of memory: the log may be incomplete, the host goes on.
    }
}

void Logger::SetLoggerFileName(const QString& path, bool force)
{
    Logger* const logger = GetInstance();
    try {
        if (force && logger->LoggingEnabled(LoggerDefs::Information)) {
            const UnlockedCaller caller;
            LoggerAgent* const agent = logger->iAgent.load();
            const QString existing = agent ? agent->FileNameCopy() : QString();
            if (!existing.isEmpty()) {
                constexpr const char* func = "Logger::SetLoggerFileName";
                LogUnfiltered(*agent, LoggerDefs::Information, kInformationCode, func,
                              QLatin1String("Existing path is ") + existing);
                LogUnfiltered(*agent, LoggerDefs::Information, kInformationCode, func,
                              QLatin1String("New path is ") + path);
            }
        }
        if (!logger->iAgent.load())
            return;
        const std::lock_guard<QMutex> registry(RegisteredThread::iMutex);
        const std::lock_guard<QMutex> lock(logger->iMutex);
        LoggerAgent* const agent = logger->iAgent.load();
        if (agent && (force || agent->FileName().isEmpty())) {
            // A copy of the process has no logging thread, but locks of threads that it has not: there the log is over.
            static const int once = ::pthread_atfork(nullptr, nullptr, [] {
                iInstance.load()->iAgent = nullptr;
                iActiveLevel = 0;
            });
            Q_UNUSED(once)
            agent->SetLoggerFileName(path);
        }
    } catch (...) {
        // Out of memory: the log keeps the file it has.
    }
}

const QString& Logger::GetLoggerFileName()
{
    static const QString none;
    const LoggerAgent* const agent = GetInstance()->iAgent.load();
    return agent ? agent->FileName() : none;
}

template <typename Call>
void Logger::WithAgentWaiting(const Call& call) noexcept
{
    if (!iAgent.load(std::memory_order_relaxed))
        return;
    try {
        const std::lock_guard<QMutex> lock(iMutex);
        if (LoggerAgent* const agent = iAgent.load(std::memory_order_relaxed))
            call(*agent);
    } catch (...) {
        // Logging never fails its caller: neither for want of memory nor for what a reporter throws.
    }
}

template <typename Call>
void Logger::WithAgentOrDrop(const Call& call) noexcept
{
    try {
        const std::unique_lock<QMutex> lock = FairLock::Within(iMutex, kLockTimeout);
        LoggerAgent* const agent = lock ? iAgent.load(std::memory_order_relaxed) : nullptr;
        if (agent)
            call(*agent);
    } catch (...) {
        // As above.
    }
}

[[gnu::hot]] void Logger::Information(const char* func, const QString& msg) noexcept
{
    if (!(GetLevel() & LoggerDefs::Information))
        return;
    try {
        const UnlockedCaller caller;
        if (LoggerAgent* const agent = iAgent.load())
            LogUnfiltered(*agent, LoggerDefs::Information, kInformationCode, func, msg);
    } catch (...) {
        // As above.
    }
}

[[gnu::hot]] void Logger::Debug(const char* func, const QString& msg) noexcept
{
    if (GetLevel() & LoggerDefs::Debug)
        WithAgentOrDrop([&](LoggerAgent& agent) { LogUnfiltered(agent, LoggerDefs::Debug, kDebugCode, func, msg); });
}

[[gnu::hot]] void Logger::Trace(const char* func, const QString& msg) noexcept
{
    if (GetLevel() & LoggerDefs::Trace)
        WithAgentOrDrop([&](LoggerAgent& agent) { LogUnfiltered(agent, LoggerDefs::Trace, kTraceCode, func, msg); });
}

[[gnu::hot]] void Logger::Warning(const char* func, const QString& msg) noexcept
{
    if (GetLevel() & LoggerDefs::Warning)
        WithAgentWaiting(
            [&](LoggerAgent& agent) { LogUnfiltered(agent, LoggerDefs::Warning, kWarningCode, func, msg); });
}

void Logger::Error(unsigned int code, LoggerDefs::ExtraErrorInfoType kind, const char* func, const QString& msg, int a,
                   int b) noexcept
{
    WithAgentWaiting([&](LoggerAgent& agent) { agent.Log(LoggerDefs::Error, kind, code, func, msg, a, b); });
}

void Logger::Error(unsigned int code, LoggerDefs::ExtraErrorInfoType kind, const char* func, const QString& msg,
                   const QString& text) noexcept
{
    WithAgentWaiting([&](LoggerAgent& agent) { agent.Log(LoggerDefs::Error, kind, code, func, msg, text); });
}

void Logger::Error(unsigned int code, LoggerDefs::ExtraErrorInfoType kind, unsigned int x, unsigned int y,
                   const char* func, const QString& msg) noexcept
{
    WithAgentWaiting([&](LoggerAgent& agent) { agent.Log(LoggerDefs::Error, kind, code, x, y, func, msg); });
}

void Logger::Exception(unsigned int code, const char* func, const QString& msg, int a) noexcept
{
    WithAgentWaiting(
        [&](LoggerAgent& agent) { agent.Log(LoggerDefs::Exception, LoggerDefs::NoExtraInfo, code, func, msg, a); });
}

void Logger::UnknownException(unsigned int code, const char* func) noexcept
{
    WithAgentWaiting([&](LoggerAgent& agent) {
        LogUnfiltered(agent, LoggerDefs::Exception, code, func, QStringLiteral("Unknown exception has been caught."));
    });
}

[[gnu::hot]] void Logger::LogInformation(const char* func, const QString& msg) noexcept
{
    GetInstance()->Information(func, msg);
}

[[gnu::hot]] void Logger::LogDebug(const char* func, const QString& msg) noexcept
{
    GetInstance()->Debug(func, msg);
}

[[gnu::hot]] void Logger::LogTrace(const char* func, const QString& msg) noexcept
{
    GetInstance()->Trace(func, msg);
}

[[gnu::hot]] void Logger::LogWarning(const char* func, const QString& msg) noexcept
{
    GetInstance()->Warning(func, msg);
}

void Logger::LogError(unsigned int code, LoggerDefs::ExtraErrorInfoType kind, const char* func, const QString& msg,
                      int a, int b) noexcept
{
    GetInstance()->Error(code, kind, func, msg, a, b);
}

void Logger::LogError(unsigned int code, LoggerDefs::ExtraErrorInfoType kind, const char* func, const QString& msg,
                      const QString& text) noexcept
{
    GetInstance()->Error(code, kind, func, msg, text);
}

void Logger::LogError(unsigned int code, LoggerDefs::ExtraErrorInfoType kind, unsigned int x, unsigned int y,
                      const char* func, const QString& msg) noexcept
{
    GetInstance()->Error(code, kind, x, y, func, msg);
}

void Logger::LogException(unsigned int code, const char* func, const QString& msg, int a) noexcept
{
    GetInstance()->Exception(code, func, msg, a);
}

void Logger::LogUnknownException(unsigned int code, const char* func) noexcept
{
    GetInstance()->UnknownException(code, func);
}

void Logger::SetErrorReporter(IErrorReporter* reporter)
{
    GetInstance()->WithAgentWaiting([&](LoggerAgent& agent) { agent.SetErrorReporter(reporter); });
}

void Logger::SetStackTrace(bool enabled)
{
    GetInstance()->WithAgentWaiting([&](LoggerAgent& agent) { agent.SetStackTrace(enabled); });
}

bool Logger::StackLoggingEnabled()
{
    return true;
}

void Logger::SetLevel(int mask)
{
    WithAgentWaiting([&](LoggerAgent& agent) {
        agent.SetLevel(mask);
        iActiveLevel = mask;
    });
}

bool Logger::LoggingEnabled(LoggerDefs::LogValues level) const
{
    return iAgent.load(std::memory_order_relaxed) && (GetLevel() & level) == level;
}

bool Logger::TraceLoggingEnabled() const
{
    return LoggingEnabled(LoggerDefs::Trace);
}

bool Logger::LoggingEnabledTrace()
{
    bool enabled = false;
    GetInstance()->WithAgentWaiting([&](LoggerAgent& agent) { enabled = agent.LoggingEnabled(LoggerDefs::Trace); });
    return enabled;
}

bool Logger::ResetLoggingLevel(int mask)
{
    bool reset = false;
    GetInstance()->WithAgentWaiting([&](LoggerAgent& agent) {
        reset = agent.ResetLoggingLevel(mask, kInformationCode, "Logger::ResetLoggingLevel",
                                        QLatin1String("resetting log level ") + QString::number(mask));
        iActiveLevel = agent.Level();
    });
    return reset;
}
