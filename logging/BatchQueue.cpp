#include "BatchQueue.h"

#include <QtCore/QAbstractEventDispatcher>

#include <mutex>

namespace {

constexpr std::size_t kExpected = 64;

} // namespace

BatchQueue::BatchQueue(QAbstractEventDispatcher& reader)
    : iReader(&reader)
{
    iPut.reserve(kExpected);
    iTaken.reserve(kExpected);
}

[[gnu::hot]] void BatchQueue::Put(const QByteArray& batch)
{
    const std::lock_guard<QMutex> lock(iMutex);
    if (!iReader)
        return;
    iPut.push_back(batch);
    iReader->wakeUp();
}

void BatchQueue::TakeAll()
{
    const std::lock_guard<QMutex> lock(iMutex);
    iPut.swap(iTaken);
}

void BatchQueue::Close()
{
    const std::lock_guard<QMutex> lock(iMutex);
    iReader = nullptr;
    iPut.clear();
}
