#include "logging/WriterDispatcher.h"
#include "support/PrivateAccess.h"
#include "support/TestMain.h"

#include <QtCore/QDir>
#include <QtCore/QElapsedTimer>
#include <QtCore/QSocketNotifier>
#include <QtCore/QThread>
#include <QtCore/QTimer>
#include <QtTest/QtTest>

#include <functional>
#include <limits>
#include <memory>
#include <numeric>
#include <thread>
#include <unistd.h>
#include <vector>

namespace {

// Where events go. The thread sanitizer is told of those for classes of ours, not of those for the framework's own.
class Place : public QObject
{
};

// Runs something on the thread, and waits for it.
template <typename Work>
void Do(QThread& thread, Work work)
{
    Place there;
    there.moveToThread(&thread);
    QMetaObject::invokeMethod(
        &there,
        [&] {
            work();
            there.moveToThread(nullptr);
        },
        Qt::BlockingQueuedConnection);
}

// A thread that has the dispatcher.
class Thread : public QThread
{
public:
    Thread()
        : iDispatcher(new WriterDispatcher)
    {
        setEventDispatcher(iDispatcher);
        start();
    }

    ~Thread() override
    {
        quit();
        wait();
    }

    WriterDispatcher& Dispatcher() { return *iDispatcher; }

    template <typename Work>
    void Do(Work work)
    {
        ::Do(*this, work);
    }

private:
    WriterDispatcher* const iDispatcher;
};

// Takes the timer events.
class Clock : public QObject
{
public:
    using Act = std::function<void(int)>;

    explicit Clock(Act act)
        : iAct(std::move(act))
    {
    }

protected:
    void timerEvent(QTimerEvent* event) override { iAct(event->timerId()); }

private:
    const Act iAct;
};

} // namespace

class tst_WriterDispatcher : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void anEventJustBeforeTheSleepIsSeen()
    {
        WriterDispatcher dispatcher;
        connect(&dispatcher, &QAbstractEventDispatcher::aboutToBlock, this, [&] { dispatcher.wakeUp(); });
        QVERIFY(dispatcher.processEvents(QEventLoop::WaitForMoreEvents));
    }

    void looksOnceForEachTimeItIsWoken()
    {
        WriterDispatcher dispatcher;
        QVERIFY(!dispatcher.hasPendingEvents());
        for (int i = 0; i < 3; ++i)
            dispatcher.wakeUp();
        QVERIFY(dispatcher.hasPendingEvents());
        QVERIFY(dispatcher.processEvents(QEventLoop::WaitForMoreEvents));
        QVERIFY(!dispatcher.hasPendingEvents());
        QVERIFY(!dispatcher.processEvents({}));
    }

    void tellsWhenItWaits()
    {
        WriterDispatcher dispatcher;
        QStringList states;
        connect(&dispatcher, &QAbstractEventDispatcher::awake, this, [&] { states.append(QStringLiteral("awake")); });
        connect(&dispatcher, &QAbstractEventDispatcher::aboutToBlock, this, [&] {
            states.append(QStringLiteral("blocks"));
            dispatcher.wakeUp();
        });
        QVERIFY(!dispatcher.processEvents({}));
        QVERIFY(dispatcher.processEvents(QEventLoop::WaitForMoreEvents));
        QCOMPARE(states.join(' '), QStringLiteral("awake awake blocks"));
    }

    void interruptIsNotOverlookedBeforeTheWait()
    {
        WriterDispatcher dispatcher;
        dispatcher.interrupt();
        QVERIFY(dispatcher.processEvents(QEventLoop::WaitForMoreEvents));
    }

    void eventsArriveInOrder()
    {
        Thread thread;
        Place there;
        there.moveToThread(&thread);
        QVector<int> received;
        for (int i = 0; i < 1000; ++i)
            QMetaObject::invokeMethod(&there, [&received, i] { received.append(i); });
        QVector<int> expected(1000);
        std::iota(expected.begin(), expected.end(), 0);
        thread.Do([&] { QCOMPARE(received, expected); });
        thread.Do([&] { there.moveToThread(nullptr); });
    }

    // Those that arrive as the thread goes to rest or to sleep above all.
    void noEventIsLeftBehind()
    {
        constexpr int kThreads = 4;
        constexpr int kEvents = 3000;
        Thread thread;
        Place there;
        there.moveToThread(&thread);
        std::atomic<int> received{0};
        std::vector<std::thread> callers;
        for (int caller = 0; caller < kThreads; ++caller) {
            callers.emplace_back([&, caller] {
                for (int i = 0; i < kEvents; ++i) {
                    QMetaObject::invokeMethod(&there, [&received] { ++received; });
                    if (i % (30 + caller) == 0)
                        std::this_thread::sleep_for(std::chrono::microseconds(100 * (i % 160)));
                }
            });
        }
        for (std::thread& caller : callers)
            caller.join();
        QTRY_COMPARE(received.load(), kThreads * kEvents);
        thread.Do([&] { there.moveToThread(nullptr); });
    }

    void deletesLater()
    {
        Thread thread;
        auto* const object = new QObject;
        object->moveToThread(&thread);
        QSemaphore gone;
        connect(
            object, &QObject::destroyed, object, [&] { gone.release(); }, Qt::DirectConnection);
        object->deleteLater();
        QVERIFY(gone.tryAcquire(1, 10000));
    }

    void singleShotsFireInTheirOrder()
    {
        Thread thread;
        QVector<int> fired;
        QSemaphore done;
        QElapsedTimer elapsed;
        QObject* context = nullptr;
        thread.Do([&] {
            context = new QObject;
            elapsed.start();
            for (const int delay : {60, 0, 20})
                QTimer::singleShot(delay, Qt::PreciseTimer, context, [&fired, &done, delay] {
                    fired.append(delay);
                    done.release();
                });
        });
        QVERIFY(done.tryAcquire(3, 10000));
        QVERIFY(elapsed.elapsed() >= 60);
        QCOMPARE(fired, (QVector<int>{0, 20, 60}));
        thread.Do([&] { delete context; });
    }

    void lateTimersFireInTheOrderOfTheirTimes()
    {
        WriterDispatcher dispatcher;
        QVector<int> fired;
        Clock clock([&](int timerId) { fired.append(timerId); });
        dispatcher.registerTimer(71, 30, Qt::PreciseTimer, &clock);
        dispatcher.registerTimer(72, 20, Qt::PreciseTimer, &clock);
        dispatcher.registerTimer(73, 1, Qt::PreciseTimer, &clock);
        QThread::msleep(60);
        QVERIFY(dispatcher.processEvents({}));
        QCOMPARE(fired, (QVector<int>{73, 72, 71}));
        dispatcher.unregisterTimers(&clock);
    }

    void repeatsUntilItIsKilled_data()
    {
        QTest::addColumn<int>("interval");
        QTest::newRow("with an interval") << 1;
        QTest::newRow("at once") << 0;
    }
    void repeatsUntilItIsKilled()
    {
        QFETCH(int, interval);
        Thread thread;
        QSemaphore done;
        int fired = 0;
        std::unique_ptr<Clock> clock;
        thread.Do([&] {
            clock = std::make_unique<Clock>([&](int timerId) {
                if (++fired == 5) {
                    clock->killTimer(timerId);
                    done.release();
                }
            });
            clock->startTimer(interval);
        });
        QVERIFY(done.tryAcquire(1, 10000));
        thread.Do([] { QThread::msleep(10); });
        thread.Do([&] { clock.reset(); });
        QCOMPARE(fired, 5);
    }

    void aTimerMayStopTheOthers()
    {
        WriterDispatcher dispatcher;
        QVector<int> fired;
        Clock clock([&](int timerId) {
            fired.append(timerId);
            dispatcher.unregisterTimers(&clock);
        });
        dispatcher.registerTimer(71, 0, Qt::CoarseTimer, &clock);
        dispatcher.registerTimer(72, 0, Qt::CoarseTimer, &clock);
        QVERIFY(dispatcher.processEvents({}));
        QCOMPARE(fired, QVector<int>{71});
        QVERIFY(!dispatcher.processEvents({}));
    }

    void aTimerMayStartOthers()
    {
        WriterDispatcher dispatcher;
        QVector<int> fired;
        Clock clock([&](int timerId) {
            fired.append(timerId);
            dispatcher.unregisterTimer(timerId);
            if (timerId < 100) {
                for (int i = 0; i < 50; ++i)
                    dispatcher.registerTimer(timerId + 100 + i, 0, Qt::CoarseTimer, &clock);
            }
        });
        dispatcher.registerTimer(71, 0, Qt::CoarseTimer, &clock);
        QVERIFY(dispatcher.processEvents({}));
        QCOMPARE(fired, QVector<int>{71}); // the new ones wait for the next time
        QVERIFY(dispatcher.processEvents({}));
        QCOMPARE(fired.size(), 51);
        QVERIFY(!dispatcher.processEvents({}));
    }

    void aNumberUsedAgainDoesNotFireEarly()
    {
        WriterDispatcher dispatcher;
        QVector<int> fired;
        Clock clock([&](int timerId) {
            fired.append(timerId);
            dispatcher.unregisterTimers(&clock);
            dispatcher.registerTimer(72, 1000000, Qt::CoarseTimer, &clock);
        });
        dispatcher.registerTimer(71, 0, Qt::CoarseTimer, &clock);
        dispatcher.registerTimer(72, 0, Qt::CoarseTimer, &clock);
        QVERIFY(dispatcher.processEvents({}));
        QCOMPARE(fired, QVector<int>{71});
    }

    void timersEndASleep()
    {
        WriterDispatcher dispatcher;
        int fired = 0;
        int blocked = 0;
        Clock clock([&](int) { ++fired; });
        connect(&dispatcher, &QAbstractEventDispatcher::aboutToBlock, this, [&] { ++blocked; });
        dispatcher.registerTimer(71, 20, Qt::PreciseTimer, &clock);
        while (fired == 0)
            dispatcher.processEvents(QEventLoop::WaitForMoreEvents);
        QCOMPARE(fired, 1);
        QVERIFY2(blocked <= 2, qPrintable(QString::number(blocked))); // it does not look before the time
    }

    void aTimerDueBeforeTheSleepIsNotSleptOver()
    {
        WriterDispatcher dispatcher;
        int fired = 0;
        Clock clock([&](int) { ++fired; });
        connect(&dispatcher, &QAbstractEventDispatcher::aboutToBlock, this, [&] {
            QThread::msleep(10);
            QCOMPARE(dispatcher.remainingTime(71), 0);
        });
        dispatcher.registerTimer(71, 5, Qt::PreciseTimer, &clock);
        while (fired == 0)
            dispatcher.processEvents(QEventLoop::WaitForMoreEvents);
        QCOMPARE(fired, 1);
    }

    void aLateTimerDoesNotCatchUp()
    {
        constexpr int kInterval = 50;
        WriterDispatcher dispatcher;
        int fired = 0;
        Clock clock([&](int) { ++fired; });
        dispatcher.registerTimer(71, kInterval, Qt::PreciseTimer, &clock);
        QThread::msleep(3 * kInterval + 10);
        QElapsedTimer since;
        since.start();
        QVERIFY(dispatcher.processEvents({}));
        const bool again = dispatcher.processEvents({});
        QVERIFY(!again || since.elapsed() >= kInterval);
        QVERIFY(fired >= 1);
    }

    void aTimerWithAnEventLoopLetsTheThreadSleep()
    {
        WriterDispatcher dispatcher;
        bool isOver = false;
        int blocked = 0;
        Clock clock([&](int timerId) {
            isOver = timerId == 72;
            while (!isOver)
                dispatcher.processEvents(QEventLoop::WaitForMoreEvents);
        });
        connect(&dispatcher, &QAbstractEventDispatcher::aboutToBlock, this, [&] { ++blocked; });
        dispatcher.registerTimer(71, 1, Qt::PreciseTimer, &clock);
        dispatcher.registerTimer(72, 100, Qt::PreciseTimer, &clock);
        while (!isOver)
            dispatcher.processEvents(QEventLoop::WaitForMoreEvents);
        QVERIFY2(blocked <= 4, QByteArray::number(blocked));
        dispatcher.unregisterTimers(&clock);
    }

    // As the framework's own: neither this timer again, nor none of the others.
    void timersWithinATimer()
    {
        const auto fire = [](QThread& thread) {
            QVector<int> fired;
            QSemaphore done;
            std::unique_ptr<Clock> clock;
            int slow = 0;
            Do(thread, [&] {
                clock = std::make_unique<Clock>([&](int timerId) {
                    fired.append(timerId == slow ? 0 : 1);
                    if (timerId != slow)
                        return;
                    QEventLoop loop;
                    for (int i = 0; i < 30; ++i)
                        loop.processEvents(QEventLoop::AllEvents);
                    clock->killTimer(timerId);
                    done.release();
                });
                slow = clock->startTimer(0);
            });
            done.acquire();
            Do(thread, [&] { clock.reset(); });
            return fired;
        };
        Thread thread;
        QThread plain;
        plain.start();
        QCOMPARE(fire(thread), QVector<int>{0});
        QCOMPARE(fire(plain), QVector<int>{0});
        plain.quit();
        plain.wait();
    }

    void otherTimersFireWithinATimer()
    {
        WriterDispatcher dispatcher;
        QVector<int> fired;
        Clock clock([&](int timerId) {
            fired.append(timerId);
            if (timerId == 71)
                dispatcher.processEvents({});
        });
        dispatcher.registerTimer(71, 0, Qt::CoarseTimer, &clock);
        dispatcher.registerTimer(72, 1000000, Qt::CoarseTimer, &clock);
        dispatcher.registerTimer(73, 0, Qt::CoarseTimer, &clock);
        QVERIFY(dispatcher.processEvents({}));
        QCOMPARE(fired.mid(0, 2), (QVector<int>{71, 73}));
        QCOMPARE(fired.count(71), 1);
    }

    void timersMayBeExcluded()
    {
        WriterDispatcher dispatcher;
        int fired = 0;
        Clock clock([&](int) { ++fired; });
        dispatcher.registerTimer(71, 0, Qt::CoarseTimer, &clock);
        QVERIFY(!dispatcher.processEvents(QEventLoop::X11ExcludeTimers));
        QCOMPARE(fired, 0);
        QVERIFY(dispatcher.processEvents({}));
        QCOMPARE(fired, 1);
    }

    // A shot that comes late does not make all others late.
    void timesDoNotDrift()
    {
        constexpr int kInterval = 400;
        constexpr int kLate = 100;
        WriterDispatcher dispatcher;
        Clock clock([](int) {});
        QElapsedTimer elapsed;
        elapsed.start();
        dispatcher.registerTimer(71, kInterval, Qt::PreciseTimer, &clock);
        QThread::msleep(kInterval + kLate);
        QVERIFY(dispatcher.processEvents({}));
        const int next = dispatcher.remainingTime(71);
        const bool isMissed = elapsed.elapsed() >= 2 * kInterval; // on a very busy machine
        QVERIFY2(next <= kInterval - kLate || isMissed, QByteArray::number(next));
    }

    void knowsItsTimers()
    {
        WriterDispatcher dispatcher;
        Clock one([](int) {});
        Clock other([](int) {});
        dispatcher.registerTimer(71, 500000, Qt::PreciseTimer, &one);
        dispatcher.registerTimer(72, 0, Qt::VeryCoarseTimer, &one);
        dispatcher.registerTimer(73, 0, Qt::CoarseTimer, &other);

        const auto timers = dispatcher.registeredTimers(&one);
        QCOMPARE(timers.size(), 2);
        QCOMPARE(timers.at(0).timerId, 71);
        QCOMPARE(timers.at(0).interval, 500000);
        QCOMPARE(timers.at(0).timerType, Qt::PreciseTimer);
        QCOMPARE(timers.at(1).timerId, 72);
        QCOMPARE(timers.at(1).timerType, Qt::VeryCoarseTimer);

        const int remaining = dispatcher.remainingTime(71);
        QVERIFY2(remaining > 400000 && remaining <= 500000, qPrintable(QString::number(remaining)));
        QCOMPARE(dispatcher.remainingTime(72), 0);
        QCOMPARE(dispatcher.remainingTime(99), -1);

        QVERIFY(dispatcher.unregisterTimer(72));
        QVERIFY(!dispatcher.unregisterTimer(72));
        QCOMPARE(dispatcher.registeredTimers(&one).size(), 1);
        QVERIFY(dispatcher.unregisterTimers(&one));
        QVERIFY(!dispatcher.unregisterTimers(&one));
        QCOMPARE(dispatcher.registeredTimers(&one).size(), 0);
        QCOMPARE(dispatcher.registeredTimers(&other).size(), 1);
    }

    void timersMoveAlongWithTheirObject()
    {
        Thread thread;
        QSemaphore fired;
        QThread* where = nullptr;
        std::unique_ptr<Clock> clock = std::make_unique<Clock>([&](int timerId) {
            clock->killTimer(timerId);
            where = QThread::currentThread();
            fired.release();
        });
        clock->startTimer(1);
        clock->moveToThread(&thread);
        QVERIFY(fired.tryAcquire(1, 10000));
        QCOMPARE(where, &thread);
        thread.Do([&] { clock.reset(); });
    }

    void hasNoSockets()
    {
        Thread thread;
        QTest::ignoreMessage(QtWarningMsg, "WriterDispatcher: no sockets on this thread");
        thread.Do([] {
            int ends[2];
            QCOMPARE(::pipe(ends), 0);
            {
                QSocketNotifier notifier(ends[0], QSocketNotifier::Read);
                ::close(ends[1]); // readable from now on
                QCoreApplication::processEvents();
            }
            ::close(ends[0]);
        });
    }

    void takesNoDescriptor()
    {
        const auto descriptors
            = [] { return QDir(QStringLiteral("/dev/fd")).entryList(QDir::AllEntries | QDir::System); };
        descriptors(); // what the framework opens once
        const QStringList before = descriptors();
        Thread thread;
        thread.Do([] {});
        QCOMPARE(descriptors(), before);
    }
};

NEROLT_TEST_MAIN(tst_WriterDispatcher)
#include "tst_WriterDispatcher.moc"
