#pragma once

#include <QtCore/QAbstractEventDispatcher>
#include <QtCore/QSemaphore>

#include <atomic>
#include <chrono>
#include <optional>
#include <vector>

/// The events of a thread whose work may wait for a moment, such as writing a log.
///
/// Waking a sleeping thread costs the one who posts an event several microseconds. So a thread that has run out of work
/// does not sleep at once here: it rests, and looks when it has rested. Who posts an event meanwhile only counts up a
/// number, without a call of the system. A rest ends early when a lot has come together. After some rests in vain the
/// thread sleeps, until it is woken.
///
/// For posted events and timers, not for sockets. It uses no descriptors. Event loops must not run within each other
/// here.
class WriterDispatcher : public QAbstractEventDispatcher
{
    Q_OBJECT
    Q_DISABLE_COPY(WriterDispatcher)

public:
    /// The length of a rest, in milliseconds: what a posted event may have to wait for.
    static constexpr int kRestMs = 5;
    /// So many rests in vain, and the thread sleeps.
    static constexpr int kRests = 2;
    /// So many posted events end a rest.
    static constexpr int kManyEvents = 16;

    WriterDispatcher();
    ~WriterDispatcher() override;

    /// No rests from now on, because somebody waits for what this thread does. Any thread may call.
    void Hurry();

    bool processEvents(QEventLoop::ProcessEventsFlags flags) override;
    bool hasPendingEvents() override;
    void wakeUp() override;
    void interrupt() override;
    void flush() override;

    void registerTimer(int timerId, int interval, Qt::TimerType timerType, QObject* object) override;
    bool unregisterTimer(int timerId) override;
    bool unregisterTimers(QObject* object) override;
    QList<TimerInfo> registeredTimers(QObject* object) const override;
    int remainingTime(int timerId) override;

    void registerSocketNotifier(QSocketNotifier* notifier) override;
    void unregisterSocketNotifier(QSocketNotifier* notifier) override;

private:
    using Clock = std::chrono::steady_clock;

    struct Timer
    {
        TimerInfo iInfo;
        QObject* iObject;
        Clock::time_point iDue;
    };

    bool Process();
    bool FireTimers();
    void Wait();
    bool Rest();
    void Sleep();
    std::vector<Timer>::iterator Find(int timerId);
    std::optional<int> MSecsToTimer() const;

    std::atomic<int> iWakeUps{0}; ///< since the thread looked, or counted from kAsleep
    std::atomic<bool> iHurried{false};
    QSemaphore iSemaphore;
    int iRestsLeft = 0;
    std::vector<Timer> iTimers;
};
