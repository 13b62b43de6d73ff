#pragma once

#include "../util/Framework.h"

#include <QtCore/QSemaphore>

#include <atomic>
#include <chrono>
#include <optional>
#include <vector>

/// Posted events and timers of a thread, as the framework has them, for one that must not end the process.
///
/// The framework's own dispatchers do: they want descriptors of the system and memory when their thread starts, and a
/// host that has none left at that moment is ended. This one needs no descriptors, and its memory is taken when it is
/// made. It knows no sockets.
class WriterDispatcher : public Framework::Dispatcher
{
    Q_OBJECT
    Q_DISABLE_COPY(WriterDispatcher)

public:
    WriterDispatcher();
    ~WriterDispatcher() override;

    /// As postEvent, but does not wake the thread: it finds the event when it looks the next time.
    static void PostQuietly(QObject& receiver, QEvent* event);
    /// How many events have been posted, or others have asked for attention. Any thread may call.
    quint64 Posts() const { return iPosts; }

    bool processEvents(QEventLoop::ProcessEventsFlags flags) override;
    bool hasPendingEvents() override;
    void wakeUp() override;
    void interrupt() override;
    void flush() override;

    void registerTimer(int timerId, Framework::TimerInterval interval, Qt::TimerType timerType,
                       QObject* object) override;
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
        quint64 iRound; ///< in which it fired last, or was started
        bool iIsFiring = false;
    };

    bool Wait(int timeoutMs);
    bool FireTimers();
    Timer* NextDue(Clock::time_point now, quint64 round);
    void Fire(Timer& timer, Clock::time_point now);
    std::vector<Timer>::iterator Find(int timerId);
    std::optional<int> MSecsToTimer() const;

    std::atomic<quint64> iPosts{0};
    std::atomic<bool> iIsWoken{false};
    std::atomic<bool> iIsInterrupted{false};
    QSemaphore iWakeUps;
    std::vector<Timer> iTimers;
    quint64 iRound = 0;
};
