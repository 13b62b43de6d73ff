#include "support/LogText.h"
#include "support/PrivateAccess.h"
#include "support/TestMain.h"

#include <NeroltOrvaneBase/FileUtilities.h>
#include <NeroltOrvaneBase/IErrorReporter.h>
#include <NeroltOrvaneBase/Logger.h>
#include <NeroltOrvaneBase/LoggerAgent.h>
#include <NeroltOrvaneBase/RegisteredThread.h>

#include <QtCore/QElapsedTimer>
#include <QtCore/QFile>
#include <QtCore/QPointer>
#include <QtTest/QtTest>

#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <sys/stat.h>
#include <thread>
#include <vector>

NEROLT_PRIVATE(Logger, iAgent, std::atomic<LoggerAgent*>)
NEROLT_PRIVATE_STATIC(Logger, iInstance, std::atomic<Logger*>)

using TestSupport::Scenario;

namespace {

const QString kLog = QStringLiteral("app.log");
const QString kMsg = QStringLiteral("m");
constexpr int kLevels = LoggerDefs::Information | LoggerDefs::Error | LoggerDefs::Warning | LoggerDefs::Exception;

const QByteArray kStopping = "|10|Information|Logger::StopLogging|stopping logging file path is app.log";

void LogEverything()
{
    Logger::LogInformation("F", kMsg);
    Logger::LogDebug("F", kMsg);
    Logger::LogTrace("F", kMsg);
    Logger::LogWarning("F", kMsg);
    Logger::LogError(1, LoggerDefs::NoExtraInfo, "F", kMsg, 1, 2);
    Logger::LogError(1, LoggerDefs::NoExtraInfo, "F", kMsg, kMsg);
    Logger::LogError(1, LoggerDefs::NoExtraInfo, 1U, 2U, "F", kMsg);
    Logger::LogException(1, "F", kMsg, 2);
    Logger::LogUnknownException(1, "F");
}

void ChangeEverything()
{
    Logger::SetErrorReporter(nullptr);
    Logger::SetStackTrace(true);
    Logger::GetInstance()->SetLevel(63);
    Logger::ResetLoggingLevel(63);
    Logger::LoggingEnabledTrace();
    Logger::SetLoggerFileName(QStringLiteral("other.log"), false);
    Logger::SetLoggerFileName(QStringLiteral("other.log"), true);
    Logger::StopLogging();
    Logger::GetLoggerFileName();
}

const Scenario afterStop("afterStop", [](const QStringList&) {
    Logger::GetInstance()->SetLevel(kLevels);
    Logger::SetLoggerFileName(kLog, false);
    const QPointer<LoggerAgent> agent = (Logger::GetInstance()->*Logger_iAgent()).load();
    Logger::StopLogging();
    const Logger* const logger = Logger::GetInstance();
    const bool agentIsGone = agent.isNull() && !(logger->*Logger_iAgent()).load();
    LogEverything();
    ChangeEverything();
    LogEverything();
    return agentIsGone && logger->GetLevel() == 0 && Logger_iInstance() == logger
            && Logger::GetLoggerFileName().isEmpty()
        ? 0
        : 1;
});

const Scenario stopWithoutStart("stopWithoutStart", [](const QStringList&) {
    Logger::StopLogging();
    ChangeEverything();
    LogEverything();
    return Logger::GetInstance()->GetLevel();
});

const Scenario cleanup("cleanup", [](const QStringList& arguments) {
    if (arguments.contains(QStringLiteral("stopped")))
        Logger::StopLogging();
    Logger::GetInstance()->SetLevel(kLevels);
    if (!arguments.contains(QStringLiteral("stopped")))
        Logger::SetLoggerFileName(kLog, false);
    const Logger* const logger = Logger::GetInstance();
    Logger::LogWarning("F", kMsg);
    Logger::Cleanup();
    if (Logger::GetInstance() != logger || logger->GetLevel() != 0)
        return 1;
    LogEverything();
    ChangeEverything();
    Logger::Cleanup();
    return 0;
});

const Scenario cleanupUnused("cleanupUnused", [](const QStringList&) {
    Logger::Cleanup();
    return Logger_iInstance() ? 1 : 0;
});

const Scenario stopWhileOthersLog("stopWhileOthersLog", [](const QStringList&) {
    Logger::GetInstance()->SetLevel(kLevels);
    Logger::SetLoggerFileName(kLog, false);
    std::atomic<bool> end{false};
    std::vector<std::thread> callers;
    for (int t = 0; t < 4; ++t) {
        callers.emplace_back([&end, t] {
            for (int i = 0; !end; ++i) {
                const QString msg = QStringLiteral("%1 %2").arg(t).arg(i);
                if (t % 2 == 0)
                    Logger::LogInformation("F", msg);
                else
                    Logger::LogWarning("F", msg);
            }
        });
    }
    QThread::msleep(50);
    Logger::StopLogging();
    QThread::msleep(20);
    end = true;
    for (std::thread& caller : callers)
        caller.join();
    return 0;
});

const Scenario stopOnAnotherThread("stopOnAnotherThread", [](const QStringList&) {
    Logger::GetInstance()->SetLevel(LoggerDefs::Warning);
    const QPointer<LoggerAgent> agent = (Logger::GetInstance()->*Logger_iAgent()).load();
    std::thread([] { Logger::SetLoggerFileName(kLog, false); }).join();
    Logger::LogWarning("F", kMsg);
    std::thread([] { Logger::StopLogging(); }).join();
    QCoreApplication::processEvents();
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    return agent.isNull() ? 0 : 1;
});

// What the logging thread says about its timers while a change of files waits for it cannot be said: the change holds
// the mutex. After the agent was taken out it is not even tried.
const Scenario traceWhileStopping("traceWhileStopping", [](const QStringList&) {
    Logger::GetInstance()->SetLevel(kLevels | LoggerDefs::Trace | LoggerDefs::Debug);
    Logger::SetLoggerFileName(kLog, false);
    Logger::LogWarning("F", kMsg);
    QElapsedTimer elapsed;
    elapsed.start();
    Logger::SetLoggerFileName(QStringLiteral("b.log"), true);
    const bool changeWaited = elapsed.elapsed() >= 1000;
    Logger::StopLogging();
    return changeWaited ? 0 : 1;
});

const Scenario staticDestructor("staticDestructor", [](const QStringList& arguments) {
    Logger::GetInstance()->SetLevel(kLevels);
    Logger::SetLoggerFileName(kLog, false);
    Logger::ResetLoggingLevel(kLevels);
    // The thread is up when its first line has arrived: Qt does not bear one that starts while the process ends.
    if (!QTest::qWaitFor([] { return !LogText::Read(kLog).isEmpty(); }))
        return 1;
    static struct LogsAtTheEnd
    {
        ~LogsAtTheEnd() { LogEverything(); }
    } logsAtTheEnd;
    std::atexit(LogEverything);
    if (arguments.contains(QStringLiteral("cleanup")))
        Logger::Cleanup();
    if (arguments.contains(QStringLiteral("stop")))
        Logger::StopLogging();
    return 0;
});

const Scenario threadOutlivesMain("threadOutlivesMain", [](const QStringList& arguments) {
    Logger::GetInstance()->SetLevel(kLevels);
    Logger::SetLoggerFileName(kLog, false);
    static std::atomic<int> lines{0};
    std::thread([] {
        for (;;) {
            Logger::LogInformation("F", kMsg);
            Logger::LogWarning("F", kMsg);
            ++lines;
        }
    }).detach();
    while (lines < 1000)
        QThread::yieldCurrentThread();
    if (arguments.contains(QStringLiteral("cleanup")))
        Logger::Cleanup();
    else
        Logger::StopLogging();
    const int atStop = lines;
    while (lines < atStop + 1000)
        QThread::yieldCurrentThread();
    return 0;
});

// A pipe in the log's place that nobody reads from, and one that nobody reads fast enough.
const Scenario pipeInTheLogsPlace("pipeInTheLogsPlace", [](const QStringList&) {
    if (::mkfifo("app.log", 0600) != 0)
        return 1;
    Logger::GetInstance()->SetLevel(LoggerDefs::Warning);
    Logger::SetLoggerFileName(kLog, false);
    for (int i = 0; i < 1000; ++i)
        Logger::LogWarning("F", kMsg);
    Logger::StopLogging();
    return 0;
});

const Scenario lockOrder("lockOrder", [](const QStringList&) {
    Logger::GetInstance()->SetLevel(LoggerDefs::Warning);
    std::atomic<bool> end{false};
    std::thread lister([&end] {
        while (!end) {
            RegisteredThread::LogThreads();
            RegisteredThread thread(nullptr, QStringLiteral("short life"));
            thread.start();
            thread.quit();
            thread.wait();
        }
    });
    for (int i = 0; i < 50; ++i)
        Logger::SetLoggerFileName(QStringLiteral("%1.log").arg(i % 3), true);
    Logger::StopLogging();
    end = true;
    lister.join();
    return 0;
});

} // namespace

class tst_LoggerShutdown : public QObject
{
    Q_OBJECT

private:
    static QList<QByteArray> Bodies(const TestSupport::ScenarioResult& result, const QString& file = kLog)
    {
        return LogText::Bodies(LogText::Read(result.iFolder.filePath(file)));
    }

private Q_SLOTS:
    void nothingAfterTheStop()
    {
        const auto result = TestSupport::RunScenario("afterStop");
        QVERIFY2(result.IsOk(), result.Describe().constData());
        QCOMPARE(Bodies(result), QList<QByteArray>{kStopping});
        QCOMPARE(result.iFolder.entryList(QDir::Files), QStringList{kLog});
        QCOMPARE(result.iStderr, QByteArray());
    }

    void stopOfALogThatNeverStarted()
    {
        const auto result = TestSupport::RunScenario("stopWithoutStart");
        QVERIFY2(result.IsOk(), result.Describe().constData());
        QVERIFY(result.iFolder.entryList(QDir::Files).isEmpty());
        QCOMPARE(result.iStderr, QByteArray());
    }

    void cleanupStopsAndKeepsThePointer()
    {
        const auto result = TestSupport::RunScenario("cleanup");
        QVERIFY2(result.IsOk(), result.Describe().constData());
        QCOMPARE(Bodies(result), (QList<QByteArray>{"|30|Warning|F|m", "|10|Information|~Logger|stopping logging"}));
        QCOMPARE(result.iFolder.entryList(QDir::Files), QStringList{kLog});
        QCOMPARE(result.iStderr, QByteArray());
    }

    void cleanupAfterTheStop()
    {
        const auto result = TestSupport::RunScenario("cleanup", {QStringLiteral("stopped")});
        QVERIFY2(result.IsOk(), result.Describe().constData());
        QVERIFY(result.iFolder.entryList(QDir::Files).isEmpty());
    }

    void cleanupOfALogThatWasNeverUsed()
    {
        const auto result = TestSupport::RunScenario("cleanupUnused");
        QVERIFY2(result.IsOk(), result.Describe().constData());
    }

    void othersMayLogDuringTheStop()
    {
        const auto result = TestSupport::RunScenario("stopWhileOthersLog");
        QVERIFY2(result.IsOk(), result.Describe().constData());
        // What arrived is the beginning of what each thread said, without a gap.
        std::vector<int> next(4, 0);
        bool hasStopped = false;
        for (const QByteArray& body : Bodies(result)) {
            if (body == kStopping) {
                hasStopped = true;
                continue;
            }
            const int thread = body.mid(body.lastIndexOf('|') + 1).split(' ').first().toInt();
            const QByteArray head = thread % 2 == 0 ? "|10|Information|F|" : "|30|Warning|F|";
            const int line = next.at(size_t(thread))++;
            QCOMPARE(body, head + QByteArray::number(thread) + ' ' + QByteArray::number(line));
        }
        QVERIFY(hasStopped);
        QCOMPARE(result.iStderr, QByteArray());
    }

    void anotherThreadMayStartAndStop()
    {
        const auto result = TestSupport::RunScenario("stopOnAnotherThread");
        QVERIFY2(result.IsOk(), result.Describe().constData());
        QCOMPARE(Bodies(result), QList<QByteArray>{"|30|Warning|F|m"});
        QCOMPARE(result.iStderr, QByteArray());
    }

    void traceOfTheLoggingThreadIsDroppedWhileItStops()
    {
        const auto result = TestSupport::RunScenario("traceWhileStopping");
        QVERIFY2(result.IsOk(), result.Describe().constData());
        const QList<QByteArray> bodies = Bodies(result, QStringLiteral("b.log"));
        QCOMPARE(bodies.last(), QByteArray("|10|Information|Logger::StopLogging|stopping logging file path is b.log"));
        for (const QByteArray& body : Bodies(result) + bodies)
            QVERIFY2(!body.contains("RegisteredTimer"), body.constData());
    }

    void staticDestructorsMayLog_data()
    {
        QTest::addColumn<QString>("end");
        QTest::addColumn<QList<QByteArray>>("bodies");
        const QByteArray first = "|10|Information|Logger::ResetLoggingLevel|resetting log level 23";
        const QByteArray farewell = "|10|Information|~Logger|stopping logging";
        QTest::newRow("after cleanup") << QStringLiteral("cleanup") << QList<QByteArray>{first, farewell};
        QTest::newRow("after the stop") << QStringLiteral("stop") << QList<QByteArray>{first, kStopping};
        QTest::newRow("never stopped") << QString() << QList<QByteArray>{first};
    }
    void staticDestructorsMayLog()
    {
        QFETCH(QString, end);
        const auto result = TestSupport::RunScenario("staticDestructor", {end});
        QVERIFY2(result.IsOk(), result.Describe().constData());
        QTEST(Bodies(result), "bodies");
    }

    void threadsMayOutliveMain_data()
    {
        QTest::addColumn<QString>("end");
        QTest::newRow("after cleanup") << QStringLiteral("cleanup");
        QTest::newRow("after the stop") << QStringLiteral("stop");
    }
    void threadsMayOutliveMain()
    {
        QFETCH(QString, end);
        const auto result = TestSupport::RunScenario("threadOutlivesMain", {end});
        QVERIFY2(result.IsOk(), result.Describe().constData());
        QVERIFY(Bodies(result).size() > 1000);
    }

    void pipeWithoutAReaderHoldsNobodyUp()
    {
        const auto result = TestSupport::RunScenario("pipeInTheLogsPlace");
        QVERIFY2(result.IsOk(), result.Describe().constData());
    }

    void listingThreadsAndChangingFilesDoNotWaitForEachOther()
    {
        const auto result = TestSupport::RunScenario("lockOrder");
        QVERIFY2(result.IsOk(), result.Describe().constData());
    }
};

NEROLT_TEST_MAIN(tst_LoggerShutdown)

#include "tst_LoggerShutdown.moc"
