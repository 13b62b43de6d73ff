#include "CrashFile.h"
#include "LoggerState.h"

#include <QtCore/QThread>

using LoggerState::CreationMutex;
using LoggerState::gStarted;
using LoggerState::gUnlockedCallers;
using LoggerState::kLockTimeout;
using LoggerState::ReporterMutex;

namespace {

// Whether this thread holds the log's locks for a fork.
thread_local bool tHoldsLocks = false;
thread_local bool tHoldsCreation = false;

} // namespace

// Until the log starts, a forked process gets a log like any other. The forking thread holds the locks during the fork:
// those of other threads would never be released in the child.
void Logger::BeforeFork()
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
    std::unique_lock<QRecursiveMutex> reporter(ReporterMutex(), std::defer_lock);
    std::unique_lock<QRecursiveMutex> lock;
    std::unique_lock<QRecursiveMutex> agentLock;
    if (!reporter.try_lock_for(kLockTimeout)
        || !(lock = std::unique_lock<QRecursiveMutex>(logger->iMutex, kLockTimeout)) || gStarted
        || logger->iAgent.load() != agent
        || !(agentLock = std::unique_lock<QRecursiveMutex>(agent->iMutex, kLockTimeout)))
        return;
    for (std::unique_lock<QRecursiveMutex>* const held : {&reporter, &lock, &agentLock})
        held->release();
    tHoldsLocks = true;
}

void Logger::AfterFork()
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

// A process forked later has no logging thread: there the log is over, as after a stop, and nobody asks for a lock. Not
// even the agent's timer, if its thread is the one that goes on here.
void Logger::BeginInChild()
{
    AfterFork();
    CrashFile::ForgetInChild();
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
