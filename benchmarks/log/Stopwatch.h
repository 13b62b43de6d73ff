#pragma once

#include "Scenario.h"

#include <algorithm>
#include <chrono>
#include <functional>
#include <limits>
#include <vector>

namespace benchmark {
class State;
}

using Clock = std::chrono::steady_clock;

inline double Seconds(Clock::duration duration)
{
    return std::chrono::duration<double>(duration).count();
}

/// Runs the body that many times under Google Benchmark; nanoseconds for each time.
double NanosecondsPerIteration(qint64 iterations, const std::function<void(benchmark::State&)>& body);

/// The processor time that this process has taken, in seconds.
double ProcessorSeconds();

/// The times of single calls. The memory is taken beforehand, all of it, so that it does not count as a logger's.
class Latencies
{
public:
    explicit Latencies(size_t most)
        : iSamples(most, 1)
    {
        iSamples.clear();
    }

    void Add(Clock::duration duration)
    {
        constexpr qint64 most = std::numeric_limits<quint32>::max(); // four seconds
        iSamples.push_back(quint32(std::min<qint64>(std::chrono::nanoseconds(duration).count(), most)));
    }
    void Add(const Latencies& others);
    double Mean() const;
    /// "p50", "p99", "p99.9" and "worst" in nanoseconds.
    Results Percentiles();

private:
    std::vector<quint32> iSamples;
};
