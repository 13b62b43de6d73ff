#include "CrashFile.h"
#include "LogLine.h"
#include "LoggingThread.h"
#include "Now_posix.h"
#include "Swallow.h"

#include <NeroltOrvaneBase/IErrorReporter.h>
#include <NeroltOrvaneBase/Logger.h>
#include <NeroltOrvaneBase/LoggerAgent.h>

#include <QtCore/QDateTime>
#include <QtCore/QDeadlineTimer>
#include <QtCore/QScopeGuard>

#include <chrono>
#include <cstring>
#include <memory>
#include <mutex>
#include <utility>

namespace {

constexpr std::chrono::milliseconds kBufferTimeout(1000);
constexpr int kBufferBytes = kBatchBytes + 1024;
constexpr int kMostKept = 16 * kBufferBytes; // of a buffer that a long line has made grow
constexpr quint64 kMostOfRest = 100; // of a line, besides its texts
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

// A negative number with all digits of 64 bits.
QString Hex(int number)
{
    return QString::number(quint64(qint64(number)), 16);
}

// At most, in UTF-8.
quint64 BytesOf(const char* func, const QString& msg)
{
    return 3 * (quint64(msg.size()) + (func ? std::strlen(func) : 0)) + kMostOfRest;
}

} // namespace

LoggerAgent::LoggerAgent(int level, QObject* parent)
    : QObject(parent)
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
    if (Q_UNLIKELY((level & Logger::iFlushLevels.load(std::memory_order_relaxed)) != 0 && iHasLoggersLevel))
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
        return Joined(code, Hex(iSecondInt));
    case LoggerDefs::BothIntsHexDec:
        return Joined(code, Hex(iSecondInt), QString::number(iFirstInt));
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
    std::unique_lock<QRecursiveMutex> lock(iMutex, kBufferTimeout);
    const bool isProtected = iHasLoggersLevel && CrashFile::Current();
    if (Q_UNLIKELY(isProtected))
        CrashFile::AwaitRoom(lock, BytesOf(func, msg));
    if (Q_UNLIKELY(!lock)) {
        if (iHasLoggersLevel)
            LogProgress::Lose();
        return;
    }
    if (iBuffer.capacity() == 0)
        iBuffer.reserve(kBufferBytes);
    const auto before = iBuffer.size();
    const qint64 now = MSecsSinceEpoch();
    LogLine::Append(iBuffer, now, code, levelWord, func, msg);
    if (Q_UNLIKELY(isProtected))
        CrashFile::Put(iBuffer.constData() + before, int(iBuffer.size() - before));
    iLastLineSecs = now / 1000;
    iHasLines = true;
    if (iBuffer.size() > kBatchBytes || iResettingLevel)
        SendBufferToThread();
}

[[gnu::hot]] void LoggerAgent::SendBufferToThread()
{
    const std::lock_guard<QRecursiveMutex> lock(iMutex);
    QByteArray batch;
    batch.swap(iBuffer);
    iHasLines = false;
    Q_EMIT logMessage(batch);
    if (Q_UNLIKELY(!iThread && iHasLoggersLevel)) { // it is lost
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
    const std::unique_lock<QRecursiveMutex> lock(iMutex, kBufferTimeout);
    if (lock && iThread && !iBuffer.isEmpty())
        SendBufferToThread();
}

// Null when there is nothing to wait for.
std::shared_ptr<LogProgress> LoggerAgent::HandOver(const QDeadlineTimer& deadline, quint64& batches)
{
    const std::unique_lock<QRecursiveMutex> lock(iMutex, std::chrono::milliseconds(deadline.remainingTime()));
    if (!lock || !iThread)
        return nullptr;
    if (!iBuffer.isEmpty())
        SendBufferToThread();
    const BatchQueue& queue = static_cast<LoggingThread&>(*iThread).Queue();
    batches = queue.Count();
    return queue.Progress();
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
    const std::lock_guard<QRecursiveMutex> lock(iMutex);
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

qint64 LoggerAgent::SecsSinceEpoch(const QDateTime& time)
{
    return time.toSecsSinceEpoch();
}
