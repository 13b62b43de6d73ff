#include "BatchPool.h"

#include "FreeMemory.h"

#include <QtCore/QByteArray>

#include <array>
#include <atomic>
#include <utility>

namespace {

constexpr int kCapacity = 5000 + 1024;
constexpr int kLargestKept = 2 * kCapacity;
constexpr unsigned int kSlots = 32;
constexpr int kInCirculation = 4; // when the writer keeps up
constexpr int kAnticipated = 20;
constexpr qint64 kBurstBytes = 4 << 20;

// A ring of buffers, given back at one end and taken at the other, so that the one taken is the least likely to be
// shared still.
struct Pool
{
    std::atomic_flag busy = ATOMIC_FLAG_INIT;
    std::array<QByteArray, kSlots> ring;
    unsigned int taken = 0;
    unsigned int given = 0;
    std::atomic<qint64> bytesSinceReturn{0};
};

// Never destroyed: threads may log until the very end of the process.
Pool& ThePool()
{
    static Pool* const pool = new Pool;
    return *pool;
}

// Somebody who finds the pool in use goes without it.
class Access
{
public:
    explicit Access(Pool& pool)
        : iPool(pool)
        , iGranted(!pool.busy.test_and_set(std::memory_order_acquire))
    {
    }
    ~Access()
    {
        if (iGranted)
            iPool.busy.clear(std::memory_order_release);
    }
    Q_DISABLE_COPY(Access)

    explicit operator bool() const { return iGranted; }

private:
    Pool& iPool;
    const bool iGranted;
};

QByteArray TakeUsed(Pool& pool)
{
    const Access access(pool);
    if (!access || pool.taken == pool.given)
        return QByteArray();
    QByteArray& oldest = pool.ring[pool.taken % kSlots];
    if (!oldest.isDetached())
        return QByteArray();
    // What the last other owner did with the buffer comes before what we do with it.
    std::atomic_thread_fence(std::memory_order_acquire);
    ++pool.taken;
    return std::exchange(oldest, QByteArray());
}

// The buffers kept are among the last that were allocated, and so above the rest. Allocators return what is on top when
// it is freed, and not before.
void Clear()
{
    Pool& pool = ThePool();
    const Access access(pool);
    if (!access)
        return;
    for (QByteArray& buffer : pool.ring)
        buffer = QByteArray();
    pool.taken = pool.given;
}

// A thread that keeps needing new buffers will need more: the writer is behind. Below what allocators take from the
// system apart.
void AnticipateMore()
{
    thread_local int buffersAtHand = kInCirculation;
    if (buffersAtHand-- > 0)
        return;
    buffersAtHand = kAnticipated - 1;
    FreeMemory::Anticipate(std::size_t(kAnticipated) * (kCapacity + 64));
}

// The logging thread has read a used buffer on another processor, and a new one has no memory yet. All of it is fetched
// at once here, which takes hardly longer than a part of it: else each line would wait for its own, with the log
// locked.
void FetchMemory(QByteArray& buffer)
{
    constexpr int kCacheLine = 64;
    volatile char* const memory = buffer.data();
    for (int i = 0; i < kCapacity; i += kCacheLine)
        memory[i] = 0;
}

} // namespace

[[gnu::hot]] QByteArray BatchPool::Take()
{
    QByteArray buffer = TakeUsed(ThePool());
    if (buffer.capacity() < kCapacity) {
        AnticipateMore();
        buffer.reserve(kCapacity);
    }
    buffer.resize(0);
    FetchMemory(buffer);
    return buffer;
}

void BatchPool::GiveBack(const QByteArray& batch)
{
    Pool& pool = ThePool();
    pool.bytesSinceReturn.fetch_add(batch.size(), std::memory_order_relaxed);
    if (batch.capacity() < kCapacity || batch.capacity() > kLargestKept)
        return;
    const Access access(pool);
    if (access && pool.given - pool.taken < kSlots)
        pool.ring[pool.given++ % kSlots] = batch;
}

void BatchPool::Idle()
{
    std::atomic<qint64>& bytes = ThePool().bytesSinceReturn;
    if (bytes.load(std::memory_order_relaxed) < kBurstBytes)
        return;
    bytes.store(0, std::memory_order_relaxed);
    FreeMemory::ReturnToSystem();
    Clear();
}
