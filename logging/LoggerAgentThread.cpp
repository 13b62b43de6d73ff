#include "CrashFile.h"
#include "LogFile.h"
#include "LoggingThread.h"
#include "Swallow.h"
#include "WriteSignals.h"

#include <NeroltOrvaneBase/LoggerAgent.h>
#include <NeroltOrvaneBase/LoggerWorker.h>

#include <QtCore/QAbstractEventDispatcher>
#include <QtCore/QDateTime>
#include <QtCore/QFileInfo>

#include <chrono>
#include <memory>
#include <mutex>
#include <utility>

// The agent's thread: the part of LoggerAgent that starts and stops it, and hands over what waits.

namespace {

constexpr std::chrono::milliseconds kTimerPatience(1000);
constexpr int kTimerMs = 5000;
constexpr int kIdleSecs = 31;
constexpr unsigned long kThreadEndMs = 10000;

// Of the Logger's lines, whose agent's mutex is held, by this thread or one that waits for it.
CrashFile::Mark EndOfLines(bool isLoggers)
{
    return isLoggers ? CrashFile::End() : CrashFile::Mark();
}

CrashFile::Mark EndOfRest(const LoggingThread& thread, bool isLoggers)
{
    return thread.IsRestKept() ? thread.Queue().LastMark() : EndOfLines(isLoggers);
}

// The system would not start it. One that was ended by others has run.
bool NeverRan(const QThread& thread)
{
    return !thread.isRunning() && !thread.isFinished();
}

// The host may change its current folder.
QString AbsolutePath(const QString& path)
{
    return path.isEmpty() ? path : QFileInfo(path).absoluteFilePath();
}

} // namespace

void LoggerAgent::UseCrashFile(std::shared_ptr<CrashFile> file)
{
    const std::lock_guard<QRecursiveMutex> lock(iMutex);
    if (file && iThread)
        file->SetLog(static_cast<LoggingThread&>(*iThread).File().Name());
    CrashFile::Use(std::move(file));
}

void LoggerAgent::SetLoggerFileName(const QString& path)
{
    ChangeFile(path, NewThread(path));
}

void LoggerAgent::ChangeFile(const QString& path, std::unique_ptr<LoggingThread> thread)
{
    const std::lock_guard<QRecursiveMutex> lock(iMutex);
    DebugLine("LoggerAgent::SetLoggerFileName", "Enter");
    if (iThread)
        static_cast<LoggingThread&>(*iThread).KeepRest();
    StopLogging();
    iFileName = path;
    try {
        Begin(std::move(thread));
    } catch (...) {
        iFileName.clear();
        throw;
    }
}

const QString& LoggerAgent::FileName() const
{
    return iFileName;
}

QString LoggerAgent::FileNameCopy() const
{
    const std::lock_guard<QRecursiveMutex> lock(iMutex);
    return iFileName;
}

std::unique_ptr<LoggingThread> LoggerAgent::NewThread(const QString& path)
{
    return std::make_unique<LoggingThread>(AbsolutePath(path));
}

void LoggerAgent::StartThread()
{
    const std::lock_guard<QRecursiveMutex> lock(iMutex);
    if (!iThread)
        Begin(NewThread(iFileName));
}

void LoggerAgent::Begin(std::unique_ptr<LoggingThread> thread)
{
    try {
        Connect(*thread);
        DebugLine("LoggerAgent::StartThread", "starting timer");
        AdjustTimer();
    } catch (...) {
        iThread = nullptr;
        iWorker = nullptr;
        throw;
    }
    iThread = thread.release(); // it is nobody's until it runs
    Launch();
}

// Batches take the way of a queued connection of logMessage with onLogMessage, but through a queue of their own. Those
// wait for more to come that are handed over because there are enough bytes of them, and no others.
void LoggerAgent::Connect(LoggingThread& thread)
{
    if (QThread::currentThread() == this->thread())
        thread.setParent(this); // a child must live where its parent does
    else
        thread.moveToThread(this->thread());
    iThread = &thread;
    iWorker = &thread.Worker();
    if (iHasLoggersLevel) {
        thread.File().ServeLogger();
        if (CrashFile* const crashFile = CrashFile::Current())
            crashFile->SetLog(thread.File().Name());
    }
    connect(iThread, SIGNAL(started()), iWorker, SLOT(onStartWorker()));
    connect(iThread, SIGNAL(finished()), iWorker, SLOT(deleteLater()));
    BatchQueue* const queue = &thread.Queue();
    connect(
        this, &LoggerAgent::logMessage, iWorker,
        [this, queue](const QByteArray& batch) {
            queue->Put(batch, EndOfLines(iHasLoggersLevel), iResettingLevel || batch.size() <= kBatchBytes);
        },
        Qt::DirectConnection);
    // What was put before the stop comes before it, also when there was no memory to tell of it.
    connect(
        this, &LoggerAgent::stopWorker, iWorker, [this, rest = &thread] { DeliverBeforeRest(*rest); },
        Qt::BlockingQueuedConnection);
    connect(this, SIGNAL(stopWorker(QByteArray)), iWorker, SLOT(onStopWorker(QByteArray)),
            Qt::BlockingQueuedConnection);
}

void LoggerAgent::Launch()
{
    try {
        iThread->start(QThread::InheritPriority);
    } catch (...) {
        // The framework takes it for running now, so that it can neither be destroyed nor waited for.
        disconnect(this, nullptr, iWorker, nullptr);
        iThread->setParent(nullptr);
        iThread = nullptr;
        iWorker = nullptr;
        iFileName.clear();
        throw;
    }
}

void LoggerAgent::StopLogging()
{
    const std::lock_guard<QRecursiveMutex> lock(iMutex);
    if (!iThread)
        return;
    auto& thread = static_cast<LoggingThread&>(*iThread);
    if (NeverRan(thread))
        WriteRestHere(thread);
    else
        WriteRest(thread);
    disconnect(this, nullptr, iWorker, nullptr);
    iWorker = nullptr;
    iThread = nullptr;
    End(thread);
    DebugLine("LoggerAgent::StopLogging", "stopping timer");
    Swallow([this] { AdjustTimer(); });
}

void LoggerAgent::WriteRest(LoggingThread& thread)
{
    bool stopped = false;
    Swallow([&] {
        Q_EMIT stopWorker(iBuffer);
        stopped = true;
    });
    // Without memory for that it still takes what was put when it ends.
    if (!stopped)
        thread.Queue().Put(iBuffer, EndOfRest(thread, iHasLoggersLevel), true);
}

void LoggerAgent::DeliverBeforeRest(LoggingThread& thread)
{
    thread.Deliver();
    thread.File().SetMark(EndOfRest(thread, iHasLoggersLevel));
}

// The system would not start the thread.
void LoggerAgent::WriteRestHere(LoggingThread& thread)
{
    const WriteSignals::Blocker blocker;
    disconnect(this, nullptr, iWorker, nullptr);
    Swallow([&] {
        iWorker->onStartWorker();
        DeliverBeforeRest(thread);
        iWorker->onStopWorker(iBuffer);
        Q_EMIT stopWorker(iBuffer);
    });
}

// Never deleted here: the list of threads comes before all other locks.
void LoggerAgent::End(LoggingThread& thread)
{
    thread.requestInterruption();
    thread.quit();
    thread.Queue().Wake();
    if (thread.wait(kThreadEndMs)) {
        thread.disconnect();
        Swallow([&thread] { thread.deleteLater(); });
        return;
    }
    // QThread ends the process when it is destroyed while it runs, so this one goes when it has finished.
    Swallow([&thread] {
        if (thread.parent())
            thread.setParent(nullptr);
        connect(&thread, SIGNAL(finished()), &thread, SLOT(deleteLater()));
        if (thread.isFinished())
            thread.deleteLater();
    });
}

// The timer runs exactly while a logging thread does. Only the agent's own thread can start and stop it, and not before
// it has events: a host may start its log before it makes its application object.
void LoggerAgent::AdjustTimer()
{
    if (QThread::currentThread() == thread() && QAbstractEventDispatcher::instance())
        AdjustTimerHere();
    else
        QMetaObject::invokeMethod(
            this, [this] { Swallow([this] { AdjustTimerHere(); }); }, Qt::QueuedConnection);
}

void LoggerAgent::AdjustTimerHere()
{
    const std::lock_guard<QRecursiveMutex> lock(iMutex);
    if (iThread && iTimerId == 0) {
        iTimerId = startTimer(kTimerMs, Qt::CoarseTimer);
    } else if (!iThread && iTimerId != 0) {
        killTimer(iTimerId);
        iTimerId = 0;
    }
}

// The agent's thread is the host's main one: it waits for the mutex when there is something to hand over, and not else.
void LoggerAgent::timerEvent(QTimerEvent*)
{
    const qint64 quietSecs = QDateTime::currentMSecsSinceEpoch() / 1000 - iLastLineSecs;
    const bool isDue = iHasLines && (quietSecs >= kIdleSecs || quietSecs < 0); // the clock was set back
    std::unique_lock<QRecursiveMutex> lock(iMutex, std::defer_lock);
    if (!(isDue ? lock.try_lock_for(kTimerPatience) : lock.try_lock()) || !iThread)
        return;
    if (NeverRan(*iThread))
        Swallow([this] { Launch(); }); // what the system refused before it may grant now
    if (isDue && !iBuffer.isEmpty())
        Swallow([this] { SendBufferToThread(); });
}
