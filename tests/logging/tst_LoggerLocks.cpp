#include "EntryPoints.h"
#include "HeldMutex.h"
#include "faults/RunningLog.h"
#include "support/LogScenario.h"
#include "support/Others.h"
#include "support/StartedLog.h"

#include <NeroltOrvaneBase/RegisteredThread.h>

#include <QtCore/QElapsedTimer>
#include <QtCore/QSemaphore>
#include <QtTest/QtTest>

#include <atomic>
#include <cstdio>
#include <stdexcept>
#include <thread>
#include <vector>

NEROLT_PRIVATE(Logger, iMutex, QRecursiveMutex)

using LogScenario::Captured;
using StartedLog::kLog;
using StartedLog::Start;
using TestSupport::RunScenario;
using TestSupport::Scenario;
using Lines = QList<QByteArray>;

namespace {

const QString kMsg = QStringLiteral("m");

void LogError(unsigned int code = 1, const QString& msg = kMsg)
{
    Logger::LogError(code, LoggerDefs::NoExtraInfo, "F", msg, 0, 0);
}

QRecursiveMutex& LoggersMutex()
{
    return Logger::GetInstance()->*Logger_iMutex();
}

const Lines kAtOnce{"LogInformation",      "Information",       "GetLevel",           "LoggingEnabled",
                    "TraceLoggingEnabled", "GetLoggerFileName", "StackLoggingEnabled"};
const Lines kAfterASecond{"LogDebug", "Debug", "LogTrace", "Trace"};

QList<EntryPoint> AllEntryPoints()
{
    Logger* const logger = Logger::GetInstance();
    return EntryPoints()
        + QList<EntryPoint>{
            {"GetLevel", [=] { logger->GetLevel(); }, {}},
            {"LoggingEnabled", [=] { logger->LoggingEnabled(LoggerDefs::Error); }, {}},
            {"TraceLoggingEnabled", [=] { logger->TraceLoggingEnabled(); }, {}},
            {"GetLoggerFileName", [] { Logger::GetLoggerFileName(); }, {}},
            {"StackLoggingEnabled", [] { Logger::StackLoggingEnabled(); }, {}},
            {"SetErrorReporter", [] { Logger::SetErrorReporter(nullptr); }, {}},
            {"SetStackTrace", [] { Logger::SetStackTrace(true); }, {}},
            {"SetLevel", [=] { logger->SetLevel(63); }, {}},
            {"LoggingEnabledTrace", [] { Logger::LoggingEnabledTrace(); }, {}},
            {"ResetLoggingLevel", [] { Logger::ResetLoggingLevel(63); }, {}},
            {"SetLoggerFileName", [] { Logger::SetLoggerFileName(kLog, false); }, {}},
            {"StopLogging", [] { Logger::StopLogging(); }, {}},
        };
}

// Calls every entry point on a thread of its own while the mutex is held, and prints what became of each.
const Scenario whileLocked("whileLocked", [](const QStringList&) {
    Logger::GetInstance()->SetLevel(63);
    const QList<EntryPoint> entryPoints = AllEntryPoints();
    std::vector<std::atomic<qint64>> waited(size_t(entryPoints.size()));
    std::vector<std::thread> callers;
    QSemaphore returned;
    {
        const HeldMutex held(LoggersMutex());
        QElapsedTimer elapsed;
        elapsed.start();
        for (int i = 0; i < entryPoints.size(); ++i) {
            waited[size_t(i)] = -1;
            callers.emplace_back([&, elapsed, i] {
                entryPoints[i].iCall();
                waited[size_t(i)] = elapsed.elapsed();
                returned.release();
            });
        }
        returned.acquire(int(kAtOnce.size() + kAfterASecond.size()));
        for (int i = 0; i < entryPoints.size(); ++i) {
            const qint64 msecs = waited[size_t(i)];
            std::printf("%s: %s\n", entryPoints[i].iName,
                        msecs < 0          ? "waits"
                            : msecs < 1000 ? "at once"
                                           : "after a second");
        }
    }
    for (std::thread& caller : callers)
        caller.join();
    return 0;
});

const Scenario pathLinesBeforeTheLock("pathLinesBeforeTheLock", [](const QStringList&) {
    Start();
    Lines lines;
    {
        Captured log(LoggerDefs::Information);
        std::thread changer;
        {
            const HeldMutex held(LoggersMutex());
            changer = std::thread([] { Logger::SetLoggerFileName(QStringLiteral("b.log"), true); });
            while (lines.size() < 2)
                lines += log.Lines();
        }
        changer.join();
    }
    Logger::StopLogging();
    const QByteArray head = "|10|Information|Logger::SetLoggerFileName|";
    return lines == Lines{head + "Existing path is app.log", head + "New path is b.log"} ? 0 : 1;
});

// Does what needs the list of threads, while others have the list and wait for the log.
const Scenario reporterIsBusy("reporterIsBusy", [](const QStringList& arguments) {
    const QString what = arguments[0];
    const Reporter reporter([&what](const QString& code, const QString&) {
        if (what == QLatin1String("nested") && code == QLatin1String("1"))
            return LogError(2);
        RegisteredThread::LogThreads();
        const RegisteredThread thread(nullptr, QStringLiteral("of the reporter"));
        if (what == QLatin1String("file"))
            Logger::SetLoggerFileName(kLog, true);
        if (what == QLatin1String("stop"))
            Logger::StopLogging();
        if (what == QLatin1String("clean up"))
            Logger::Cleanup();
    });
    Start();
    std::atomic<int> listed{0};
    const Others others(2, [&listed](int, int) {
        const RegisteredThread thread(nullptr, QStringLiteral("of another"));
        RegisteredThread::LogThreads();
        ++listed;
    });
    // Until the others have listed theirs a hundred times meanwhile.
    for (int i = 0; i < 200 || listed < 100; ++i)
        LogError();
    return 0;
});

// There is never more than one report at a time, and none any more when the reporter was taken away.
const Scenario reporterIsTakenAway("reporterIsTakenAway", [](const QStringList&) {
    Start();
    std::atomic<int> busy{0};
    std::atomic<int> broken{0};
    const Others others(4, [](int thread, int) { thread % 2 == 0 ? RegisteredThread::LogThreads() : LogError(); });
    for (int i = 0; i < 300; ++i) {
        std::atomic<bool> isSet{true};
        const Reporter reporter([&](const QString&, const QString&) {
            broken += busy++ != 0 || !isSet ? 1 : 0;
            RegisteredThread::LogThreads();
            broken += isSet ? 0 : 1;
            --busy;
        });
        LogError();
        if (i == 299)
            Logger::StopLogging();
        else
            Logger::SetErrorReporter(nullptr);
        isSet = false;
    }
    return broken.load();
});

// A disk that stands still holds up the change of the log's file, or its stop, and not those who make threads
// meanwhile.
const Scenario diskStands("diskStands", [](const QStringList& arguments) {
    Start();
    std::thread waits;
    RunningLog::WhileTheWriterStandsStill([&] {
        waits = std::thread([&arguments] {
            if (arguments[0] == QLatin1String("change"))
                Logger::SetLoggerFileName(QStringLiteral("b.log"), true);
            else
                Logger::StopLogging();
        });
        while (LoggersMutex().tryLock()) {
            LoggersMutex().unlock();
            QThread::yieldCurrentThread();
        }
        const RegisteredThread thread(nullptr, QStringLiteral("worker"));
    });
    waits.join();
    return 0;
});

const Scenario reporterStops("reporterStops", [](const QStringList&) {
    const Reporter reporter([](const QString&, const QString&) { Logger::StopLogging(); });
    Logger::GetInstance()->SetLevel(LoggerDefs::Error);
    Logger::SetLoggerFileName(kLog, false);
    LogError(1);
    LogError(2);
    return Logger::GetInstance()->GetLevel();
});

} // namespace

class tst_LoggerLocks : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void whoWaitsForTheMutex()
    {
        Lines expected;
        for (const EntryPoint& entryPoint : AllEntryPoints())
            expected += entryPoint.iName
                + QByteArray(kAtOnce.contains(entryPoint.iName)             ? ": at once"
                                 : kAfterASecond.contains(entryPoint.iName) ? ": after a second"
                                                                            : ": waits");
        const auto result = RunScenario("whileLocked");
        QVERIFY2(result.IsOk(), result.Describe().constData());
        QCOMPARE(LogText::Lines(result.iStdout), expected);
    }

    void whatIsDroppedAndWhatIsKept()
    {
        Captured log;
        std::thread warner;
        {
            const HeldMutex held(LoggersMutex());
            warner = std::thread([] { Logger::LogWarning("F", QStringLiteral("waited")); });
            std::thread debugger([] { Logger::LogDebug("F", QStringLiteral("dropped")); });
            Logger::LogTrace("F", QStringLiteral("dropped"));
            debugger.join();
            Logger::LogInformation("F", QStringLiteral("at once"));
            // Threads are made while the log is locked.
            const RegisteredThread thread(nullptr, QStringLiteral("worker"));
        }
        warner.join();
        Logger::LogDebug("F", QStringLiteral("kept"));
        QCOMPARE(log.Lines(), (Lines{"|10|Information|F|at once", "|30|Warning|F|waited", "|20|Debug|F|kept"}));
    }

    void reporterMayLog()
    {
        int depth = 0;
        const Reporter reporter([&depth](const QString& errorCode, const QString& message) {
            Logger::LogInformation("Reporter", errorCode);
            Logger::LogDebug("Reporter", message);
            Logger::LogTrace("Reporter", message);
            Logger::LogWarning("Reporter", message);
            if (depth++ < 2)
                LogError(unsigned(200 + depth), message);
            Logger::GetInstance()->SetLevel(Logger::GetInstance()->GetLevel());
        });
        Lines expected;
        for (const char* const code : {"200", "201", "202"}) {
            expected += Lines{QByteArray("|") + code + "|Error|F|m", QByteArray("|10|Information|Reporter|") + code,
                              "|20|Debug|Reporter|m", "|25|Trace|Reporter|m", "|30|Warning|Reporter|m"};
        }
        QCOMPARE(LogScenario::LoggedBy([] { LogError(200); }), expected);
    }

    void whatAReporterThrowsIsSwallowed()
    {
        const Reporter reporter([](const QString&, const QString&) { throw std::runtime_error("a host's mistake"); });
        for (const EntryPoint& entryPoint : EntryPoints())
            QCOMPARE(LogScenario::LoggedBy(entryPoint.iCall), Lines{entryPoint.iLine});
        std::thread([] { LogError(); }).join(); // the mutex is free again
    }

    void nobodyWaitsForEver_data()
    {
        QTest::addColumn<QString>("scenario");
        QTest::addColumn<QString>("what");
        const auto row = [](const char* name, const char* scenario, const char* what = "") {
            QTest::addRow("%s: %s", name, what) << QString(scenario) << QString(what);
        };
        for (const char* what : {"threads", "nested", "file", "stop", "clean up"})
            row("reporter does anything while others list threads", "reporterIsBusy", what);
        row("path lines come before the lock", "pathLinesBeforeTheLock");
        row("reporter is alone, and gone when it was taken away", "reporterIsTakenAway");
        for (const char* what : {"change", "stop"})
            row("threads are made while the disk stands", "diskStands", what);
    }
    void nobodyWaitsForEver()
    {
        QFETCH(QString, scenario);
        QFETCH(QString, what);
        const auto result = RunScenario(scenario.toLatin1().constData(), {what});
        QVERIFY2(result.IsOk(), result.Describe().constData());
    }

    void reporterMayStopTheLog() { QCOMPARE(LogScenario::LeftBy(RunScenario("reporterStops")), Lines{"|1|Error|F|m"}); }
};

NEROLT_TEST_MAIN(tst_LoggerLocks)

#include "tst_LoggerLocks.moc"
