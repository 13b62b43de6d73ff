#pragma once

#include <NeroltOrvaneBase/RegisteredThread.h>

#include <atomic>
#include <memory>
#include <vector>

/// Logs a run of numbered lines.
class LoadThread : public RegisteredThread
{
    Q_OBJECT

public:
    /// The lines from `first` up to, but not including, `end`.
    LoadThread(int number, int first, int end);

    /// How many it has logged so far; now and then brought up to date.
    int Logged() const { return iLogged.load(std::memory_order_relaxed); }

protected:
    void run() override;

private:
    const int iNumber;
    const int iFirst;
    const int iEnd;
    std::atomic<int> iLogged{0};
};

/// Threads that log as fast as they can, in rounds. No round fills more than one log file, so that whoever waits for a
/// new second between rounds never has two rotations in one second.
class LogLoad
{
public:
    /// The function that the lines name.
    static constexpr const char* kFunction = "LoadThread::run";
    /// What the message of a line begins with; the line's number follows.
    static QString MessageStart(int thread);

    LogLoad(int threads, int linesPerThread);
    ~LogLoad();
    Q_DISABLE_COPY(LogLoad)

    /// Starts the next round. Call it when the one before is over.
    void StartRound();
    bool IsRoundOver() const;
    /// No lines are left, or the load was interrupted.
    bool IsOver() const;
    /// Asks the threads to end.
    void Interrupt();

    /// What was logged so far by one thread, and by all.
    int Logged(int thread) const;
    qint64 LoggedByAll() const;

private:
    const int iLinesPerThread;
    int iRoundEnd = 0;
    bool iIsInterrupted = false;
    std::vector<int> iLoggedBefore; // in earlier rounds
    std::vector<std::unique_ptr<LoadThread>> iThreads;
};
