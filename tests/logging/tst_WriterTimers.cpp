#include "logging/WriterDispatcher.h"
#include "support/TestMain.h"

#include <QtCore/QElapsedTimer>
#include <QtCore/QThread>
#include <QtTest/QtTest>

#include <functional>

namespace {

// Timers of a dispatcher that nobody else uses.
class Timers : public QObject
{
public:
    explicit Timers(std::function<void(int)> act = nullptr)
        : iAct(std::move(act))
    {
        connect(&iDispatcher, &QAbstractEventDispatcher::aboutToBlock, this, [this] { ++iBlocked; });
    }

    void Start(int timerId, int interval) { iDispatcher.registerTimer(timerId, interval, Qt::PreciseTimer, this); }
    void Stop() { iDispatcher.unregisterTimers(this); }
    bool Pass(QEventLoop::ProcessEventsFlags flags = {}) { return iDispatcher.processEvents(flags); }
    bool PassOrSleep() { return Pass(QEventLoop::WaitForMoreEvents); }
    void AwaitDue(int timerId)
    {
        while (iDispatcher.remainingTime(timerId) > 0)
            QThread::yieldCurrentThread();
    }

    WriterDispatcher iDispatcher;
    QVector<int> iFired;
    int iBlocked = 0;

protected:
    void timerEvent(QTimerEvent* event) override
    {
        iFired += event->timerId();
        if (iAct)
            iAct(event->timerId());
    }

private:
    const std::function<void(int)> iAct;
};

} // namespace

class tst_WriterTimers : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void lateTimersFireInTheOrderOfTheirTimes()
    {
        Timers timers;
        timers.Start(71, 30);
        timers.Start(72, 20);
        timers.Start(73, 1);
        timers.AwaitDue(71);
        QVERIFY(timers.Pass());
        QCOMPARE(timers.iFired, (QVector<int>{73, 72, 71}));
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
        Timers timers([&](int) {
            if (timers.iFired.size() == 5)
                timers.Stop();
        });
        timers.Start(71, interval);
        while (timers.iFired.size() < 5)
            timers.PassOrSleep();
        QCOMPARE(timers.iDispatcher.remainingTime(71), -1);
        QVERIFY(!timers.Pass());
        QCOMPARE(timers.iFired.size(), 5);
    }

    void aTimerMayStopTheOthers()
    {
        Timers timers([&](int) {
            timers.Stop();
            timers.Start(73, 1000000); // one that is used again does not fire early
        });
        for (const int timerId : {71, 72, 73})
            timers.Start(timerId, 0);
        QVERIFY(timers.Pass());
        QCOMPARE(timers.iFired, QVector<int>{71});
        QVERIFY(!timers.Pass());
    }

    void aTimerMayStartOthers()
    {
        Timers timers([&](int timerId) {
            timers.iDispatcher.unregisterTimer(timerId);
            for (int i = 0; i < 50 && timerId < 100; ++i)
                timers.Start(timerId + 100 + i, 0);
        });
        timers.Start(71, 0);
        QVERIFY(timers.Pass());
        QCOMPARE(timers.iFired, QVector<int>{71}); // the new ones wait for the next time
        QVERIFY(timers.Pass());
        QCOMPARE(timers.iFired.size(), 51);
        QVERIFY(!timers.Pass());
    }

    void timersEndASleep()
    {
        Timers timers;
        timers.Start(71, 20);
        while (timers.iFired.isEmpty())
            timers.PassOrSleep();
        QCOMPARE(timers.iFired, QVector<int>{71});
        QVERIFY2(timers.iBlocked <= 2, QByteArray::number(timers.iBlocked)); // it does not look before the time
    }

    void aTimerDueBeforeTheSleepIsNotSleptOver()
    {
        Timers timers;
        connect(&timers.iDispatcher, &QAbstractEventDispatcher::aboutToBlock, this, [&] { timers.AwaitDue(71); });
        timers.Start(71, 5);
        while (timers.iFired.isEmpty())
            timers.PassOrSleep();
        QCOMPARE(timers.iFired, QVector<int>{71});
    }

    // A shot that comes late does not make all others late, and those that were missed are not made up for.
    void aLateTimer_data()
    {
        QTest::addColumn<int>("interval");
        QTest::addColumn<int>("late");
        QTest::addColumn<int>("next");
        QTest::newRow("times do not drift") << 400 << 100 << 300;
        QTest::newRow("missed ones are not made up for") << 50 << 120 << 50;
    }
    void aLateTimer()
    {
        QFETCH(int, interval);
        QFETCH(int, late);
        QFETCH(int, next);
        Timers timers;
        QElapsedTimer elapsed;
        elapsed.start();
        timers.Start(71, interval);
        timers.Start(72, interval + late);
        timers.AwaitDue(72); // the wait is what makes it late
        timers.iDispatcher.unregisterTimer(72);
        QVERIFY(timers.Pass());
        const int remaining = timers.iDispatcher.remainingTime(71);
        const bool isMissed = elapsed.elapsed() >= 2 * interval && late < interval; // on a very busy machine
        QVERIFY2(remaining <= next || isMissed, QByteArray::number(remaining));
        QVERIFY2(remaining > 0 || elapsed.elapsed() >= late + 2 * interval, QByteArray::number(remaining));
        QCOMPARE(timers.iFired, QVector<int>{71});
    }

    void aTimerWithAnEventLoopLetsTheThreadSleep()
    {
        bool isOver = false;
        Timers timers([&](int timerId) {
            isOver = timerId == 72;
            while (!isOver)
                timers.PassOrSleep();
        });
        timers.Start(71, 1);
        timers.Start(72, 100);
        while (!isOver)
            timers.PassOrSleep();
        QVERIFY2(timers.iBlocked <= 4, QByteArray::number(timers.iBlocked));
    }

    // But not this timer again.
    void otherTimersFireWithinATimer()
    {
        Timers timers([&](int timerId) {
            for (int i = 0; i < 30 && timerId == 71; ++i)
                timers.Pass();
        });
        timers.Start(71, 0);
        timers.Start(72, 1000000);
        timers.Start(73, 0);
        QVERIFY(timers.Pass());
        QCOMPARE(timers.iFired.mid(0, 2), (QVector<int>{71, 73}));
        QCOMPARE(timers.iFired.count(71), 1);
        QCOMPARE(timers.iFired.count(72), 0);
    }

    void timersMayBeExcluded()
    {
        Timers timers;
        timers.Start(71, 0);
        QVERIFY(!timers.Pass(QEventLoop::X11ExcludeTimers));
        QCOMPARE(timers.iFired.size(), 0);
        QVERIFY(timers.Pass());
        QCOMPARE(timers.iFired.size(), 1);
    }

    void knowsItsTimers()
    {
        Timers timers;
        QObject other;
        WriterDispatcher& dispatcher = timers.iDispatcher;
        timers.Start(71, 500000);
        dispatcher.registerTimer(72, 0, Qt::VeryCoarseTimer, &timers);
        dispatcher.registerTimer(73, 0, Qt::CoarseTimer, &other);
        const auto registered = dispatcher.registeredTimers(&timers);
        QCOMPARE(registered.size(), 2);
        QCOMPARE(registered.at(0).timerId, 71);
        QCOMPARE(registered.at(0).interval, 500000);
        QCOMPARE(registered.at(0).timerType, Qt::PreciseTimer);
        QCOMPARE(registered.at(1).timerId, 72);
        QCOMPARE(registered.at(1).timerType, Qt::VeryCoarseTimer);

        const int remaining = dispatcher.remainingTime(71);
        QVERIFY2(remaining > 400000 && remaining <= 500000, QByteArray::number(remaining));
        QCOMPARE(dispatcher.remainingTime(72), 0);
        QCOMPARE(dispatcher.remainingTime(99), -1);

        QVERIFY(dispatcher.unregisterTimer(72));
        QVERIFY(!dispatcher.unregisterTimer(72));
        QCOMPARE(dispatcher.registeredTimers(&timers).size(), 1);
        QVERIFY(dispatcher.unregisterTimers(&timers));
        QVERIFY(!dispatcher.unregisterTimers(&timers));
        QCOMPARE(dispatcher.registeredTimers(&timers).size(), 0);
        QCOMPARE(dispatcher.registeredTimers(&other).size(), 1);
    }
};

NEROLT_TEST_MAIN(tst_WriterTimers)

#include "tst_WriterTimers.moc"
