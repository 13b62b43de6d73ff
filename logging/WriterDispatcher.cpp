#include "WriterDispatcher.h"

#include <QtCore/QCoreApplication>
#include <QtCore/QScopeGuard>
#include <QtCore/QTimerEvent>

#include <algorithm>
#include <limits>

namespace {

constexpr int kForever = -1;

thread_local bool tIsQuiet = false;

int MSecsTo(std::chrono::steady_clock::time_point due)
{
    // Rounded up, or the thread would look too early, over and over.
    const auto left = std::chrono::ceil<std::chrono::milliseconds>(due - std::chrono::steady_clock::now());
    return std::max(0, int(left.count()));
}

} // namespace

WriterDispatcher::WriterDispatcher() = default;

WriterDispatcher::~WriterDispatcher() = default;

bool WriterDispatcher::processEvents(QEventLoop::ProcessEventsFlags flags)
{
    iIsInterrupted = false;
    Q_EMIT awake();
    QCoreApplication::sendPostedEvents();
    const bool hasTimers = !flags.testFlag(QEventLoop::X11ExcludeTimers);
    const bool waits = flags.testFlag(QEventLoop::WaitForMoreEvents) && !iIsInterrupted;
    if (waits)
        Q_EMIT aboutToBlock();
    if (iIsInterrupted)
        return false;
    const int timeoutMs = hasTimers ? MSecsToTimer().value_or(kForever) : kForever;
    const bool woken = Wait(waits ? timeoutMs : 0);
    return (hasTimers && FireTimers()) || woken;
}

bool WriterDispatcher::Wait(int timeoutMs)
{
    const bool woken = iWakeUps.tryAcquire(1, timeoutMs);
    return woken && iIsWoken.exchange(false);
}

void WriterDispatcher::PostQuietly(QObject& receiver, QEvent* event)
{
    tIsQuiet = true;
    const auto after = qScopeGuard([] { tIsQuiet = false; });
    QCoreApplication::postEvent(&receiver, event);
}

void WriterDispatcher::wakeUp()
{
    ++iPosts;
    if (!tIsQuiet && !iIsWoken.exchange(true))
        iWakeUps.release();
}

void WriterDispatcher::interrupt()
{
    iIsInterrupted = true;
    wakeUp();
}

bool WriterDispatcher::hasPendingEvents()
{
    return iIsWoken;
}

void WriterDispatcher::flush() { }

// Those due now, once each, in the order of their times: what they start has to wait for the next round, what they stop
// does not fire any more.
bool WriterDispatcher::FireTimers()
{
    const Clock::time_point now = Clock::now();
    const quint64 round = ++iRound;
    bool any = false;
    while (Timer* const next = NextDue(now, round)) {
        next->iRound = round;
        Fire(*next, now);
        any = true;
    }
    return any;
}

WriterDispatcher::Timer* WriterDispatcher::NextDue(Clock::time_point now, quint64 round)
{
    Timer* next = nullptr;
    for (Timer& timer : iTimers) {
        const bool isDue = timer.iDue <= now && timer.iRound < round && !timer.iIsFiring;
        if (isDue && (!next || timer.iDue < next->iDue))
            next = &timer;
    }
    return next;
}

// Not again within itself, when its receiver has an event loop of its own. The times do not drift, but those missed are
// left out.
void WriterDispatcher::Fire(Timer& timer, Clock::time_point now)
{
    const int timerId = timer.iInfo.timerId;
    const std::chrono::milliseconds interval(timer.iInfo.interval);
    timer.iDue += interval;
    if (timer.iDue < now)
        timer.iDue = now + interval;
    timer.iIsFiring = true;
    QTimerEvent event(timerId);
    QCoreApplication::sendEvent(timer.iObject, &event);
    const auto after = Find(timerId);
    if (after != iTimers.end())
        after->iIsFiring = false;
}

std::optional<int> WriterDispatcher::MSecsToTimer() const
{
    std::optional<int> msecs;
    for (const Timer& timer : iTimers) {
        if (!timer.iIsFiring)
            msecs = std::min(msecs.value_or(std::numeric_limits<int>::max()), MSecsTo(timer.iDue));
    }
    return msecs;
}

std::vector<WriterDispatcher::Timer>::iterator WriterDispatcher::Find(int timerId)
{
    return std::find_if(iTimers.begin(), iTimers.end(),
                        [timerId](const Timer& timer) { return timer.iInfo.timerId == timerId; });
}

void WriterDispatcher::registerTimer(int timerId, Framework::TimerInterval interval, Qt::TimerType timerType,
                                     QObject* object)
{
    iTimers.push_back({TimerInfo(timerId, int(interval), timerType), object,
                       Clock::now() + std::chrono::milliseconds(interval), iRound});
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
    return timer == iTimers.end() ? -1 : MSecsTo(timer->iDue);
}

void WriterDispatcher::registerSocketNotifier(QSocketNotifier*)
{
    qWarning("WriterDispatcher: no sockets on this thread");
}

void WriterDispatcher::unregisterSocketNotifier(QSocketNotifier*) { }
