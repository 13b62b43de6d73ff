#pragma once

#include "Check.h"
#include "Files.h"
#include "Memory.h"
#include "Scenario.h"

#include <benchmark/benchmark.h>

#include <future>
#include <memory>
#include <thread>

/// The measurements, written once for every target, so that no target pays for an indirection.
///
/// A target is a class with
/// - `Message`, the class of its messages;
/// - a constructor that opens the log at a path for lines of one level;
/// - `Write<level>(text)`, the call that is measured;
/// - `WriteIfOn(text)`, a debug message behind a test of the level;
/// - `HandOver()`, after which everything logged is on its way into the file;
/// - `Finish()`, which returns when everything is in the file.
template <typename Target, Line::Level level>
class Run
{
public:
    explicit Run(const Scenario& scenario)
        : iScenario(scenario)
        , iTarget(std::make_unique<Target>(Files::LogPath(scenario.iFolder), level))
    {
    }

    Results Measure()
    {
        if (iScenario.iKind == QLatin1String("burst"))
            return Bursts();
        if (iScenario.iKind == QLatin1String("sustained"))
            return Sustained();
        if (iScenario.iKind == QLatin1String("latency-burst"))
            return LatencyInBursts();
        if (iScenario.iKind == QLatin1String("latency-sustained"))
            return LatencySustained();
        if (iScenario.iKind == QLatin1String("throughput"))
            return Throughput();
        if (iScenario.iKind == QLatin1String("memory"))
            return MemoryOfABurst();
        throw Failure{QStringLiteral("no kind %1").arg(iScenario.iKind)};
    }

    /// Calls that the level stops.
    Results Stopped()
    {
        const typename Target::Message message(0);
        const double nanoseconds = NanosecondsPerIteration(kStoppedCalls, false, [&](benchmark::State& state) {
            for (auto step : state) {
                Q_UNUSED(step)
                iTarget->WriteIfOn(message.Text());
                benchmark::ClobberMemory();
            }
        });
        iTarget->Finish();
        Verify(0);
        return {{QStringLiteral("ns"), nanoseconds}};
    }

private:
    static constexpr int kBurst = 1000;
    static constexpr qint64 kStoppedCalls = 50000000;
    // What a target may keep back until more comes.
    static constexpr qint64 kKeptBack = 20000;

    using Message = typename Target::Message;

    // The average call in bursts, between which the file catches up.
    Results Bursts()
    {
        Message message(0);
        const int bursts = iScenario.iLines / kBurst;
        const double nanoseconds = NanosecondsPerIteration(bursts, true, [&](benchmark::State& state) {
            for (auto step : state) {
                Q_UNUSED(step)
                const Clock::time_point begin = Clock::now();
                LogLines(message, kBurst);
                state.SetIterationTime(Seconds(Clock::now() - begin));
                CatchUp(kBurst);
            }
        });
        iTarget->Finish();
        Verify(bursts * kBurst);
        return {{QStringLiteral("ns"), nanoseconds / kBurst}};
    }

    Results Sustained()
    {
        Message message(0);
        const double nanoseconds = NanosecondsPerIteration(iScenario.iLines, false, [&](benchmark::State& state) {
            for (auto step : state) {
                Q_UNUSED(step)
                iTarget->template Write<level>(message.Text());
                message.Next();
            }
        });
        iTarget->Finish();
        Verify(iScenario.iLines);
        return {{QStringLiteral("ns"), nanoseconds}};
    }

    Results LatencyInBursts()
    {
        Message message(0);
        const int bursts = iScenario.iLines / kBurst;
        Latencies latencies{size_t(iScenario.iLines)};
        for (int burst = 0; burst < bursts; ++burst) {
            TimeLines(message, kBurst, latencies);
            CatchUp(kBurst);
        }
        iTarget->Finish();
        Verify(bursts * kBurst);
        return latencies.Percentiles();
    }

    Results LatencySustained()
    {
        Message message(0);
        Latencies latencies{size_t(iScenario.iLines)};
        TimeLines(message, iScenario.iLines, latencies);
        iTarget->Finish();
        Verify(iScenario.iLines);
        return latencies.Percentiles();
    }

    Results Throughput()
    {
        double seconds = 0;
        LogFromThreads([&](Clock::time_point begin) {
            iTarget->Finish();
            seconds = Seconds(Clock::now() - begin);
        });
        Verify(iScenario.LinesPerThread());
        return {{QStringLiteral("lines/s"), iScenario.LinesPerThread() * iScenario.iThreads / seconds}};
    }

    Results MemoryOfABurst()
    {
        const qint64 before = Memory::Resident();
        qint64 after = 0;
        Memory::ForgetPeak();
        LogFromThreads([&](Clock::time_point) {
            iTarget->HandOver();
            iLogged = iScenario.LinesPerThread() * iScenario.iThreads;
            WaitForFile(0);
            after = Memory::ResidentWhenCalm();
        });
        const qint64 peak = Memory::Peak();
        iTarget->Finish();
        const qint64 stopped = Memory::Resident();
        Verify(iScenario.LinesPerThread());
        return {{QStringLiteral("before"), double(before)},
                {QStringLiteral("peak"), double(peak)},
                {QStringLiteral("after"), double(after)},
                {QStringLiteral("stopped"), double(stopped)}};
    }

    void LogLines(Message& message, int lines)
    {
        for (int line = 0; line < lines; ++line) {
            iTarget->template Write<level>(message.Text());
            message.Next();
        }
    }

    void TimeLines(Message& message, int lines, Latencies& latencies)
    {
        for (int line = 0; line < lines; ++line) {
            const Clock::time_point begin = Clock::now();
            iTarget->template Write<level>(message.Text());
            latencies.Add(Clock::now() - begin);
            message.Next();
        }
    }

    // All threads start at once; `afterwards` hears when that was.
    template <typename Afterwards>
    void LogFromThreads(const Afterwards& afterwards)
    {
        std::promise<void> start;
        const std::shared_future<void> started = start.get_future().share();
        std::vector<std::thread> threads;
        for (int thread = 0; thread < iScenario.iThreads; ++thread) {
            threads.emplace_back([this, started, thread] {
                Message message(thread);
                started.wait();
                LogLines(message, iScenario.LinesPerThread());
            });
        }
        const Clock::time_point begin = Clock::now();
        start.set_value();
        for (std::thread& thread : threads)
            thread.join();
        afterwards(begin);
    }

    void CatchUp(int lines)
    {
        iLogged += lines;
        WaitForFile(kKeptBack);
    }

    void WaitForFile(qint64 keptBack) const
    {
        if (!Files::WaitForSize(iScenario.iFolder, qint64(iLogged) * Line::Size(level) - keptBack))
            throw Failure{QStringLiteral("the lines do not arrive in the file")};
    }

    void Verify(int linesPerThread) const
    {
        const QString wrong = Check::Lines(iScenario.iFolder, level, iScenario.iThreads, linesPerThread);
        if (!wrong.isEmpty())
            throw Failure{wrong};
    }

    const Scenario& iScenario;
    std::unique_ptr<Target> iTarget;
    int iLogged = 0;
};

template <typename Target>
Results RunOn(const Scenario& scenario)
{
    if (scenario.iKind == QLatin1String("stopped"))
        return Run<Target, Line::Level::Information>(scenario).Stopped();
    switch (scenario.iLevel) {
    case Line::Level::Debug:
        return Run<Target, Line::Level::Debug>(scenario).Measure();
    case Line::Level::Warning:
        return Run<Target, Line::Level::Warning>(scenario).Measure();
    case Line::Level::Information:
        break;
    }
    return Run<Target, Line::Level::Information>(scenario).Measure();
}
