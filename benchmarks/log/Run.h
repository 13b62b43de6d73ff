#pragma once

#include "Check.h"
#include "Death.h"
#include "Host.h"
#include "Memory.h"
#include "Stopwatch.h"

#include <QtCore/QByteArrayList>

#include <benchmark/benchmark.h>

#include <deque>
#include <future>
#include <memory>
#include <random>
#include <thread>

/// The measurements, written once for every target, so that no target pays for an indirection.
///
/// A target is a class with
/// - `Message`, the class of its messages;
/// - `kHead`, what it writes before them, and `Others()`, how lines begin that it writes of itself;
/// - a constructor from a scenario, which opens the log at its LogPath;
/// - `Write(text)`, the call that is measured, from any thread;
/// - `WriteIfOn(text)`, a debug message behind a test of the level;
/// - `Finish()`, which returns when everything is in the file.
template <typename Target>
class Run
{
public:
    explicit Run(const Scenario& scenario)
        : iScenario(scenario)
    {
        MakeCallers();
        iBefore = Memory::Resident();
        Memory::ForgetPeak();
        iTarget = std::make_unique<Target>(scenario);
    }

    Results Measure()
    {
        if (iScenario.iKind == QLatin1String("flat"))
            return Flat();
        if (iScenario.iKind == QLatin1String("bursty"))
            return Bursty();
        if (iScenario.iKind == QLatin1String("stopped"))
            return Stopped();
        if (iScenario.iKind == QLatin1String("host"))
            return InHost();
        if (iScenario.iKind == QLatin1String("killed"))
            return Killed();
        throw Failure{QStringLiteral("no kind %1").arg(iScenario.iKind)};
    }

private:
    using Message = typename Target::Message;

    // About a call in 13 is timed, so that the clock adds little to the others. The distance varies, or it could keep
    // step with the batches and miss, or find, each call that hands one over.
    static constexpr int kLeastGap = 8;
    static constexpr unsigned int kGaps = 11;
    static constexpr int kBurst = 20;
    // Not timed, because a process does some of this only once.
    static constexpr int kLinesToWarmUp = 20 * kBurst;
    static constexpr std::chrono::milliseconds kRest{2};
    static constexpr qint64 kStoppedCalls = 20000000;
    // In a host a part of the lines comes steadily, and the others in bursts.
    static constexpr int kPartsInHost = 8;
    static constexpr int kLinesOfAMillisecond = 8; // of 131 bytes, with messages of 80 characters: 1 MB/s
    static constexpr int kBurstsInHost = 4;
    static constexpr std::chrono::milliseconds kRestInHost{250}; // long enough for a log to tidy up

    // What a thread does and finds.
    struct Caller
    {
        Caller(const Line::Shape& shape, int thread, int samples)
            : iMessage(shape, thread)
            , iLatencies(size_t(samples))
        {
        }

        Message iMessage;
        Latencies iLatencies;
        double iSeconds = 0; ///< in the loop that logs
    };

    // Without a pause.
    Results Flat()
    {
        Results results = LogFromThreads([this](Caller& caller) { LogLines(caller); });
        double seconds = 0;
        for (const Caller& caller : iCallers)
            seconds += caller.iSeconds;
        results[QStringLiteral("mean")] = seconds / Total() * 1e9;
        return WithPercentiles(results);
    }

    // A few lines, a rest, and again.
    Results Bursty()
    {
        Results results = LogFromThreads([this](Caller& caller) { LogBursts(caller); });
        // These figures would mostly show the rests.
        for (const char* const name : {"lines/s", "peak", "kept"})
            results.remove(QLatin1String(name));
        double sum = 0;
        for (const Caller& caller : iCallers)
            sum += caller.iLatencies.Mean();
        results[QStringLiteral("mean")] = sum / iScenario.iThreads;
        return WithPercentiles(results);
    }

    // Calls that the level stops.
    Results Stopped()
    {
        const Message message(iScenario.iShape, 0);
        const double nanoseconds = NanosecondsPerIteration(kStoppedCalls, [&](benchmark::State& state) {
            for (auto step : state) {
                Q_UNUSED(step)
                iTarget->WriteIfOn(message.Text());
                benchmark::ClobberMemory();
            }
        });
        iTarget->Finish();
        Verify(0);
        return {{QStringLiteral("mean"), nanoseconds}};
    }

    // How much the log slows down the rest of the program.
    Results InHost()
    {
        double seconds = 0;
        Results results = Host::Run(qint64(iScenario.iHeapMiB) << 20, [&] {
            LogInHost(iCallers.front());
            const Clock::time_point begin = Clock::now();
            iTarget->Finish();
            seconds = Seconds(Clock::now() - begin);
        });
        results[QStringLiteral("stop")] = seconds * 1e9;
        Verify(iScenario.iLines);
        return results;
    }

    // Or the process after that one, which recovers what it left.
    Results Killed()
    {
        if (iScenario.iDeath == QLatin1String("recover")) {
            iTarget->Finish();
            return {};
        }
        std::atomic<int>& returned = Death::Returned(iScenario.iFolder);
        Message& message = iCallers.front().iMessage;
        for (int line = 0; line < iScenario.iLines; ++line) {
            iTarget->Write(message.Text());
            message.Next();
            returned.store(line + 1, std::memory_order_release);
            if (iScenario.iPauseUsecs > 0)
                std::this_thread::sleep_for(std::chrono::microseconds(iScenario.iPauseUsecs));
        }
        Death::Die(iScenario.iDeath);
    }

    void LogLines(Caller& caller)
    {
        std::minstd_rand random;
        int timed = 0;
        for (int line = 0; line < iScenario.iLines; ++line) {
            if (line == timed) {
                TimeLine(caller);
                timed += kLeastGap + int(random() % kGaps);
            } else {
                iTarget->Write(caller.iMessage.Text());
            }
            caller.iMessage.Next();
        }
    }

    void LogBursts(Caller& caller)
    {
        for (int line = 0; line < iScenario.iLines; ++line) {
            if (line % kBurst == 0)
                std::this_thread::sleep_for(kRest);
            if (line < kLinesToWarmUp)
                iTarget->Write(caller.iMessage.Text());
            else
                TimeLine(caller);
            caller.iMessage.Next();
        }
    }

    void LogInHost(Caller& caller)
    {
        const int steady = iScenario.iLines / kPartsInHost;
        const int burst = (iScenario.iLines - steady) / kBurstsInHost + 1;
        Clock::time_point next = Clock::now();
        for (int line = 0; line < iScenario.iLines; ++line) {
            if (line < steady && line % kLinesOfAMillisecond == 0)
                std::this_thread::sleep_until(next += std::chrono::milliseconds(1));
            else if (line >= steady && (line - steady) % burst == 0)
                std::this_thread::sleep_for(kRestInHost);
            iTarget->Write(caller.iMessage.Text());
            caller.iMessage.Next();
        }
        std::this_thread::sleep_for(kRestInHost);
    }

    void TimeLine(Caller& caller)
    {
        const Clock::time_point begin = Clock::now();
        iTarget->Write(caller.iMessage.Text());
        caller.iLatencies.Add(Clock::now() - begin);
    }

    void MakeCallers()
    {
        const bool isAlwaysTimed = iScenario.iKind == QLatin1String("bursty");
        const int samples = isAlwaysTimed ? iScenario.iLines : iScenario.iLines / kLeastGap + 1;
        for (int thread = 0; thread < iScenario.iThreads; ++thread)
            iCallers.emplace_back(iScenario.iShape, thread, samples);
    }

    // All threads start at once, and the time is over when everything is in the file.
    template <typename Work>
    Results LogFromThreads(const Work& work)
    {
        std::promise<void> start;
        const std::shared_future<void> started = start.get_future().share();
        std::vector<std::thread> threads;
        for (Caller& caller : iCallers) {
            threads.emplace_back([&work, &caller, started] {
                started.wait();
                const Clock::time_point begin = Clock::now();
                work(caller);
                caller.iSeconds = Seconds(Clock::now() - begin);
            });
        }
        const double processorSeconds = ProcessorSeconds();
        const Clock::time_point begin = Clock::now();
        start.set_value();
        for (std::thread& thread : threads)
            thread.join();
        iTarget->Finish();
        const double seconds = Seconds(Clock::now() - begin);
        const double taken = ProcessorSeconds() - processorSeconds;
        const Results results{{QStringLiteral("lines/s"), Total() / seconds},
                              {QStringLiteral("processor"), taken / Total() * 1e9},
                              {QStringLiteral("peak"), double(Memory::Peak() - iBefore)},
                              {QStringLiteral("kept"), double(Memory::Resident() - iBefore)}};
        Verify(iScenario.iLines); // last, for it takes time and memory of its own
        return results;
    }

    Results WithPercentiles(Results results)
    {
        Latencies all(0);
        for (const Caller& caller : iCallers)
            all.Add(caller.iLatencies);
        const Results percentiles = all.Percentiles();
        for (auto it = percentiles.begin(); it != percentiles.end(); ++it)
            results[it.key()] = it.value();
        return results;
    }

    void Verify(int lines) const
    {
        Scenario written = iScenario;
        written.iLines = lines;
        const QString wrong = Check::Lines(written, Target::kHead, Target::Others());
        if (!wrong.isEmpty())
            throw Failure{wrong};
    }

    int Total() const { return iScenario.iLines * iScenario.iThreads; }

    const Scenario& iScenario;
    std::deque<Caller> iCallers;
    qint64 iBefore = 0; ///< memory without the log
    std::unique_ptr<Target> iTarget;
};
