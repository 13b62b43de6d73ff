#include "Stopwatch.h"

#include <benchmark/benchmark.h>

#include <algorithm>
#include <numeric>
#include <sys/resource.h>

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

double SecondsOf(const timeval& time)
{
    return double(time.tv_sec) + double(time.tv_usec) * 1e-6;
}

} // namespace

double NanosecondsPerIteration(qint64 iterations, const std::function<void(benchmark::State&)>& body)
{
    benchmark::RegisterBenchmark("scenario", body)->Iterations(iterations)->Unit(benchmark::kNanosecond)->UseRealTime();
    Collector collector;
    benchmark::RunSpecifiedBenchmarks(&collector);
    benchmark::ClearRegisteredBenchmarks();
    return collector.iNanoseconds;
}

double ProcessorSeconds()
{
    rusage usage = {};
    ::getrusage(RUSAGE_SELF, &usage);
    return SecondsOf(usage.ru_utime) + SecondsOf(usage.ru_stime);
}

void Latencies::Add(const Latencies& others)
{
    iSamples.insert(iSamples.end(), others.iSamples.begin(), others.iSamples.end());
}

double Latencies::Mean() const
{
    return std::accumulate(iSamples.begin(), iSamples.end(), 0.0) / double(std::max<size_t>(1, iSamples.size()));
}

Results Latencies::Percentiles()
{
    if (iSamples.empty())
        throw Failure{QStringLiteral("no call was timed")};
    std::sort(iSamples.begin(), iSamples.end());
    const auto at = [this](double part) { return double(iSamples[size_t(part * double(iSamples.size() - 1))]); };
    return {{QStringLiteral("p50"), at(0.50)},
            {QStringLiteral("p99"), at(0.99)},
            {QStringLiteral("p99.9"), at(0.999)},
            {QStringLiteral("worst"), at(1)}};
}
