#include "LogProgress.h"

#include <QtCore/QDeadlineTimer>

#include <atomic>
#include <mutex>
#include <utility>

namespace {

std::atomic<quint64> gLosses{0};

} // namespace

void LogProgress::Done(quint64 count)
{
    const std::lock_guard<QMutex> lock(iMutex);
    iDone = count;
    if (iWaiting > 0)
        iChange.wakeAll();
}

void LogProgress::End()
{
    const std::lock_guard<QMutex> lock(iMutex);
    iIsOver = true;
    iChange.wakeAll();
}

bool LogProgress::WaitFor(quint64 count, const QDeadlineTimer& deadline)
{
    const std::lock_guard<QMutex> lock(iMutex);
    ++iWaiting;
    while (iDone < count && !iIsOver && iChange.wait(&iMutex, deadline)) { }
    --iWaiting;
    return iDone >= count;
}

void LogProgress::Lose()
{
    gLosses.fetch_add(1);
}

bool LogProgress::IsWhole()
{
    static thread_local quint64 tKnown = 0;
    const quint64 losses = gLosses.load();
    return std::exchange(tKnown, losses) == losses;
}
