#include "CrashFile.h"
#include "LogFile.h"
#include "LogLine.h"
#include "LogProgress.h"
#include "LoggerState.h"
#include "LoggingThread.h"
#include "RotatedFiles.h"
#include "WriteSignals.h"

#include <QtCore/QDateTime>
#include <QtCore/QDeadlineTimer>
#include <QtCore/QElapsedTimer>
#include <QtCore/QFile>
#include <QtCore/QFileInfo>
#include <QtCore/QThread>

#include <algorithm>

using LoggerState::CreationMutex;
using LoggerState::gStarted;
using LoggerState::gUnlockedCallers;
using LoggerState::kInformationCode;
using LoggerState::Log;
using LoggerState::ReporterMutex;
using LoggerState::UnlockedCaller;

namespace {

constexpr int kDefaultLevel = LoggerDefs::Error | LoggerDefs::Exception;
constexpr int kLeaveTimeoutMs = 5000;

std::atomic<bool> gCleanedUp{false};

// False when one stays for too long.
bool WaitForUnlockedCallers()
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

} // namespace

std::atomic<bool> LoggerState::gStarted{false};
std::atomic<int> LoggerState::gUnlockedCallers{0};

// Never destroyed, threads may report until the very end of the process.
QRecursiveMutex& LoggerState::ReporterMutex()
{
    static QRecursiveMutex* const mutex = new QRecursiveMutex;
    return *mutex;
}

QMutex& LoggerState::CreationMutex()
{
    static QMutex mutex;
    return mutex;
}

std::atomic<Logger*> Logger::iInstance{nullptr};
std::atomic<int> Logger::iActiveLevel{0};
std::atomic<int> Logger::iFlushLevels{0};

Logger::Logger()
    : iAgent(nullptr)
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
    const std::lock_guard<QRecursiveMutex> reporter(ReporterMutex());
    std::unique_lock<QRecursiveMutex> lock(iMutex);
    LoggerAgent* const agent = iAgent.load();
    if (!agent)
        return;
    Swallow([&] {
        Log(*agent, LoggerDefs::Information, kInformationCode, func,
            QLatin1String(farewell) + (withPath ? agent->FileName() : QString()));
    });
    iAgent = nullptr;
    iActiveLevel = 0;
    agent->StopLogging();
    agent->UseCrashFile(nullptr);
    lock.unlock();
    // A caller that does not leave in time keeps the agent alive: a leak at the end is better than a crash.
    if (WaitForUnlockedCallers())
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
                Log(*agent, LoggerDefs::Information, kInformationCode, func,
                    QLatin1String("Existing path is ") + existing);
                Log(*agent, LoggerDefs::Information, kInformationCode, func, QLatin1String("New path is ") + path);
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
    const bool isAlone = GetLoggerFileName().isEmpty(); // the crash file knows of one write at a time
    if (isAlone)
        log.ServeLogger();
    log.Append(line);
    if (isAlone)
        file->ForgetWrite();
}

bool Logger::SetCrashFile(const QString& path)
{
    bool isSet = false;
    Swallow([&] {
        Logger* const logger = GetInstance();
        if (path.contains(QChar(0)) || !logger->iAgent.load())
            return;
        // One at a time: two files of one process would not see each other's locks.
        const std::lock_guard<QRecursiveMutex> lock(ReporterMutex());
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
