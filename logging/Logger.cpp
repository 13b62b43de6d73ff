#include "CrashFile.h"
#include "LogFile.h"
#include "LogLine.h"
#include "LogProgress.h"
#include "LoggingThread.h"
#include "RotatedFiles.h"
#include "Swallow.h"
#include "WriteSignals.h"

#include <NeroltOrvaneBase/IErrorReporter.h>
#include <NeroltOrvaneBase/Logger.h>
#include <NeroltOrvaneBase/LoggerAgent.h>
#include <NeroltOrvaneBase/RegisteredThread.h>

#include <QtCore/QDateTime>
#include <QtCore/QDeadlineTimer>
#include <QtCore/QElapsedTimer>
#include <QtCore/QFile>
#include <QtCore/QFileInfo>
#include <QtCore/QThread>

#include <algorithm>
#include <chrono>
#include <mutex>

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
// Whether there has ever been a file. Changes with the Logger's mutex held.
std::atomic<bool> gStarted{false};

// Whether this thread holds the log's locks to make a copy of the process.
thread_local bool tHoldsLocks = false;
thread_local bool tHoldsCreation = false;
// How often this thread holds the Logger's mutex in calls that may reach the error reporter.
thread_local int tReporting = 0;

class Reporting
{
public:
    Reporting() { ++tReporting; }
    ~Reporting() { --tReporting; }
    Q_DISABLE_COPY(Reporting)
};

// Held while the error reporter works, and by whoever takes it away: it comes before all other locks. Never destroyed,
// threads may report until the very end of the process.
QMutex& ReporterMutex()
{
    static QMutex* const mutex = new QMutex(QMutex::Recursive);
    return *mutex;
}

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

// The agent has taken leave of every caller. What it owns belongs to the thread it lives on.
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

QMutex& CreationMutex()
{
    static QMutex mutex;
    return mutex;
}

} // namespace

std::atomic<Logger*> Logger::iInstance{nullptr};
std::atomic<int> Logger::iActiveLevel{0};
std::atomic<int> Logger::iFlushLevels{0};

Logger::Logger()
    : iMutex(QMutex::Recursive)
    , iAgent(nullptr)
{
    ReporterMutex(); // now, while there may be memory
    iAgent = new LoggerAgent(kDefaultLevel, nullptr);
    iAgent.load()->iHasLoggersLevel = true;
    iActiveLevel = kDefaultLevel;
}

Logger::~Logger()
{
    const NotCancelled moment;
    Swallow([this] { End("~Logger", "stopping logging", false); });
}

void* Logger::operator new(std::size_t)
{
    alignas(Logger) static unsigned char storage[sizeof(Logger)];
    return storage;
}

void Logger::operator delete(void*) { }

Logger* Logger::CreateInstance()
{
    const std::lock_guard<QMutex> lock(CreationMutex());
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

// Says farewell and takes the agent out. It is destroyed without the Logger's lock: the list of threads comes before.
void Logger::End(const char* func, const char* farewell, bool withPath)
{
    if (!iAgent.load())
        return;
    const std::lock_guard<QMutex> reporter(ReporterMutex());
    std::unique_lock<QMutex> lock(iMutex);
    LoggerAgent* const agent = iAgent.load();
    if (!agent)
        return;
    Swallow([&] {
        LogUnfiltered(*agent, LoggerDefs::Information, kInformationCode, func,
                      QLatin1String(farewell) + (withPath ? agent->FileName() : QString()));
    });
    iAgent = nullptr;
    iActiveLevel = 0;
    agent->StopLogging();
    agent->UseCrashFile(nullptr);
    lock.unlock();
    // A caller that does not leave in time keeps the agent alive: a leak at the end is better than a crash.
    if (HaveUnlockedCallersLeft())
        Dispose(agent);
}

void Logger::StopLogging()
{
    Swallow([] { GetInstance()->End("Logger::StopLogging", "stopping logging file path is ", true); });
}

void Logger::SetLoggerFileName(const QString& path, bool force)
{
    Swallow([&] {
        Logger* const logger = GetInstance();
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
        const auto isWanted = [&](LoggerAgent& agent) { return force || agent.FileName().isEmpty(); };
        bool any = false;
        logger->WithAgentWaiting([&](LoggerAgent& agent) { any = isWanted(agent); });
        if (!any)
            return;
        CompleteInterrupted(path);
        // Now, because the list of threads comes before the Logger.
        std::unique_ptr<LoggingThread> thread = LoggerAgent::NewThread(path);
        logger->WithAgentWaiting([&](LoggerAgent& agent) {
            if (!isWanted(agent))
                return;
            gStarted = true;
            try {
                agent.ChangeFile(path, std::move(thread));
            } catch (...) {
                gStarted = !agent.FileName().isEmpty();
                throw;
            }
        });
    });
}

// The line goes straight to the file: before those that already wait in the buffer.
void Logger::CompleteInterrupted(const QString& newPath)
{
    const std::shared_ptr<CrashFile> file = CrashFile::Used();
    if (!file)
        return;
    const QString newLog = QFileInfo(newPath).absoluteFilePath();
    const CrashFile::Recovered recovered = file->Recover(QFile::encodeName(newLog));
    if (!recovered.iIsAny || !GetInstance()->LoggingEnabled(LoggerDefs::Information))
        return;
    QString msg = QStringLiteral("recovered %1 lines of an interrupted run").arg(recovered.iLines);
    if (recovered.iUnprotected > 0)
        msg += QStringLiteral(", %1 lines were not protected").arg(recovered.iUnprotected);
    QByteArray line;
    LogLine::Append(line, QDateTime::currentMSecsSinceEpoch(), kInformationCode, "Information", "Logger::SetCrashFile",
                    msg);
    const WriteSignals::Blocker blocker;
    LogFile log(newLog);
    if (GetLoggerFileName().isEmpty()) // the crash file knows of one write at a time, and nobody else writes yet
        log.ServeLogger();
    log.Append(line);
}

bool Logger::SetCrashFile(const QString& path)
{
    bool isSet = false;
    Swallow([&] {
        Logger* const logger = GetInstance();
        if (path.contains(QChar(0)) || !logger->iAgent.load())
            return;
        // One at a time: two files of one process would not see each other's locks.
        const std::lock_guard<QMutex> lock(ReporterMutex());
        const std::shared_ptr<CrashFile> old = CrashFile::Used();
        const QByteArray name = QFile::encodeName(QFileInfo(path).absoluteFilePath());
        isSet = old && !path.isEmpty() && old->IsAt(name);
        if (isSet)
            return;
        const std::shared_ptr<CrashFile> file = path.isEmpty() ? nullptr : CrashFile::Open(name);
        if (!file && !path.isEmpty())
            return;
        logger->WithAgentWaiting([&](LoggerAgent& agent) {
            agent.UseCrashFile(file);
            isSet = true;
        });
        if (isSet && old)
            old->GiveUp();
    });
    return isSet;
}

bool Logger::Flush(int timeoutMs)
{
    bool isDone = false;
    Swallow([&] {
        const QDeadlineTimer deadline(std::max(timeoutMs, 0));
        std::shared_ptr<LogProgress> progress;
        quint64 batches = 0;
        if (!dynamic_cast<LoggingThread*>(QThread::currentThread())) {
            const UnlockedCaller caller;
            if (LoggerAgent* const agent = GetInstance()->iAgent.load())
                progress = agent->HandOver(deadline, batches);
        }
        isDone = progress && progress->WaitFor(batches, deadline) && LogProgress::IsWhole();
    });
    return isDone;
}

void Logger::SetFlushLevels(int mask)
{
    iFlushLevels.store(mask, std::memory_order_relaxed);
}

void Logger::SetRotatedFiles(int count, qint64 bytes)
{
    RotatedFiles::SetBound(count, bytes);
}

// Until the log starts a copy of the process (fork) gets a log like any other. The threads that it has not would never
// give back the locks they hold, so for the moment of the copy they are held by the one that it has.
void Logger::BeforeCopy()
{
    const NotCancelled moment;
    tHoldsLocks = false;
    tHoldsCreation = !iInstance.load();
    if (tHoldsCreation)
        CreationMutex().lock();
    Logger* const logger = iInstance.load();
    LoggerAgent* const agent = logger && !gStarted ? logger->iAgent.load() : nullptr;
    if (!agent)
        return;
    std::unique_lock<QMutex> reporter(ReporterMutex(), std::defer_lock);
    std::unique_lock<QMutex> lock;
    std::unique_lock<QMutex> agentLock;
    if (!reporter.try_lock_for(kLockTimeout) || !(lock = std::unique_lock<QMutex>(logger->iMutex, kLockTimeout))
        || gStarted || logger->iAgent.load() != agent
        || !(agentLock = std::unique_lock<QMutex>(agent->iMutex, kLockTimeout)))
        return;
    for (std::unique_lock<QMutex>* const held : {&reporter, &lock, &agentLock})
        held->release();
    tHoldsLocks = true;
}

void Logger::AfterCopy()
{
    if (tHoldsLocks) {
        Logger* const logger = iInstance.load();
        logger->iAgent.load()->iMutex.unlock();
        logger->iMutex.unlock();
        ReporterMutex().unlock();
    }
    if (tHoldsCreation)
        CreationMutex().unlock();
}

// A copy made later has no logging thread: there the log is over, as after a stop, and nobody asks for a lock. Not even
// the agent's timer, if its thread is the one that goes on here.
void Logger::BeginInCopy()
{
    AfterCopy();
    CrashFile::ForgetInCopy();
    gUnlockedCallers = 0;
    Logger* const logger = iInstance.load();
    LoggerAgent* const agent = logger ? logger->iAgent.load() : nullptr;
    if (!agent || tHoldsLocks)
        return;
    logger->iAgent = nullptr;
    iActiveLevel = 0;
    Swallow([agent] {
        if (agent->iTimerId != 0 && QThread::currentThread() == agent->thread())
            agent->killTimer(agent->iTimerId);
    });
}

const QString& Logger::GetLoggerFileName()
{
    static const QString none;
    const QString* name = &none;
    Swallow([&name] {
        if (const LoggerAgent* const agent = GetInstance()->iAgent.load())
            name = &agent->FileName();
    });
    return *name;
}

template <typename Call>
void Logger::WithAgentWaiting(const Call& call)
{
    if (!iAgent.load(std::memory_order_relaxed))
        return;
    Swallow([&] {
        const std::lock_guard<QMutex> lock(iMutex);
        if (LoggerAgent* const agent = iAgent.load(std::memory_order_relaxed))
            call(*agent);
    });
}

// For what may call the error reporter, last of all. It may do with threads and with the log what needs the list of
// threads, whose lock comes before the Logger's.
template <typename Call>
void Logger::WithAgentReporting(const Call& call)
{
    if (!iAgent.load(std::memory_order_relaxed))
        return;
    Swallow([&] {
        const std::lock_guard<QMutex> reporter(ReporterMutex());
        WithAgentWaiting([&](LoggerAgent& agent) {
            const Reporting reporting;
            call(agent);
        });
    });
}

// The error reporter wants the list of threads, and somebody has it who may wait for the Logger.
int Logger::UnlockForList()
{
    for (int i = 0; i < tReporting; ++i)
        iInstance.load()->iMutex.unlock();
    return tReporting;
}

void Logger::LockAgain(int times)
{
    for (int i = 0; i < times; ++i)
        iInstance.load()->iMutex.lock();
}

template <typename Call>
void Logger::WithAgentOrDrop(const Call& call)
{
    Swallow([&] {
        const std::unique_lock<QMutex> lock(iMutex, kLockTimeout);
        if (!lock)
            LogProgress::Lose();
        else if (LoggerAgent* const agent = iAgent.load(std::memory_order_relaxed))
            call(*agent);
    });
}

[[gnu::hot]] void Logger::Information(const char* func, const QString& msg)
{
    if (!(GetLevel() & LoggerDefs::Information))
        return;
    Swallow([&] {
        const UnlockedCaller caller;
        if (LoggerAgent* const agent = iAgent.load())
            LogUnfiltered(*agent, LoggerDefs::Information, kInformationCode, func, msg);
    });
}

[[gnu::hot]] void Logger::Debug(const char* func, const QString& msg)
{
    if (GetLevel() & LoggerDefs::Debug)
        WithAgentOrDrop([&](LoggerAgent& agent) { LogUnfiltered(agent, LoggerDefs::Debug, kDebugCode, func, msg); });
}

[[gnu::hot]] void Logger::Trace(const char* func, const QString& msg)
{
    if (GetLevel() & LoggerDefs::Trace)
        WithAgentOrDrop([&](LoggerAgent& agent) { LogUnfiltered(agent, LoggerDefs::Trace, kTraceCode, func, msg); });
}

[[gnu::hot]] void Logger::Warning(const char* func, const QString& msg)
{
    if (GetLevel() & LoggerDefs::Warning)
        WithAgentWaiting(
            [&](LoggerAgent& agent) { LogUnfiltered(agent, LoggerDefs::Warning, kWarningCode, func, msg); });
}

void Logger::Error(unsigned int code, LoggerDefs::ExtraErrorInfoType kind, const char* func, const QString& msg, int a,
                   int b)
{
    WithAgentReporting([&](LoggerAgent& agent) { agent.Log(LoggerDefs::Error, kind, code, func, msg, a, b); });
}

void Logger::Error(unsigned int code, LoggerDefs::ExtraErrorInfoType kind, const char* func, const QString& msg,
                   const QString& text)
{
    WithAgentReporting([&](LoggerAgent& agent) { agent.Log(LoggerDefs::Error, kind, code, func, msg, text); });
}

void Logger::Error(unsigned int code, LoggerDefs::ExtraErrorInfoType kind, unsigned int x, unsigned int y,
                   const char* func, const QString& msg)
{
    WithAgentReporting([&](LoggerAgent& agent) { agent.Log(LoggerDefs::Error, kind, code, x, y, func, msg); });
}

void Logger::Exception(unsigned int code, const char* func, const QString& msg, int a)
{
    WithAgentReporting(
        [&](LoggerAgent& agent) { agent.Log(LoggerDefs::Exception, LoggerDefs::NoExtraInfo, code, func, msg, a); });
}

void Logger::UnknownException(unsigned int code, const char* func)
{
    WithAgentReporting([&](LoggerAgent& agent) {
        LogUnfiltered(agent, LoggerDefs::Exception, code, func, QStringLiteral("Unknown exception has been caught."));
    });
}

[[gnu::hot]] void Logger::LogInformation(const char* func, const QString& msg)
{
    Swallow([&] { GetInstance()->Information(func, msg); });
}

[[gnu::hot]] void Logger::LogDebug(const char* func, const QString& msg)
{
    Swallow([&] { GetInstance()->Debug(func, msg); });
}

[[gnu::hot]] void Logger::LogTrace(const char* func, const QString& msg)
{
    Swallow([&] { GetInstance()->Trace(func, msg); });
}

[[gnu::hot]] void Logger::LogWarning(const char* func, const QString& msg)
{
    Swallow([&] { GetInstance()->Warning(func, msg); });
}

void Logger::LogError(unsigned int code, LoggerDefs::ExtraErrorInfoType kind, const char* func, const QString& msg,
                      int a, int b)
{
    Swallow([&] { GetInstance()->Error(code, kind, func, msg, a, b); });
}

void Logger::LogError(unsigned int code, LoggerDefs::ExtraErrorInfoType kind, const char* func, const QString& msg,
                      const QString& text)
{
    Swallow([&] { GetInstance()->Error(code, kind, func, msg, text); });
}

void Logger::LogError(unsigned int code, LoggerDefs::ExtraErrorInfoType kind, unsigned int x, unsigned int y,
                      const char* func, const QString& msg)
{
    Swallow([&] { GetInstance()->Error(code, kind, x, y, func, msg); });
}

void Logger::LogException(unsigned int code, const char* func, const QString& msg, int a)
{
    Swallow([&] { GetInstance()->Exception(code, func, msg, a); });
}

void Logger::LogUnknownException(unsigned int code, const char* func)
{
    Swallow([&] { GetInstance()->UnknownException(code, func); });
}

void Logger::SetErrorReporter(IErrorReporter* reporter)
{
    Swallow([reporter] {
        GetInstance()->WithAgentReporting([reporter](LoggerAgent& agent) { agent.SetErrorReporter(reporter); });
    });
}

void Logger::SetStackTrace(bool enabled)
{
    Swallow([enabled] {
        GetInstance()->WithAgentWaiting([enabled](LoggerAgent& agent) { agent.SetStackTrace(enabled); });
    });
}

bool Logger::StackLoggingEnabled()
{
    return true;
}

void Logger::SetLevel(int mask)
{
    WithAgentWaiting([mask](LoggerAgent& agent) { agent.SetLevel(mask); });
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
    Swallow([&enabled] {
        GetInstance()->WithAgentWaiting(
            [&enabled](LoggerAgent& agent) { enabled = agent.LoggingEnabled(LoggerDefs::Trace); });
    });
    return enabled;
}

bool Logger::ResetLoggingLevel(int mask)
{
    bool reset = false;
    Swallow([&] {
        GetInstance()->WithAgentWaiting([&](LoggerAgent& agent) {
            reset = agent.ResetLoggingLevel(mask, kInformationCode, "Logger::ResetLoggingLevel",
                                            QLatin1String("resetting log level ") + QString::number(mask));
        });
    });
    return reset;
}
