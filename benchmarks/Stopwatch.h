#pragma once

#include <QtCore/QMap>
#include <QtCore/QString>

#include <chrono>
#include <functional>
#include <vector>

namespace benchmark {
class State;
}

/// The results of a scenario by their names.
using Results = QMap<QString, double>;

using Clock = std::chrono::steady_clock;

inline double Seconds(Clock::duration duration)
{
    return std::chrono::duration<double>(duration).count();
}

/// Runs the body that many times under Google Benchmark; nanoseconds for each time. With `manual` the body tells the
/// time of each iteration itself.
double NanosecondsPerIteration(qint64 iterations, bool manual, const std::function<void(benchmark::State&)>& body);

/// Percentiles of single calls.
class Latencies
{
public:
    explicit Latencies(size_t count) { iSamples.reserve(count); }

    void Add(Clock::duration duration) { iSamples.push_back(quint32(std::chrono::nanoseconds(duration).count())); }
    Results Percentiles();

private:
    std::vector<quint32> iSamples;
};

/// What reading the clock adds to a single call's time, in nanoseconds.
double ClockCost();
