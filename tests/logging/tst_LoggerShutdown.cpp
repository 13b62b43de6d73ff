#include "EntryPoints.h"
#include "support/LogScenario.h"
#include "support/Others.h"
#include "support/StartedLog.h"

#include <NeroltOrvaneBase/RegisteredThread.h>
#include <NeroltOrvaneBase/StackTrace.h>

#include <QtCore/QElapsedTimer>
#include <QtCore/QPointer>
#include <QtTest/QtTest>

#include <atomic>
#include <cstdlib>
#include <thread>
#include <vector>

NEROLT_PRIVATE_STATIC(Logger, iInstance, std::atomic<Logger*>)

using LogScenario::LeftBy;
using StartedLog::kAlwaysOn;
using StartedLog::kLog;
using StartedLog::Start;
using TestSupport::RunScenario;
using TestSupport::Scenario;
using Lines = QList<QByteArray>;

namespace {

const QString kMsg = QStringLiteral("m");

const QByteArray kStopping = "|10|Information|Logger::StopLogging|stopping logging file path is app.log";

void WaitForMore(const std::atomic<int>& lines)
{
    for (const int before = lines; lines < before + 1000;)
        QThread::yieldCurrentThread();
}

void LogEverything()
{
    for (const EntryPoint& entryPoint : EntryPoints())
        entryPoint.iCall();
}

// Whether nothing of it has an effect.
bool UseEverything()
{
    LogEverything();
    Logger& logger = *Logger::GetInstance();
    Logger::SetErrorReporter(nullptr);
    Logger::SetStackTrace(true);
    logger.SetLevel(63);
    Logger::SetLoggerFileName(QStringLiteral("other.log"), false);
    Logger::SetLoggerFileName(QStringLiteral("other.log"), true);
    Logger::StopLogging();
    LogEverything();
    return !StackTrace::TraceCode().isEmpty() && !Logger::ResetLoggingLevel(63) && logger.GetLevel() == 0
        && Logger::GetLoggerFileName().isEmpty() && !logger.LoggingEnabled(LoggerDefs::LogValues(0))
        && !logger.LoggingEnabled(LoggerDefs::Error) && !logger.TraceLoggingEnabled() && !Logger::LoggingEnabledTrace()
        && Logger::StackLoggingEnabled();
}

const Scenario stop("stop", [](const QStringList& arguments) {
    const QPointer<LoggerAgent> agent = (Logger::GetInstance()->*Logger_iAgent()).load();
    if (arguments.contains("started"))
        Start();
    Logger::StopLogging();
    return agent.isNull() && UseEverything() ? 0 : 1;
});

const Scenario cleanup("cleanup", [](const QStringList& arguments) {
    if (arguments.contains("stopped"))
        Logger::StopLogging();
    else
        Start();
    const Logger* const logger = Logger::GetInstance();
    Logger::LogWarning("F", kMsg);
    Logger::Cleanup();
    const bool isKept = Logger::GetInstance() == logger && UseEverything();
    Logger::Cleanup();
    return isKept ? 0 : 1;
});

const Scenario cleanupUnused("cleanupUnused", [](const QStringList&) {
    Logger::Cleanup();
    return Logger_iInstance() ? 1 : 0;
});

const Scenario stopWhileOthersLog("stopWhileOthersLog", [](const QStringList&) {
    Start();
    std::atomic<int> lines{0};
    const Others others(4, [&lines](int thread, int number) {
        const QString msg = QStringLiteral("%1 %2").arg(thread).arg(number);
        if (thread % 2 == 0)
            Logger::LogInformation("F", msg);
        else
            Logger::LogWarning("F", msg);
        ++lines;
    });
    WaitForMore(lines);
    Logger::StopLogging();
    WaitForMore(lines);
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
    Logger::GetInstance()->SetLevel(kAlwaysOn | LoggerDefs::Trace | LoggerDefs::Debug);
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
    Logger::GetInstance()->SetLevel(kAlwaysOn);
    Logger::SetLoggerFileName(kLog, false);
    Logger::ResetLoggingLevel(kAlwaysOn);
    // The thread is up when its first line has arrived: Qt does not bear one that starts while the process ends.
    if (!QTest::qWaitFor([] { return !LogText::Read(kLog).isEmpty(); }))
        return 1;
    static struct LogsAtTheEnd
    {
        ~LogsAtTheEnd() { LogEverything(); }
    } logsAtTheEnd;
    std::atexit(LogEverything);
    if (arguments.contains("after cleanup"))
        Logger::Cleanup();
    if (arguments.contains("after the stop"))
        Logger::StopLogging();
    return 0;
});

const Scenario threadOutlivesMain("threadOutlivesMain", [](const QStringList&) {
    Start();
    static std::atomic<int> lines{0};
    std::thread([] {
        for (;; ++lines) {
            Logger::LogInformation("F", kMsg);
            Logger::LogWarning("F", kMsg);
        }
    }).detach();
    WaitForMore(lines);
    Logger::Cleanup();
    WaitForMore(lines);
    return 0;
});

// Listing threads and changing files do not wait for each other.
const Scenario lockOrder("lockOrder", [](const QStringList&) {
    Logger::GetInstance()->SetLevel(LoggerDefs::Warning);
    const Others lister(1, [](int, int) {
        RegisteredThread::LogThreads();
        RegisteredThread thread(nullptr, QStringLiteral("short life"));
        thread.start();
        thread.quit();
        thread.wait();
    });
    for (int i = 0; i < 50; ++i)
        Logger::SetLoggerFileName(QStringLiteral("%1.log").arg(i % 3), true);
    Logger::StopLogging();
    return 0;
});

} // namespace

class tst_LoggerShutdown : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void end_data()
    {
        QTest::addColumn<QString>("scenario");
        QTest::addColumn<QString>("how");
        QTest::addColumn<Lines>("lines");
        const auto row = [](const char* scenario, const char* how, const Lines& lines) {
            QTest::addRow("%s %s", scenario, how) << QString(scenario) << QString(how) << lines;
        };
        const QByteArray reset = "|10|Information|Logger::ResetLoggingLevel|resetting log level 23";
        const QByteArray farewell = "|10|Information|~Logger|stopping logging";
        row("stop", "started", {kStopping});
        row("stop", "not started", {});
        row("cleanup", "started", {"|30|Warning|F|m", farewell});
        row("cleanup", "stopped", {});
        row("cleanupUnused", "", {});
        row("stopOnAnotherThread", "", {"|30|Warning|F|m"});
        row("staticDestructor", "after cleanup", {reset, farewell});
        row("staticDestructor", "after the stop", {reset, kStopping});
        row("staticDestructor", "never stopped", {reset});
        row("lockOrder", "", {});
    }
    void end()
    {
        QFETCH(QString, scenario);
        QFETCH(QString, how);
        const auto result = RunScenario(scenario.toLatin1().constData(), {how});
        QTEST(LeftBy(result), "lines");
        QVERIFY(!result.iFolder.exists(QStringLiteral("other.log")));
    }

    void othersMayLogDuringTheStop()
    {
        Lines lines = LeftBy(RunScenario("stopWhileOthersLog"));
        QVERIFY2(lines.removeOne(kStopping), lines.value(0));
        // What arrived is the beginning of what each thread said, without a gap.
        std::vector<int> next(5, 0);
        for (const QByteArray& line : qAsConst(lines)) {
            const QByteArray thread = line.mid(line.lastIndexOf('|') + 1).split(' ').first();
            const QByteArray head = thread.toInt() % 2 == 0 ? "|10|Information|F|" : "|30|Warning|F|";
            QCOMPARE(line, head + thread + ' ' + QByteArray::number(next.at(thread.toUInt())++));
        }
    }

    void traceOfTheLoggingThreadIsDroppedWhileItStops()
    {
        const auto result = RunScenario("traceWhileStopping");
        const Lines lines = LeftBy(result, QStringLiteral("b.log"));
        QCOMPARE(lines.last(), QByteArray("|10|Information|Logger::StopLogging|stopping logging file path is b.log"));
        for (const QByteArray& line : LeftBy(result) + lines)
            QVERIFY2(!line.contains("RegisteredTimer"), line.constData());
    }

    void threadsMayOutliveMain() { QVERIFY(LeftBy(RunScenario("threadOutlivesMain")).size() > 1000); }
};

NEROLT_TEST_MAIN(tst_LoggerShutdown)

#include "tst_LoggerShutdown.moc"
