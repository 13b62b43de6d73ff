#pragma once

#include "Swallow.h"

#include <NeroltOrvaneBase/Logger.h>
#include <NeroltOrvaneBase/LoggerAgent.h>

#include <atomic>
#include <chrono>
#include <mutex>

/// What the parts of the Logger share.
namespace LoggerState {

constexpr std::chrono::milliseconds kLockTimeout(1000);
constexpr unsigned int kInformationCode = 10;

/// Whether there has ever been a file. Changes with the Logger's mutex held.
extern std::atomic<bool> gStarted;

/// Threads that are inside the agent without the Logger's mutex.
///
/// A caller counts itself and then reads the agent's address; whoever ends the log takes the address away and then
/// reads the count. All four operations are sequentially consistent: so either the caller sees that there is no agent,
/// or it is seen, and the agent is not deleted before it leaves.
extern std::atomic<int> gUnlockedCallers;

class UnlockedCaller
{
public:
    UnlockedCaller() { gUnlockedCallers.fetch_add(1); }
    ~UnlockedCaller() { gUnlockedCallers.fetch_sub(1); }
    Q_DISABLE_COPY(UnlockedCaller)
};

/// Held while the error reporter works, and by whoever takes it away: it comes before all other locks.
QRecursiveMutex& ReporterMutex();
/// Held while the instance is made.
QMutex& CreationMutex();

/// One line without extras, if the agent's mask lets its level through.
inline void Log(LoggerAgent& agent, LoggerDefs::LogValues level, unsigned int code, const char* func,
                const QString& msg)
{
    agent.Log(level, LoggerDefs::NoExtraInfo, code, func, msg);
}

} // namespace LoggerState

template <typename Call>
void Logger::WithAgentWaiting(const Call& call)
{
    if (!iAgent.load(std::memory_order_relaxed))
        return;
    Swallow([&] {
        const std::lock_guard<QRecursiveMutex> lock(iMutex);
        if (LoggerAgent* const agent = iAgent.load(std::memory_order_relaxed))
            call(*agent);
    });
}
