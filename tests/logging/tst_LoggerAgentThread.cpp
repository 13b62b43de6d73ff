#include "HeldMutex.h"
#include "support/ForgedClock.h"
#include "support/LogText.h"
#include "support/PrivateAccess.h"
#include "support/TestMain.h"

#include <NeroltOrvaneBase/LoggerAgent.h>
#include <NeroltOrvaneBase/LoggerWorker.h>
#include <NeroltOrvaneBase/RegisteredThread.h>

#include <QtCore/QAbstractEventDispatcher>
#include <QtCore/QElapsedTimer>
#include <QtCore/QFileInfo>
#include <QtCore/QPointer>
#include <QtCore/QSemaphore>
#include <QtTest/QtTest>

#include <functional>
#include <sys/resource.h>
#include <thread>

NEROLT_PRIVATE(LoggerAgent, iMutex, QRecursiveMutex)
NEROLT_PRIVATE(LoggerAgent, iThread, RegisteredThread*)
NEROLT_PRIVATE(LoggerAgent, iWorker, LoggerWorker*)

namespace {

const QByteArray kStamp = "2024-03-05 14:07:09.042";
const QString kLog = QStringLiteral("app.log");

class Agent : public LoggerAgent
{
public:
    explicit Agent(int mask = LoggerDefs::Information)
        : LoggerAgent(mask, nullptr)
    {
        connect(this, &LoggerAgent::logMessage, [this](const QByteArray& batch) { iBatches += batch; });
    }

    void Say(const QString& msg = QStringLiteral("m")) { DoLog(1, "F", "Information", msg); }
    void Tick()
    {
        QTimerEvent event(0);
        timerEvent(&event);
    }
    RegisteredThread* Thread() const { return this->*LoggerAgent_iThread(); }

    QList<QByteArray> iBatches;
};

QList<QByteArray> Bodies()
{
    return LogText::Bodies(LogText::Read(kLog));
}

QList<QAbstractEventDispatcher::TimerInfo> TimersOf(LoggerAgent& agent)
{
    return QAbstractEventDispatcher::instance(agent.thread())->registeredTimers(&agent);
}

// How often this thread has waited for something.
long Waits()
{
    rusage usage = {};
    ::getrusage(RUSAGE_THREAD, &usage);
    return usage.ru_nvcsw;
}

// Where events go. The thread sanitizer is told of those for classes of ours, not of those for the framework's own.
class PostedThere : public QObject
{
};

} // namespace

class tst_LoggerAgentThread : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init()
    {
        ForgedClock::Freeze(QDateTime(QDate(2024, 3, 5), QTime(14, 7, 9, 42)));
        TestSupport::EnterFreshFolder();
    }
    void threadAndWorker()
    {
        Agent agent;
        agent.SetLoggerFileName(kLog);
        const QPointer<RegisteredThread> thread = agent.Thread();
        const QPointer<LoggerWorker> worker = agent.*LoggerAgent_iWorker();
        QCOMPARE(thread->Name(), QStringLiteral("logging thread"));
        QCOMPARE(thread->parent(), &agent);
        QVERIFY(thread->isRunning());
        QCOMPARE(thread->priority(), QThread::InheritPriority);
        QCOMPARE(worker->thread(), thread.data());
        agent.StartThread(); // runs already
        QCOMPARE(agent.Thread(), thread.data());
        QCOMPARE(agent.FileName(), kLog);
        QCOMPARE(agent.FileNameCopy(), kLog);
        agent.StopLogging();
        QVERIFY(!agent.Thread() && worker.isNull());
        QVERIFY(thread && thread->isFinished());
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
        QVERIFY(thread.isNull());
    }

    void timerRunsWhileTheThreadDoes()
    {
        Agent agent;
        const auto call = [&agent](bool isElsewhere, void (LoggerAgent::*function)()) {
            if (isElsewhere)
                std::thread([&] { (agent.*function)(); }).join();
            else
                (agent.*function)();
            QCoreApplication::sendPostedEvents(&agent);
        };
        QVERIFY(TimersOf(agent).isEmpty());
        for (const bool isElsewhere : {false, true}) {
            call(isElsewhere, &LoggerAgent::StartThread);
            const auto timers = TimersOf(agent);
            QCOMPARE(timers.size(), 1);
            QCOMPARE(timers.first().interval, 5000);
            QCOMPARE(timers.first().timerType, Qt::CoarseTimer);
            call(isElsewhere, &LoggerAgent::StopLogging);
            QVERIFY(TimersOf(agent).isEmpty());
        }
    }

    void timerOfALogThatStartsBeforeItsThreadHasEvents()
    {
        int timers = 0;
        std::thread([&timers] {
            Agent agent;
            agent.StartThread();
            QEventLoop loop;
            loop.processEvents();
            timers = int(TimersOf(agent).size());
            agent.StopLogging();
        }).join();
        QCOMPARE(timers, 1);
    }

    void silence_data()
    {
        QTest::addColumn<qint64>("msecs");
        QTest::addColumn<bool>("handsOver");
        QTest::newRow("30 seconds") << qint64(30000) << false;
        QTest::newRow("just before the 31st second is full") << qint64(30957) << false;
        QTest::newRow("31 seconds by the clock's seconds") << qint64(30958) << true;
        QTest::newRow("clock set back") << qint64(-3600000) << true;
    }
    void silence()
    {
        QFETCH(qint64, msecs);
        QFETCH(bool, handsOver);
        Agent agent;
        agent.SetLoggerFileName(kLog);
        agent.Say();
        ForgedClock::Advance(30000);
        agent.Say(); // begins it anew
        ForgedClock::Advance(msecs);
        for (int i = 0; i < 2; ++i) {
            agent.Tick();
            QCOMPARE(agent.iBatches.size(), int(handsOver));
        }
        agent.StopLogging();
        QCOMPARE(Bodies(), (QList<QByteArray>{"|1|Information|F|m", "|1|Information|F|m"}));
    }

    // Its thread is the host's main one.
    void timerWaitsOnlyForLinesToHandOver_data()
    {
        QTest::addColumn<bool>("hasLines");
        QTest::addColumn<qint64>("quietSecs");
        QTest::addColumn<bool>("waits");
        QTest::newRow("nothing in the buffer") << false << qint64(100) << false;
        QTest::newRow("lines of just now") << true << qint64(30) << false;
        QTest::newRow("lines of long ago") << true << qint64(31) << true;
    }
    void timerWaitsOnlyForLinesToHandOver()
    {
        QFETCH(bool, hasLines);
        QFETCH(qint64, quietSecs);
        QFETCH(bool, waits);
        Agent agent;
        agent.StartThread();
        agent.Say();
        if (!hasLines)
            agent.SendBufferToThread();
        ForgedClock::Advance(quietSecs * 1000);
        const auto before = agent.iBatches.size();
        bool hasWaited = false;
        {
            const HeldMutex held(agent.*LoggerAgent_iMutex());
            const long waitsBefore = Waits();
            agent.Tick();
            hasWaited = Waits() > waitsBefore;
        }
        QCOMPARE(hasWaited, waits);
        QCOMPARE(agent.iBatches.size(), before); // the next tick tries again
        agent.Tick();
        QCOMPARE(agent.iBatches.size(), before + int(waits));
        agent.StopLogging();
    }

    void whileStopped()
    {
        Agent agent;
        bool stopped = false;
        connect(&agent, &LoggerAgent::stopWorker, [&stopped] { stopped = true; });
        agent.Say(QString(5000, QLatin1Char('x'))); // handed over to nobody
        QCOMPARE(agent.iBatches.size(), 1);
        agent.Say();
        ForgedClock::Advance(60000);
        agent.Tick();
        agent.StopLogging();
        QVERIFY(!stopped);
        QCOMPARE(agent.iBatches.size(), 1);
        // The buffer is kept, and opens the next file too.
        for (int times = 1; times <= 2; ++times) {
            agent.SetLoggerFileName(kLog);
            agent.StopLogging();
            QCOMPARE(Bodies(), QVector<QByteArray>(times, "|1|Information|F|m").toList());
        }
    }

    // Whether the thread was at rest or looked for batches anyway, and whatever the size of these.
    void batchesKeepTheirOrderAmongPostedEvents_data()
    {
        QTest::addColumn<bool>("looks");
        QTest::addColumn<int>("size");
        QTest::newRow("at rest") << false << 5001;
        QTest::newRow("at rest, at once") << false << 10;
        QTest::newRow("looking") << true << 5001;
        QTest::newRow("looking, at once") << true << 10;
    }
    void batchesKeepTheirOrderAmongPostedEvents()
    {
        QFETCH(bool, looks);
        QFETCH(int, size);
        Agent agent;
        agent.SetLoggerFileName(kLog);
        PostedThere there;
        there.moveToThread(agent.Thread());
        const QByteArray batch = QByteArray(size - 1, 'x') + '\n';
        const auto put = [&] { Q_EMIT agent.logMessage(batch); };
        if (looks)
            put();
        const qint64 before = looks ? size : 0;
        QTRY_COMPARE(QFileInfo(kLog).size(), before);
        QSemaphore held;
        QSemaphore go;
        QVector<qint64> seen;
        const auto post = [&](const std::function<void()>& call) { QMetaObject::invokeMethod(&there, call); };
        const auto look = [&] { seen += QFileInfo(kLog).size() - before; };
        post([&] {
            held.release();
            go.acquire();
        });
        held.acquire();
        post(look);
        put();
        put();
        post(look);
        put();
        post(look);
        put();
        post([&] { there.moveToThread(nullptr); });
        go.release();
        agent.StopLogging();
        QCOMPARE(seen, (QVector<qint64>{0, 2 * size, 3 * size}));
        QCOMPARE(QFileInfo(kLog).size(), before + 4 * size);
    }

    void batchesAreLookedForAgainAfterARest()
    {
        Agent agent;
        agent.SetLoggerFileName(kLog);
        const QByteArray batch = QByteArray(5000, 'x') + '\n';
        for (int burst = 1; burst <= 3; ++burst) {
            for (int i = 0; i < 5; ++i)
                Q_EMIT agent.logMessage(batch);
            QTRY_COMPARE(QFileInfo(kLog).size(), qint64(5 * burst * batch.size())); // looks every 50 ms
        }
        agent.StopLogging();
    }

    void batchOfAnotherSenderIsWrittenToo()
    {
        Agent agent;
        agent.SetLoggerFileName(kLog);
        agent.Say();
        Q_EMIT agent.logMessage("other\n");
        agent.StopLogging();
        Q_EMIT agent.logMessage("late\n");
        QCOMPARE(LogText::Read(kLog), "other\n" + kStamp + "|1|Information|F|m\n");
    }

    void threadEndedByOthersTakesNoMore()
    {
        Agent agent;
        agent.SetLoggerFileName(kLog);
        agent.Thread()->quit();
        QVERIFY(agent.Thread()->wait(10000));
        agent.Say();
        agent.SendBufferToThread();
        agent.StopLogging();
        QCOMPARE(LogText::Read(kLog), QByteArray());
    }

    // It is kept busy just after it was told to stop, beyond the life of the agent.
    void threadThatDoesNotEndIsLeftBehind()
    {
        auto* const agent = new Agent;
        agent->SetLoggerFileName(kLog);
        const QPointer<LoggerWorker> worker = agent->*LoggerAgent_iWorker();
        const QPointer<RegisteredThread> thread = agent->Thread();
        QSemaphore busy;
        QSemaphore release;
        const auto beBusy = [&] {
            busy.release();
            release.acquire();
        };
        connect(agent, &LoggerAgent::stopWorker, [&] {
            QMetaObject::invokeMethod(worker, beBusy, Qt::QueuedConnection);
            busy.acquire();
        });
        QElapsedTimer elapsed;
        elapsed.start();
        agent->StopLogging();
        const qint64 waited = elapsed.elapsed();
        delete agent;
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
        const bool stillThere = thread && thread->isRunning() && worker;
        release.release();
        QVERIFY(stillThere && waited >= 10000);
        QTRY_VERIFY(thread.isNull() && worker.isNull());
    }
};

NEROLT_TEST_MAIN(tst_LoggerAgentThread)

#include "tst_LoggerAgentThread.moc"
