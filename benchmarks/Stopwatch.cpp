#include "Stopwatch.h"

#include <benchmark/benchmark.h>

#include <algorithm>

namespace {

class Collector : public benchmark::BenchmarkReporter
{
public:
    bool ReportContext(const Context&) override { return true; }
    void ReportRuns(const std::vector<Run>& runs) override
    {
        for (const Run& run : runs)
            iNanoseconds = run.GetAdjustedRealTime();
    }

    double iNanoseconds = -1;
};

} // namespace

double NanosecondsPerIteration(qint64 iterations, bool manual, const std::function<void(benchmark::State&)>& body)
{
    auto* const registered = benchmark::RegisterBenchmark("scenario", body);
    registered->Iterations(iterations)->Unit(benchmark::kNanosecond);
    if (manual)
        registered->UseManualTime();
    else
        registered->UseRealTime();
    Collector collector;
    benchmark::RunSpecifiedBenchmarks(&collector);
    benchmark::ClearRegisteredBenchmarks();
    return collector.iNanoseconds;
}

Results Latencies::Percentiles()
{
    std::sort(iSamples.begin(), iSamples.end());
    const auto at = [this](double part) { return double(iSamples[size_t(part * double(iSamples.size() - 1))]); };
    return {{QStringLiteral("p50"), at(0.50)},
            {QStringLiteral("p90"), at(0.90)},
            {QStringLiteral("p99"), at(0.99)},
            {QStringLiteral("p99.9"), at(0.999)}};
}

double ClockCost()
{
    constexpr int kReads = 1000000;
    const Clock::time_point begin = Clock::now();
    for (int i = 0; i < kReads; ++i)
        benchmark::DoNotOptimize(Clock::now());
    return Seconds(Clock::now() - begin) / kReads * 1e9;
}
