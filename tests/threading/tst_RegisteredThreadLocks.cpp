#include "support/LogScenario.h"
#include "support/TestMain.h"

#include <NeroltOrvaneBase/RegisteredThread.h>

#include <QtCore/QDeadlineTimer>
#include <QtTest/QtTest>

#include <cstdio>
#include <cstdlib>
#include <memory>
#include <unistd.h>
#include <vector>

using LogScenario::Captured;
using TestSupport::Scenario;
using Lines = QList<QByteArray>;
using ThreadList = QList<RegisteredThread*>;

NEROLT_PRIVATE_STATIC(RegisteredThread, iThreads, ThreadList)
NEROLT_PRIVATE_STATIC(RegisteredThread, iMutex, QRecursiveMutex)

namespace {

class PollingThread : public RegisteredThread
{
public:
    using RegisteredThread::RegisteredThread;

    void run() override
    {
        while (!IsInterrupted())
            yieldCurrentThread();
    }
};

std::unique_ptr<QThread> Started(std::function<void()> work)
{
    std::unique_ptr<QThread> thread(QThread::create(std::move(work)));
    thread->start();
    return thread;
}

// Whether another thread would have to wait for the list.
bool IsListHeld()
{
    bool held = false;
    Started([&held] {
        held = !RegisteredThread_iMutex().tryLock();
        if (!held)
            RegisteredThread_iMutex().unlock();
    })->wait();
    return held;
}

QByteArray LineOf(const QByteArray& name, int running = 0)
{
    return "|30|Warning|RegisteredThread::LogThreads|Thread: " + name + ", running: " + QByteArray::number(running);
}

// The warning is logged under the lock of the list.
const Scenario kDestroyRunning("destroyRunning", [](const QStringList&) -> int {
    Captured log(LoggerDefs::Warning);
    log.iWhenComplete = [] { ::_exit(IsListHeld() ? 0 : 1); };
    auto* const thread = new RegisteredThread(nullptr, QString(LogScenario::kOneBatch, QLatin1Char('w')));
    thread->start();
    delete thread;
    return 2;
});

// One thread uses the list and, through it, the log; the other uses the log and, through it, the list.
const Scenario kRestartTheLog("restartTheLog", [](const QStringList&) {
    Logger::GetInstance()->SetLevel(LoggerDefs::Warning);
    std::atomic<bool> stop{false};
    const auto lister = Started([&stop] {
        while (!stop)
            RegisteredThread::LogThreads();
    });
    for (int i = 0; i < 60; ++i)
        Logger::SetLoggerFileName(QStringLiteral("app-%1.log").arg(i), true);
    stop = true;
    return lister->wait() ? 0 : 1;
});

// Arguments: what ends the log. Meanwhile, when the line that the log itself writes completes a batch, another thread
// has the list and wants the log.
const Scenario kListWhileTheLogEnds("listWhileTheLogEnds", [](const QStringList& arguments) -> int {
    const bool isChange = arguments[0] == QLatin1String("change");
    Logger::SetLoggerFileName(QStringLiteral("app.log"), false);
    Captured log(LoggerDefs::Warning | (isChange ? LoggerDefs::Debug : LoggerDefs::Information));
    Logger::LogWarning("filler", QString(LogScenario::kOneBatch - 100, QLatin1Char('f')));
    std::unique_ptr<QThread> lister;
    log.iWhenComplete = [&lister] {
        if (lister)
            return;
        lister = Started([] { RegisteredThread::LogThreads(); });
        const QDeadlineTimer deadline(10000);
        while (!lister->isFinished() && !IsListHeld() && !deadline.hasExpired())
            QThread::yieldCurrentThread();
    };
    if (isChange)
        Logger::SetLoggerFileName(QStringLiteral("second.log"), true);
    else if (arguments[0] == QLatin1String("stop"))
        Logger::StopLogging();
    else
        Logger::Cleanup();
    const bool listed = lister && lister->wait();
    std::fflush(nullptr);
    ::_exit(listed ? 0 : 1);
});

// A second owner of the list's data: it is shared as long as the list itself exists.
const ThreadList* gCopy = nullptr;

void ReportTheList(const char* when)
{
    std::printf("%s, list %s\n", when, gCopy->isDetached() ? "gone" : "alive");
    std::fflush(stdout);
}

// The framework complains when it destroys a locked mutex.
const Scenario kExitWithTheListLocked("exitWithTheListLocked", [](const QStringList&) {
    static const RegisteredThread* const left = new RegisteredThread(nullptr, QStringLiteral("left"));
    gCopy = new ThreadList(RegisteredThread_iThreads());
    RegisteredThread_iMutex().lock();
    qInstallMessageHandler([](QtMsgType, const QMessageLogContext&, const QString& msg) {
        ReportTheList(msg.toLatin1().constData());
        std::atexit([] { ReportTheList("at last"); });
    });
    return gCopy->first() == left ? 0 : 1;
});

} // namespace

/// The list of threads, its lock, and the log's locks.
class tst_RegisteredThreadLocks : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void theWalkHoldsTheListAndACopyOfIt()
    {
        const RegisteredThread first(nullptr, QString(LogScenario::kOneBatch, QLatin1Char('1')));
        const RegisteredThread second(nullptr, QStringLiteral("second"));
        std::unique_ptr<RegisteredThread> late;
        bool wasHeld = false;
        Captured log(LoggerDefs::Warning);
        log.iWhenComplete = [&] {
            wasHeld = IsListHeld();
            late = std::make_unique<RegisteredThread>(nullptr, QStringLiteral("late"));
        };
        RegisteredThread::LogThreads();
        QCOMPARE(log.Lines(), (Lines{LineOf(QByteArray(LogScenario::kOneBatch, '1')), LineOf("second")}));
        QVERIFY(wasHeld);
        QVERIFY(!IsListHeld());
        log.iWhenComplete = nullptr;
        RegisteredThread::LogThreads();
        QCOMPARE(log.Lines().last(), LineOf("late"));
    }

    // This tests the wait.
    void constructionWaitsForTheList()
    {
        std::unique_ptr<RegisteredThread> thread;
        RegisteredThread_iMutex().lock();
        const auto builder = Started([&thread] { thread = std::make_unique<RegisteredThread>(nullptr, QString()); });
        const bool ended = builder->wait(100);
        RegisteredThread_iMutex().unlock();
        QVERIFY(builder->wait());
        QVERIFY(!ended);
        QCOMPARE(RegisteredThread_iThreads(), ThreadList{thread.get()});
    }

    void manyThreadsAtOnce()
    {
        std::vector<std::unique_ptr<QThread>> builders;
        for (int i = 0; i < 8; ++i) {
            builders.push_back(Started([] {
                auto before = std::make_unique<RegisteredThread>(nullptr, QStringLiteral("before"));
                for (int k = 0; k < 500; ++k) {
                    auto next = std::make_unique<RegisteredThread>(nullptr, QString::number(k));
                    before = std::move(next);
                }
            }));
        }
        for (const auto& builder : builders)
            QVERIFY(builder->wait());
    }

    void theThreadSeesTheFlagWithoutALock()
    {
        PollingThread thread(nullptr, QStringLiteral("worker"));
        thread.start();
        const std::lock_guard<QRecursiveMutex> list(RegisteredThread_iMutex());
        const auto other = Started([&] { thread.SetInterrupted(); });
        QVERIFY(other->wait());
        QVERIFY(thread.wait());
    }

    void theListAndTheLogDoNotWaitForEachOther_data()
    {
        QTest::addColumn<QByteArray>("scenario");
        QTest::addColumn<QString>("end");
        QTest::newRow("destroyed while running") << QByteArray("destroyRunning") << QString();
        QTest::newRow("restart") << QByteArray("restartTheLog") << QString();
        for (const char* const end : {"change", "stop", "clean up"})
            QTest::newRow(end) << QByteArray("listWhileTheLogEnds") << QString::fromLatin1(end);
    }
    void theListAndTheLogDoNotWaitForEachOther()
    {
        QFETCH(QByteArray, scenario);
        QFETCH(QString, end);
        const auto result = TestSupport::RunScenario(scenario.constData(), {end});
        QVERIFY2(result.IsOk(), result.Describe().constData());
    }

    void theListOutlivesTheMutex()
    {
        const auto result = TestSupport::RunScenario("exitWithTheListLocked");
        QVERIFY2(result.IsOk(), result.Describe().constData());
        QCOMPARE(result.iStdout, QByteArray("QMutex: destroying locked mutex, list alive\nat last, list gone\n"));
    }
};

NEROLT_TEST_MAIN(tst_RegisteredThreadLocks)

#include "tst_RegisteredThreadLocks.moc"
