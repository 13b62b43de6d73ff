#include "LogProgress.h"
#include "LoggerState.h"

#include <NeroltOrvaneBase/IErrorReporter.h>

using LoggerState::kInformationCode;
using LoggerState::kLockTimeout;
using LoggerState::Log;
using LoggerState::ReporterMutex;
using LoggerState::UnlockedCaller;

namespace {

constexpr unsigned int kDebugCode = 20;
constexpr unsigned int kTraceCode = 25;
constexpr unsigned int kWarningCode = 30;

// How often this thread holds the Logger's mutex in calls that may reach the error reporter.
thread_local int tReporting = 0;

class Reporting
{
public:
    Reporting() { ++tReporting; }
    ~Reporting() { --tReporting; }
    Q_DISABLE_COPY(Reporting)
};

} // namespace

// For what may call the error reporter, last of all. It may do with threads and with the log what needs the list of
// threads, whose lock comes before the Logger's.
template <typename Call>
void Logger::WithAgentReporting(const Call& call)
{
    if (!iAgent.load(std::memory_order_relaxed))
        return;
    Swallow([&] {
        const std::lock_guard<QRecursiveMutex> reporter(ReporterMutex());
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
        const std::unique_lock<QRecursiveMutex> lock(iMutex, kLockTimeout);
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
            Log(*agent, LoggerDefs::Information, kInformationCode, func, msg);
    });
}

[[gnu::hot]] void Logger::Debug(const char* func, const QString& msg)
{
    if (GetLevel() & LoggerDefs::Debug)
        WithAgentOrDrop([&](LoggerAgent& agent) { Log(agent, LoggerDefs::Debug, kDebugCode, func, msg); });
}

[[gnu::hot]] void Logger::Trace(const char* func, const QString& msg)
{
    if (GetLevel() & LoggerDefs::Trace)
        WithAgentOrDrop([&](LoggerAgent& agent) { Log(agent, LoggerDefs::Trace, kTraceCode, func, msg); });
}

[[gnu::hot]] void Logger::Warning(const char* func, const QString& msg)
{
    if (GetLevel() & LoggerDefs::Warning)
        WithAgentWaiting([&](LoggerAgent& agent) { Log(agent, LoggerDefs::Warning, kWarningCode, func, msg); });
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
        Log(agent, LoggerDefs::Exception, code, func, QStringLiteral("Unknown exception has been caught."));
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
