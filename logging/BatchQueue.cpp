#include "BatchQueue.h"

#include "WriterDispatcher.h"

#include <QtCore/QByteArray>

#include <algorithm>
#include <cstring>
#include <memory>
#include <mutex>
#include <new>
#include <sys/mman.h>
#include <utility>

namespace {

constexpr qint64 kChunkBytes = 256 << 10;
constexpr qint64 kTogether = 64 << 10; // more does not make a write any cheaper
constexpr int kMostSpares = 32; // while batches come without a pause

} // namespace

// The bytes of the batches follow it, and what is known of them stands at the end of the chunk, the first one last.
struct BatchQueue::Chunk
{
    Chunk* iNext = nullptr;
    const qint64 iMapped; ///< bytes, with this
    qint64 iUsed = 0; ///< bytes of batches
    qint64 iTakenBytes = 0;
    int iPut = 0;
    int iTaken = 0;

    static qint64 Need(qint64 size) { return qint64(sizeof(Chunk)) + size + qint64(sizeof(LogBatches::Batch)); }

    // What stands at the end must be aligned.
    static qint64 Padding(qint64 size) { return -size & qint64(alignof(LogBatches::Batch) - 1); }

    char* Bytes() { return reinterpret_cast<char*>(this + 1); }
    LogBatches::Batch* Batches()
    {
        return reinterpret_cast<LogBatches::Batch*>(reinterpret_cast<char*>(this) + iMapped) - 1;
    }

    bool HasRoom(qint64 size) const { return Need(iUsed + size) + iPut * qint64(sizeof(LogBatches::Batch)) <= iMapped; }
    bool IsEmpty() const { return iTaken == iPut; }

    void Put(const QByteArray& batch, const CrashFile::Mark& mark)
    {
        std::memcpy(Bytes() + iUsed, batch.constData(), size_t(batch.size()));
        new (Batches() - iPut) LogBatches::Batch{int(batch.size()), mark};
        iUsed += batch.size();
        ++iPut;
    }

    void Take()
    {
        iTakenBytes += Batches()[-iTaken].iSize;
        ++iTaken;
    }

    void Reset()
    {
        iUsed = iTakenBytes = 0;
        iPut = iTaken = 0;
    }
};

BatchQueue::BatchQueue(QObject& reader, WriterDispatcher& events, qint64 capacity)
    : iCapacity(capacity)
    , iReader(&reader)
    , iEvents(events)
{
}

BatchQueue::~BatchQueue()
{
    Unmap(iFirst);
    Unmap(iSpare);
}

void BatchQueue::Put(const QByteArray& batch, const CrashFile::Mark& mark, bool atOnce) noexcept
{
    const std::lock_guard<QMutex> lock(iMutex);
    if (!iReader)
        return;
    if (!Append(batch, mark)) {
        iDropped += batch.count('\n');
        LogProgress::Lose();
    }
    try {
        Tell(atOnce || !iReaderLooks);
        iReaderLooks = true;
    } catch (...) {
        // No memory for it: the next one tries again.
    }
}

void BatchQueue::Tell(bool atOnce)
{
    std::shared_ptr<quint64> until = iUntil.lock();
    if (!until || iEvents.Posts() != iPosts) {
        iUntil.reset();
        auto arrival = std::make_unique<Arrival>();
        until = arrival->iUntil;
        iPosts = iEvents.Posts() + 1;
        WriterDispatcher::PostQuietly(*iReader, arrival.release());
        iUntil = until;
    }
    *until = iPut;
    if (atOnce) {
        iEvents.wakeUp();
        ++iPosts; // which looks like one more
    }
}

bool BatchQueue::Append(const QByteArray& batch, const CrashFile::Mark& mark)
{
    if (iDropped > 0 || !((iLast && iLast->HasRoom(batch.size())) || AddChunk(batch.size())))
        return false;
    iLast->Put(batch, mark);
    iLastMark = mark;
    ++iPut;
    return true;
}

bool BatchQueue::AddChunk(qint64 size)
{
    const qint64 bytes = std::max(kChunkBytes, Chunk::Need(size) + Chunk::Padding(size));
    if (iInUse + bytes > iCapacity)
        return false;
    Chunk* chunk = nullptr;
    if (bytes == kChunkBytes && iSpare) {
        chunk = TakeSpare();
    } else {
        void* const memory = ::mmap(nullptr, size_t(bytes), PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
        if (memory == MAP_FAILED)
            return false;
        chunk = new (memory) Chunk{nullptr, bytes};
    }
    iInUse += bytes;
    (iLast ? iLast->iNext : iFirst) = chunk;
    iLast = chunk;
    return true;
}

quint64 BatchQueue::Count() const
{
    const std::lock_guard<QMutex> lock(iMutex);
    return iPut;
}

CrashFile::Mark BatchQueue::LastMark() const
{
    const std::lock_guard<QMutex> lock(iMutex);
    return iLastMark;
}

void BatchQueue::Wake()
{
    const std::lock_guard<QMutex> lock(iMutex);
    if (iReader)
        iEvents.wakeUp();
}

quint64 BatchQueue::Until(const Arrival& arrival)
{
    const std::lock_guard<QMutex> lock(iMutex);
    if (arrival.iUntil == iUntil.lock())
        iUntil.reset();
    return *arrival.iUntil;
}

LogBatches BatchQueue::Next(quint64 until)
{
    const std::lock_guard<QMutex> lock(iMutex);
    if (iTaken >= until)
        return LogBatches();
    if (iFirst->IsEmpty()) // it was the last one, and too small for the next batch
        Unmap(RemoveFirst());
    Chunk& chunk = *iFirst;
    const int most = int(std::min(quint64(chunk.iPut - chunk.iTaken), until - iTaken));
    LogBatches next{chunk.Bytes() + chunk.iTakenBytes, chunk.Batches() - chunk.iTaken, 1};
    for (qint64 bytes = next.At(0).iSize; next.iCount < most; ++next.iCount) {
        bytes += next.At(next.iCount).iSize;
        if (bytes > kTogether)
            break;
    }
    return next;
}

void BatchQueue::Done(int count)
{
    Chunk* surplus = nullptr;
    quint64 taken = 0;
    {
        const std::lock_guard<QMutex> lock(iMutex);
        for (int i = 0; i < count; ++i)
            iFirst->Take();
        taken = iTaken += quint64(count);
        if (iFirst->IsEmpty())
            surplus = RemoveFirst();
    }
    Unmap(surplus); // who logs does not wait for that
    iProgress->Done(taken);
}

// Returns it when it is not to be used again. The last one is: from its beginning, which is in the caches.
BatchQueue::Chunk* BatchQueue::RemoveFirst()
{
    Chunk* const chunk = iFirst;
    const bool isUsual = chunk->iMapped == kChunkBytes;
    if (isUsual) {
        chunk->Reset();
        if (chunk == iLast)
            return nullptr;
    }
    iFirst = std::exchange(chunk->iNext, nullptr);
    if (!iFirst)
        iLast = nullptr;
    iInUse -= chunk->iMapped;
    if (!isUsual || iSpares == kMostSpares)
        return chunk;
    chunk->iNext = std::exchange(iSpare, chunk);
    ++iSpares;
    return nullptr;
}

qint64 BatchQueue::TakeDropped()
{
    const std::lock_guard<QMutex> lock(iMutex);
    return iTaken == iPut ? std::exchange(iDropped, 0) : 0;
}

BatchQueue::Chunk* BatchQueue::TakeSpare()
{
    if (!iSpare)
        return nullptr;
    --iSpares;
    return std::exchange(iSpare, std::exchange(iSpare->iNext, nullptr));
}

void BatchQueue::Shrink()
{
    Chunk* spare = nullptr;
    {
        const std::lock_guard<QMutex> lock(iMutex);
        spare = TakeSpare();
    }
    Unmap(spare);
}

bool BatchQueue::Rest()
{
    Chunk* spares = nullptr;
    {
        const std::lock_guard<QMutex> lock(iMutex);
        if (iTaken != iPut || iDropped > 0)
            return false;
        iReaderLooks = false;
        spares = std::exchange(iSpare, nullptr);
        iSpares = 0;
    }
    Unmap(spares);
    return true;
}

void BatchQueue::Close()
{
    {
        const std::lock_guard<QMutex> lock(iMutex);
        iReader = nullptr;
    }
    iProgress->End();
}

void BatchQueue::Unmap(Chunk* chunks)
{
    while (chunks) {
        Chunk* const next = chunks->iNext;
        ::munmap(chunks, size_t(chunks->iMapped));
        chunks = next;
    }
}
