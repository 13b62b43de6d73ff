#include "logging/WriterDispatcher.h"
#include "support/TestMain.h"

#include <QtCore/QSemaphore>
#include <QtCore/QSocketNotifier>
#include <QtCore/QThread>
#include <QtTest/QtTest>

#include <thread>
#include <unistd.h>
#include <vector>

namespace {

// Where events go. The thread sanitizer is told of those for classes of ours, not of those for the framework's own.
class Place : public QObject
{
};

// A thread that has the dispatcher.
class Thread : public QThread
{
public:
    Thread()
    {
        setEventDispatcher(new WriterDispatcher);
        start();
    }
    ~Thread() override
    {
        quit();
        wait();
    }

    // Runs something on the thread, and waits for it.
    template <typename Work>
    void Do(Work work)
    {
        Place there;
        there.moveToThread(this);
        QMetaObject::invokeMethod(
            &there,
            [&] {
                work();
                there.moveToThread(nullptr);
            },
            Qt::BlockingQueuedConnection);
    }
};

} // namespace

class tst_WriterDispatcher : public QObject
{
    Q_OBJECT

private Q_SLOTS:
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

    // An event that arrives just before the sleep is seen.
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

    // Those that arrive as the thread goes to rest or to sleep above all.
    void noEventIsLeftBehind()
    {
        constexpr int kThreads = 4;
        constexpr int kEvents = 3000;
        Thread thread;
        Place there;
        there.moveToThread(&thread);
        std::vector<std::thread> callers;
        for (int caller = 0; caller < kThreads; ++caller) {
            callers.emplace_back([&, caller] {
                QSemaphore arrived;
                int seen = 0;
                for (int i = 1; i <= kEvents; ++i) {
                    QMetaObject::invokeMethod(&there, [&arrived] { arrived.release(); });
                    if (i % (1 + 10 * caller) == 0
                        || i == kEvents) // nothing comes meanwhile if the others wait as well
                        arrived.acquire(i - std::exchange(seen, i));
                }
            });
        }
        for (std::thread& caller : callers)
            caller.join();
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
};

NEROLT_TEST_MAIN(tst_WriterDispatcher)
#include "tst_WriterDispatcher.moc"
