#include "BatchQueue.h"

#include <QtCore/QAbstractEventDispatcher>

#include <mutex>

namespace {

constexpr std::size_t kExpected = 64;
constexpr qint64 kOverhead = 64; // so that empty ones count, too

} // namespace

BatchQueue::BatchQueue(QAbstractEventDispatcher& reader, qint64 capacity)
    : iCapacity(capacity)
    , iReader(&reader)
{
    iPut.reserve(kExpected);
    iTaken.reserve(kExpected);
}

[[gnu::hot]] void BatchQueue::Put(const QByteArray& batch) noexcept
{
    const std::lock_guard<QMutex> lock(iMutex);
    if (!iReader)
        return;
    if (!Append(batch))
        iDropped += batch.count('\n');
    iReader->wakeUp();
}

bool BatchQueue::Append(const QByteArray& batch) noexcept
{
    const qint64 size = SizeOf(batch);
    if (iDropped > 0 || iWaiting + size > iCapacity)
        return false;
    try {
        iPut.push_back(batch);
    } catch (...) {
        return false; // no memory for it
    }
    iWaiting += size;
    return true;
}

qint64 BatchQueue::TakeAll()
{
    const std::lock_guard<QMutex> lock(iMutex);
    iPut.swap(iTaken);
    return std::exchange(iDropped, 0);
}

void BatchQueue::Written(qint64 size)
{
    const std::lock_guard<QMutex> lock(iMutex);
    iWaiting -= size;
}

// What it occupies, whether or not there is a line in it.
qint64 BatchQueue::SizeOf(const QByteArray& batch)
{
    return batch.capacity() + kOverhead;
}

void BatchQueue::Close()
{
    const std::lock_guard<QMutex> lock(iMutex);
    iReader = nullptr;
    iPut.clear();
}
