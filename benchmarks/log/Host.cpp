#include "Host.h"

#include <QtCore/QEventLoop>
#include <QtCore/QScopeGuard>
#include <QtCore/QTimer>

#include <atomic>
#include <future>
#include <memory>
#include <random>
#include <thread>

namespace {

using Block = std::unique_ptr<char[]>;

constexpr std::chrono::milliseconds kPeriod{1};
constexpr size_t kMostPeriods = 30000;
constexpr size_t kBlocksOfAPeriod = 50;
constexpr int kPeriodsToWarmUp = 2000;

// Makes blocks of 16 to 511 bytes.
class BlockMaker
{
public:
    size_t NextSize() { return kLeast + iRandom() % kSizes; }
    static Block Make(size_t size) { return Block(new char[size]); }

private:
    static constexpr size_t kLeast = 16;
    static constexpr size_t kSizes = 496;

    std::minstd_rand iRandom;
};

std::vector<Block> FragmentedHeap(qint64 bytes)
{
    std::vector<Block> blocks;
    BlockMaker maker;
    for (qint64 left = bytes; left > 0;) {
        const size_t size = maker.NextSize();
        blocks.push_back(BlockMaker::Make(size));
        left -= qint64(size);
    }
    for (size_t i = 0; i < blocks.size(); i += 2)
        blocks[i].reset();
    return blocks;
}

// Allocates and frees, and times each allocation.
class Allocator
{
public:
    explicit Allocator(size_t most)
        : iBlocks(kBlocksOfAPeriod)
        , iTimes(most)
    {
    }

    void Work()
    {
        for (Block& block : iBlocks) {
            const size_t size = iMaker.NextSize();
            const Clock::time_point begin = Clock::now();
            Block made = BlockMaker::Make(size);
            iTimes.Add(Clock::now() - begin);
            block = std::move(made);
        }
    }

    const Latencies& Times() const { return iTimes; }

private:
    BlockMaker iMaker;
    std::vector<Block> iBlocks;
    Latencies iTimes;
};

// After many blocks were freed, the first allocations sort them and take long.
Allocator WarmAllocator()
{
    Allocator warming(kPeriodsToWarmUp * kBlocksOfAPeriod);
    for (int period = 0; period < kPeriodsToWarmUp; ++period)
        warming.Work();
    return Allocator(kMostPeriods * kBlocksOfAPeriod);
}

// How long past its period the timer fires, until `loop` ends. Its handler allocates, as handlers do.
Latencies RunTimer(QEventLoop& loop, Allocator& allocator)
{
    Latencies lateness(kMostPeriods);
    QTimer timer;
    timer.setTimerType(Qt::PreciseTimer);
    Clock::time_point due = Clock::now() + kPeriod;
    QObject::connect(&timer, &QTimer::timeout, &loop, [&] {
        const Clock::time_point now = Clock::now();
        lateness.Add(std::max(now - due, Clock::duration::zero()));
        due = now + kPeriod;
        allocator.Work();
    });
    timer.start(kPeriod);
    loop.exec();
    return lateness;
}

void AddTail(Results& results, const QString& what, Latencies times)
{
    const Results all = times.Percentiles();
    for (const QString& name : {QStringLiteral("p99.9"), QStringLiteral("worst")})
        results[what + QLatin1Char(' ') + name] = all[name];
}

} // namespace

Results Host::Run(qint64 heapBytes, const std::function<void()>& work)
{
    const std::vector<Block> heap = FragmentedHeap(heapBytes / 2);
    Allocator allocator = WarmAllocator();
    std::promise<void> ready;
    std::atomic<bool> ends{false};
    std::future<Latencies> second = std::async(std::launch::async, [&] {
        const std::vector<Block> ownHeap = FragmentedHeap(heapBytes / 2);
        Allocator ownAllocator = WarmAllocator();
        ready.set_value();
        while (!ends) {
            ownAllocator.Work();
            std::this_thread::sleep_for(kPeriod);
        }
        return ownAllocator.Times();
    });
    ready.get_future().wait();
    QEventLoop loop;
    std::future<void> third = std::async(std::launch::async, [&] {
        const auto end
            = qScopeGuard([&] { QMetaObject::invokeMethod(&loop, &QEventLoop::quit, Qt::QueuedConnection); });
        work();
    });
    const Latencies lateness = RunTimer(loop, allocator);
    ends = true;
    Latencies allocations = second.get();
    third.get();
    allocations.Add(allocator.Times());
    Results results;
    AddTail(results, QStringLiteral("timer"), lateness);
    AddTail(results, QStringLiteral("allocation"), allocations);
    return results;
}
