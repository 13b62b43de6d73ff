#include "CrashFile.h"
#include "LogFile.h"
#include "LogLine.h"
#include "LoggingThread.h"
#include "Swallow.h"
#include "WriteSignals.h"

#include <NeroltOrvaneBase/IErrorReporter.h>
#include <NeroltOrvaneBase/Logger.h>
#include <NeroltOrvaneBase/LoggerAgent.h>
#include <NeroltOrvaneBase/LoggerWorker.h>

#include <QtCore/QAbstractEventDispatcher>
#include <QtCore/QDateTime>
#include <QtCore/QDeadlineTimer>
#include <QtCore/QFileInfo>
#include <QtCore/QScopeGuard>

#include <chrono>
#include <cstring>
#include <memory>
#include <mutex>
#include <sys/time.h>
#include <utility>

namespace {

constexpr std::chrono::milliseconds kBufferTimeout(1000);
constexpr int kBatchBytes = 5000;
constexpr int kBufferBytes = kBatchBytes + 1024;
constexpr int kMostKept = 16 * kBufferBytes; // of a buffer that a long line has made grow
constexpr quint64 kMostOfRest = 100; // of a line, besides its texts
constexpr int kTimerMs = 5000;
constexpr int kIdleSecs = 31;
constexpr unsigned long kThreadEndMs = 10000;
constexpr unsigned int kOwnLinesCode = 30;

constexpr const char* kInformation = "Information";

const char* LevelWord(LoggerDefs::LogValues level)
{
    switch (level) {
    case LoggerDefs::Information:
        return kInformation;
    case LoggerDefs::Error:
        return "Error";
    case LoggerDefs::Warning:
        return "Warning";
    case LoggerDefs::Trace:
        return "Trace";
    case LoggerDefs::Exception:
        return "Exception";
    case LoggerDefs::Debug:
        return "Debug";
    }
    return nullptr;
}

QString Joined(unsigned int code, const QString& first)
{
    return QString::number(code) + QLatin1Char('_') + first;
}

QString Joined(unsigned int code, const QString& first, const QString& second)
{
    return Joined(code, first) + QLatin1Char('_') + second;
}

// As the framework asks for it, without the way through the framework.
qint64 MSecsSinceEpoch()
{
    timeval now;
    ::gettimeofday(&now, nullptr);
    return qint64(now.tv_sec) * 1000 + now.tv_usec / 1000;
}

// Of the Logger's lines, whose agent's mutex is held, by this thread or one that waits for it.
CrashFile::Mark EndOfLines(bool isLoggers)
{
    return isLoggers ? CrashFile::End() : CrashFile::Mark();
}

// At most, in UTF-8.
quint64 BytesOf(const char* func, const QString& msg)
{
    return 3 * (quint64(msg.size()) + (func ? std::strlen(func) : 0)) + kMostOfRest;
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

LoggerAgent::LoggerAgent(int level, QObject* parent)
    : QObject(parent)
    , iMutex(QMutex::Recursive)
    , iLevel(level)
{
}

LoggerAgent::~LoggerAgent() = default;

[[gnu::hot]] void LoggerAgent::Log(LoggerDefs::LogValues level, LoggerDefs::ExtraErrorInfoType kind, unsigned int code,
                                   const char* func, const QString& msg)
{
    const char* const word = LevelWord(level);
    if (!word || (level & ~Level()) != 0)
        return;
    DoLog(code, func, word, msg);
    if (iHasLoggersLevel && (level & Logger::iFlushLevels.load(std::memory_order_relaxed)) != 0)
        HandOver();
    if (level != LoggerDefs::Error && level != LoggerDefs::Exception)
        return;
    // The reporter comes last: it may do anything, stopping the log included.
    if (IErrorReporter* const reporter = iErrorReporter)
        reporter->ReportError(level == LoggerDefs::Error ? ErrorCodeText(kind, code) : ExceptionCodeText(kind, code),
                              msg);
}

void LoggerAgent::Log(LoggerDefs::LogValues level, LoggerDefs::ExtraErrorInfoType kind, unsigned int code,
                      const char* func, const QString& msg, int a, int b)
{
    iFirstInt = a;
    iSecondInt = b;
    Log(level, kind, code, func, msg);
}

void LoggerAgent::Log(LoggerDefs::LogValues level, LoggerDefs::ExtraErrorInfoType kind, unsigned int code,
                      const char* func, const QString& msg, int a)
{
    iFirstInt = a;
    Log(level, kind, code, func, msg);
}

void LoggerAgent::Log(LoggerDefs::LogValues level, LoggerDefs::ExtraErrorInfoType kind, unsigned int code,
                      const char* func, const QString& msg, const QString& text)
{
    iExtraText = text;
    Log(level, kind, code, func, msg);
}

void LoggerAgent::Log(LoggerDefs::LogValues level, LoggerDefs::ExtraErrorInfoType kind, unsigned int code,
                      unsigned int x, unsigned int y, const char* func, const QString& msg)
{
    iFirstHex = QString::number(x, 16);
    iSecondHex = QString::number(y, 16);
    Log(level, kind, code, func, msg);
}

QString LoggerAgent::ErrorCodeText(LoggerDefs::ExtraErrorInfoType kind, unsigned int code) const
{
    switch (kind) {
    case LoggerDefs::SecondIntHex:
        return Joined(code, QString::number(iSecondInt, 16));
    case LoggerDefs::BothIntsHexDec:
        return Joined(code, QString::number(iSecondInt, 16), QString::number(iFirstInt));
    case LoggerDefs::FirstIntDec:
        return Joined(code, QString::number(iFirstInt));
    case LoggerDefs::ExtraText:
        return Joined(code, iExtraText);
    case LoggerDefs::TwoUIntsHex:
        return Joined(code, iFirstHex, iSecondHex);
    case LoggerDefs::NoExtraInfo:
        break;
    }
    return QString::number(code);
}

QString LoggerAgent::ExceptionCodeText(LoggerDefs::ExtraErrorInfoType kind, unsigned int code) const
{
    return kind == LoggerDefs::FirstIntDec ? Joined(code, QString::number(iFirstInt)) : QString::number(code);
}

[[gnu::hot]] void LoggerAgent::DoLog(unsigned int code, const char* func, const char* levelWord, const QString& msg)
{
    std::unique_lock<QMutex> lock(iMutex, kBufferTimeout);
    const bool isProtected = iHasLoggersLevel && CrashFile::Current();
    if (isProtected)
        CrashFile::AwaitRoom(lock, BytesOf(func, msg));
    if (!lock) {
        if (iHasLoggersLevel)
            LogProgress::Lose();
        return;
    }
    if (iBuffer.capacity() == 0)
        iBuffer.reserve(kBufferBytes);
    const int before = iBuffer.size();
    const qint64 now = MSecsSinceEpoch();
    LogLine::Append(iBuffer, now, code, levelWord, func, msg);
    if (isProtected)
        CrashFile::Put(iBuffer.constData() + before, iBuffer.size() - before);
    iLastLineSecs = now / 1000;
    iHasLines = true;
    if (iBuffer.size() > kBatchBytes || iResettingLevel)
        SendBufferToThread();
}

[[gnu::hot]] void LoggerAgent::SendBufferToThread()
{
    const std::lock_guard<QMutex> lock(iMutex);
    QByteArray batch;
    batch.swap(iBuffer);
    iHasLines = false;
    Q_EMIT logMessage(batch);
    if (!iThread && iHasLoggersLevel) { // it is lost
        LogProgress::Lose();
        CrashFile::Done(CrashFile::End());
    }
    // It is used again, unless a listener has kept it.
    if (iBuffer.isEmpty() && batch.isDetached() && batch.capacity() <= kMostKept) {
        batch.resize(0);
        batch.swap(iBuffer);
    }
}

void LoggerAgent::HandOver()
{
    const std::unique_lock<QMutex> lock(iMutex, kBufferTimeout);
    if (lock && iThread && !iBuffer.isEmpty())
        SendBufferToThread();
}

// Null when there is nothing to wait for.
std::shared_ptr<LogProgress> LoggerAgent::HandOver(const QDeadlineTimer& deadline, quint64& batches)
{
    const std::unique_lock<QMutex> lock(iMutex, std::chrono::milliseconds(deadline.remainingTime()));
    if (!lock || !iThread)
        return nullptr;
    if (!iBuffer.isEmpty())
        SendBufferToThread();
    const BatchQueue& queue = static_cast<LoggingThread&>(*iThread).Queue();
    batches = queue.Count();
    return queue.Progress();
}

void LoggerAgent::UseCrashFile(std::shared_ptr<CrashFile> file)
{
    const std::lock_guard<QMutex> lock(iMutex);
    if (file && iThread)
        file->SetLog(static_cast<LoggingThread&>(*iThread).File().Name());
    CrashFile::Use(std::move(file));
}

void LoggerAgent::DebugLine(const char* func, const char* msg)
{
    if (LoggingEnabled(LoggerDefs::Debug))
        Swallow([&] { DoLog(kOwnLinesCode, func, "Debug", QLatin1String(msg)); });
}

void LoggerAgent::SetLevel(int level)
{
    (iHasLoggersLevel ? Logger::iActiveLevel : iLevel).store(level, std::memory_order_relaxed);
}

int LoggerAgent::Level() const
{
    return (iHasLoggersLevel ? Logger::iActiveLevel : iLevel).load(std::memory_order_relaxed);
}

bool LoggerAgent::LoggingEnabled(LoggerDefs::LogValues level) const
{
    return (Level() & level) == level;
}

void LoggerAgent::SetStackTrace(bool enabled)
{
    iStackTrace = enabled;
}

bool LoggerAgent::StackLoggingEnabled()
{
    return iStackTrace;
}

void LoggerAgent::SetErrorReporter(IErrorReporter* reporter)
{
    iErrorReporter = reporter;
}

bool LoggerAgent::ResetLoggingLevel(int mask, unsigned int code, const char* func, const QString& msg)
{
    const std::lock_guard<QMutex> lock(iMutex);
    const bool locked = Level() == LoggerDefs::kLockedLevel;
    iResettingLevel = true;
    const auto after = qScopeGuard([this] { iResettingLevel = false; }); // without memory no line comes
    if (locked) {
        DoLog(code, func, kInformation, QStringLiteral("log level is 255 and cannot be reset"));
    } else if (LoggingEnabled(LoggerDefs::Information)) {
        DoLog(code, func, kInformation, msg);
        SetLevel(mask);
    } else {
        SetLevel(mask);
        if (LoggingEnabled(LoggerDefs::Information))
            DoLog(code, func, kInformation, msg);
    }
    return !locked;
}

void LoggerAgent::SetLoggerFileName(const QString& path)
{
    ChangeFile(path, NewThread(path));
}

void LoggerAgent::ChangeFile(const QString& path, std::unique_ptr<LoggingThread> thread)
{
    const std::lock_guard<QMutex> lock(iMutex);
    DebugLine("LoggerAgent::SetLoggerFileName", "Enter");
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
    const std::lock_guard<QMutex> lock(iMutex);
    return iFileName;
}

std::unique_ptr<LoggingThread> LoggerAgent::NewThread(const QString& path)
{
    return std::make_unique<LoggingThread>(AbsolutePath(path));
}

void LoggerAgent::StartThread()
{
    const std::lock_guard<QMutex> lock(iMutex);
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
    const std::lock_guard<QMutex> lock(iMutex);
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
        thread.Queue().Put(iBuffer, EndOfLines(iHasLoggersLevel), true);
}

void LoggerAgent::DeliverBeforeRest(LoggingThread& thread)
{
    thread.Deliver();
    thread.File().SetMark(EndOfLines(iHasLoggersLevel));
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
    thread.quit();
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
    const std::lock_guard<QMutex> lock(iMutex);
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
    const qint64 quietSecs = MSecsSinceEpoch() / 1000 - iLastLineSecs;
    const bool isDue = iHasLines && (quietSecs >= kIdleSecs || quietSecs < 0); // the clock was set back
    std::unique_lock<QMutex> lock(iMutex, std::defer_lock);
    if (!(isDue ? lock.try_lock_for(kBufferTimeout) : lock.try_lock()) || !iThread)
        return;
    if (NeverRan(*iThread))
        Swallow([this] { Launch(); }); // what the system refused before it may grant now
    if (isDue && !iBuffer.isEmpty())
        Swallow([this] { SendBufferToThread(); });
}

qint64 LoggerAgent::SecsSinceEpoch(const QDateTime& time)
{
    return time.toSecsSinceEpoch();
}
