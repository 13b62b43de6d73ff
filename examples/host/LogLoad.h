#pragma once

#include <NeroltOrvaneBase/RegisteredThread.h>

#include <atomic>
#include <memory>
#include <vector>

/// Logs a sequence of numbered lines.
class LoadThread : public RegisteredThread
{
    Q_OBJECT

public:
    /// The lines from `first` up to, but not including, `end`.
    LoadThread(int number, int first, int end);

    /// How many it has logged so far. Updated now and then.
    int Logged() const { return iLogged.load(std::memory_order_relaxed); }

protected:
    void run() override;

private:
    const int iNumber;
    const int iFirst;
    const int iEnd;
    std::atomic<int> iLogged{0};
};

/// Threads that log as fast as they can, in rounds. No round fills more than one log file, so a host that waits for the
/// next second between rounds never has two rotations in one second.
class LogLoad
{
public:
    /// The name of the function in the lines.
    static constexpr const char* kFunction = "LoadThread::run";
    /// The beginning of a line's message, before its number.
    static QString MessageStart(int thread);

    LogLoad(int threads, int linesPerThread);
    ~LogLoad();
    Q_DISABLE_COPY(LogLoad)

    /// Starts the next round. Call it when the previous one is over.
    void StartRound();
    bool IsRoundOver() const;
    /// Whether no lines are left, or the load was interrupted.
    bool IsOver() const;
    /// Asks the threads to end.
    void Interrupt();

    /// The number of lines logged so far by one thread, and by all.
    int Logged(int thread) const;
    qint64 LoggedByAll() const;

private:
    const int iLinesPerThread;
    int iRoundEnd = 0;
    bool iIsInterrupted = false;
    std::vector<int> iLoggedBefore; // in earlier rounds
    std::vector<std::unique_ptr<LoadThread>> iThreads;
};
