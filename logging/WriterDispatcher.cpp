#include "WriterDispatcher.h"

#include <QtCore/QCoreApplication>
#include <QtCore/QTimerEvent>

#include <algorithm>
#include <iterator>
#include <limits>

namespace {

// Far below any count of events.
constexpr int kAsleep = std::numeric_limits<int>::min();
constexpr int kForever = -1;

} // namespace

WriterDispatcher::WriterDispatcher() = default;

WriterDispatcher::~WriterDispatcher() = default;

bool WriterDispatcher::processEvents(QEventLoop::ProcessEventsFlags flags)
{
    bool processed = Process();
    if (!processed && flags.testFlag(QEventLoop::WaitForMoreEvents)) {
        Q_EMIT aboutToBlock();
        Wait();
        processed = Process();
    }
    return processed;
}

// What is posted after the count was taken is counted for the next time, whether or not it is found already.
bool WriterDispatcher::Process()
{
    const int wakeUps = iWakeUps.exchange(0);
    const bool woken = wakeUps != 0 && wakeUps != kAsleep;
    Q_EMIT awake();
    QCoreApplication::sendPostedEvents();
    const bool fired = FireTimers();
    if (woken || fired)
        iRestsLeft = kRests;
    return woken || fired;
}

void WriterDispatcher::Wait()
{
    while (Rest()) { }
    Sleep();
}

// False when there is something to do, or nothing any more to rest for.
bool WriterDispatcher::Rest()
{
    if (iRestsLeft == 0 || !iTimers.empty() || iHurried.load() || iWakeUps.load() != 0)
        return false;
    --iRestsLeft;
    iSemaphore.tryAcquire(1, kRestMs);
    return true;
}

// Not when there has been a wake-up meanwhile: it had nobody to wake.
void WriterDispatcher::Sleep()
{
    int none = 0;
    if (iWakeUps.compare_exchange_strong(none, kAsleep))
        iSemaphore.tryAcquire(1, MSecsToTimer().value_or(kForever));
}

void WriterDispatcher::wakeUp()
{
    const int before = iWakeUps.fetch_add(1);
    if (before == kAsleep || before == kManyEvents - 1)
        iSemaphore.release();
}

void WriterDispatcher::Hurry()
{
    iHurried.store(true);
    iSemaphore.release();
}

bool WriterDispatcher::hasPendingEvents()
{
    const int wakeUps = iWakeUps.load();
    return wakeUps != 0 && wakeUps != kAsleep;
}

void WriterDispatcher::interrupt()
{
    wakeUp();
}

void WriterDispatcher::flush() { }

// Those due now, once each, in the order of their times: what they start has to wait for the next time, what they stop
// does not fire any more.
bool WriterDispatcher::FireTimers()
{
    if (iTimers.empty())
        return false;
    const Clock::time_point now = Clock::now();
    std::vector<Timer> due;
    std::copy_if(iTimers.begin(), iTimers.end(), std::back_inserter(due),
                 [now](const Timer& timer) { return timer.iDue <= now; });
    std::stable_sort(due.begin(), due.end(), [](const Timer& a, const Timer& b) { return a.iDue < b.iDue; });
    for (const Timer& next : due) {
        const int timerId = next.iInfo.timerId;
        const auto timer = Find(timerId);
        if (timer == iTimers.end() || timer->iDue > now)
            continue;
        timer->iDue = now + std::chrono::milliseconds(timer->iInfo.interval);
        QTimerEvent event(timerId);
        QCoreApplication::sendEvent(timer->iObject, &event);
    }
    return !due.empty();
}

// Rounded up, or the thread would look too early, over and over.
std::optional<int> WriterDispatcher::MSecsToTimer() const
{
    const auto next = std::min_element(iTimers.begin(), iTimers.end(),
                                       [](const Timer& a, const Timer& b) { return a.iDue < b.iDue; });
    if (next == iTimers.end())
        return std::nullopt;
    const auto left = std::chrono::ceil<std::chrono::milliseconds>(next->iDue - Clock::now());
    return std::max(0, int(left.count()));
}

std::vector<WriterDispatcher::Timer>::iterator WriterDispatcher::Find(int timerId)
{
    return std::find_if(iTimers.begin(), iTimers.end(),
                        [timerId](const Timer& timer) { return timer.iInfo.timerId == timerId; });
}

void WriterDispatcher::registerTimer(int timerId, int interval, Qt::TimerType timerType, QObject* object)
{
    iTimers.push_back(
        {TimerInfo(timerId, interval, timerType), object, Clock::now() + std::chrono::milliseconds(interval)});
}

bool WriterDispatcher::unregisterTimer(int timerId)
{
    const auto timer = Find(timerId);
    if (timer == iTimers.end())
        return false;
    iTimers.erase(timer);
    return true;
}

bool WriterDispatcher::unregisterTimers(QObject* object)
{
    const auto removed = std::remove_if(iTimers.begin(), iTimers.end(),
                                        [object](const Timer& timer) { return timer.iObject == object; });
    const bool any = removed != iTimers.end();
    iTimers.erase(removed, iTimers.end());
    return any;
}

QList<QAbstractEventDispatcher::TimerInfo> WriterDispatcher::registeredTimers(QObject* object) const
{
    QList<TimerInfo> timers;
    for (const Timer& timer : iTimers) {
        if (timer.iObject == object)
            timers.append(timer.iInfo);
    }
    return timers;
}

int WriterDispatcher::remainingTime(int timerId)
{
    const auto timer = Find(timerId);
    if (timer == iTimers.end())
        return -1;
    const auto left = std::chrono::ceil<std::chrono::milliseconds>(timer->iDue - Clock::now());
    return std::max(0, int(left.count()));
}

void WriterDispatcher::registerSocketNotifier(QSocketNotifier*)
{
    qWarning("WriterDispatcher: no sockets on this thread");
}

void WriterDispatcher::unregisterSocketNotifier(QSocketNotifier*) { }
