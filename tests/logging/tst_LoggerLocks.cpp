#include "faults/RunningLog.h"
#include "support/LogText.h"
#include "support/PrivateAccess.h"
#include "support/TestMain.h"

#include <NeroltOrvaneBase/IErrorReporter.h>
#include <NeroltOrvaneBase/Logger.h>
#include <NeroltOrvaneBase/RegisteredThread.h>

#include <QtCore/QElapsedTimer>
#include <QtCore/QSemaphore>
#include <QtTest/QtTest>

#include <atomic>
#include <cstdio>
#include <functional>
#include <stdexcept>
#include <thread>
#include <vector>

NEROLT_PRIVATE(Logger, iMutex, QMutex)

using TestSupport::Scenario;

namespace {

const QString kLog = QStringLiteral("app.log");
const QString kMsg = QStringLiteral("m");
constexpr int kLevels = LoggerDefs::Information | LoggerDefs::Error | LoggerDefs::Warning | LoggerDefs::Exception;

class NullReporter final : public IErrorReporter
{
public:
    void ReportError(const QString&, const QString&) override { }
};

struct EntryPoint
{
    const char* iName;
    std::function<void()> iCall;
};

QList<EntryPoint> EntryPoints()
{
    Logger* const logger = Logger::GetInstance();
    static NullReporter reporter;
    return {
        {"LogInformation", [] { Logger::LogInformation("F", kMsg); }},
        {"Information", [=] { logger->Information("F", kMsg); }},
        {"GetLevel", [=] { logger->GetLevel(); }},
        {"LoggingEnabled", [=] { logger->LoggingEnabled(LoggerDefs::Error); }},
        {"TraceLoggingEnabled", [=] { logger->TraceLoggingEnabled(); }},
        {"GetLoggerFileName", [] { Logger::GetLoggerFileName(); }},
        {"StackLoggingEnabled", [] { Logger::StackLoggingEnabled(); }},
        {"LogDebug", [] { Logger::LogDebug("F", kMsg); }},
        {"Debug", [=] { logger->Debug("F", kMsg); }},
        {"LogTrace", [] { Logger::LogTrace("F", kMsg); }},
        {"Trace", [=] { logger->Trace("F", kMsg); }},
        {"LogWarning", [] { Logger::LogWarning("F", kMsg); }},
        {"Warning", [=] { logger->Warning("F", kMsg); }},
        {"LogError ints", [] { Logger::LogError(1, LoggerDefs::NoExtraInfo, "F", kMsg, 1, 2); }},
        {"Error ints", [=] { logger->Error(1, LoggerDefs::NoExtraInfo, "F", kMsg, 1, 2); }},
        {"LogError text", [] { Logger::LogError(1, LoggerDefs::NoExtraInfo, "F", kMsg, kMsg); }},
        {"Error text", [=] { logger->Error(1, LoggerDefs::NoExtraInfo, "F", kMsg, kMsg); }},
        {"LogError unsigned", [] { Logger::LogError(1, LoggerDefs::NoExtraInfo, 1U, 2U, "F", kMsg); }},
        {"Error unsigned", [=] { logger->Error(1, LoggerDefs::NoExtraInfo, 1U, 2U, "F", kMsg); }},
        {"LogException", [] { Logger::LogException(1, "F", kMsg, 2); }},
        {"Exception", [=] { logger->Exception(1, "F", kMsg, 2); }},
        {"LogUnknownException", [] { Logger::LogUnknownException(1, "F"); }},
        {"UnknownException", [=] { logger->UnknownException(1, "F"); }},
        {"SetErrorReporter", [] { Logger::SetErrorReporter(&reporter); }},
        {"SetStackTrace", [] { Logger::SetStackTrace(true); }},
        {"SetLevel", [=] { logger->SetLevel(63); }},
        {"LoggingEnabledTrace", [] { Logger::LoggingEnabledTrace(); }},
        {"ResetLoggingLevel", [] { Logger::ResetLoggingLevel(63); }},
        {"SetLoggerFileName", [] { Logger::SetLoggerFileName(kLog, false); }},
        {"StopLogging", [] { Logger::StopLogging(); }},
    };
}

// Holds the logger's mutex for a while on a thread of its own, with an entry point called meanwhile on another.
class Contention
{
public:
    Contention()
        : iHolder([this] { Hold(); })
    {
        iHeld.acquire();
    }
    Q_DISABLE_COPY(Contention)
    ~Contention()
    {
        Release();
        iHolder.join();
    }

    void Release()
    {
        if (!iReleased.exchange(true))
            iRelease.release();
    }

private:
    void Hold()
    {
        const QMutexLocker lock(&(Logger::GetInstance()->*Logger_iMutex()));
        iHeld.release();
        iRelease.acquire();
    }

    QSemaphore iHeld;
    QSemaphore iRelease;
    std::atomic<bool> iReleased{false};
    std::thread iHolder;
};

// Calls every entry point on a thread of its own while the mutex is held, and prints what became of each.
const Scenario whileLocked("whileLocked", [](const QStringList&) {
    constexpr qint64 waitsMs = 2500;
    Logger::GetInstance()->SetLevel(63);
    const QList<EntryPoint> entries = EntryPoints();
    std::vector<std::atomic<qint64>> returned(size_t(entries.size()));
    std::vector<std::thread> callers;
    Contention contention;
    QElapsedTimer elapsed;
    elapsed.start();
    for (int i = 0; i < entries.size(); ++i) {
        callers.emplace_back([&, i] {
            entries[i].iCall();
            returned[size_t(i)] = elapsed.elapsed();
        });
    }
    QThread::msleep(waitsMs);
    contention.Release();
    for (std::thread& caller : callers)
        caller.join();
    for (int i = 0; i < entries.size(); ++i) {
        const qint64 msecs = returned[size_t(i)];
        std::printf("%s: %s\n", entries[i].iName,
                    msecs >= waitsMs    ? "waits"
                        : msecs >= 1000 ? "after a second"
                                        : "at once");
    }
    return 0;
});

const Scenario droppedAndWaited("droppedAndWaited", [](const QStringList&) {
    Logger::GetInstance()->SetLevel(kLevels);
    Logger::SetLoggerFileName(kLog, false);
    Logger::GetInstance()->SetLevel(63);
    {
        Contention contention;
        QSemaphore waiting;
        std::thread warner([&] {
            waiting.release();
            Logger::LogWarning("F", QStringLiteral("waited"));
        });
        waiting.acquire();
        std::thread debugger([] { Logger::LogDebug("F", QStringLiteral("dropped")); });
        std::thread tracer([] { Logger::LogTrace("F", QStringLiteral("dropped")); });
        debugger.join();
        tracer.join();
        Logger::LogInformation("F", QStringLiteral("at once"));
        contention.Release();
        warner.join();
    }
    Logger::LogDebug("F", QStringLiteral("kept"));
    Logger::GetInstance()->SetLevel(kLevels);
    Logger::StopLogging();
    return 0;
});

const Scenario pathLinesBeforeTheLock("pathLinesBeforeTheLock", [](const QStringList&) {
    Logger::GetInstance()->SetLevel(kLevels);
    Logger::SetLoggerFileName(kLog, false);
    Contention contention;
    std::thread changer([] { Logger::SetLoggerFileName(QStringLiteral("b.log"), true); });
    // Information takes no lock, so it tells how far the other thread has come: two lines before this one.
    QThread::msleep(300);
    Logger::LogInformation("F", QStringLiteral("between"));
    contention.Release();
    changer.join();
    Logger::StopLogging();
    return 0;
});

class LoggingReporter final : public IErrorReporter
{
public:
    void ReportError(const QString& errorCode, const QString& message) override
    {
        Logger::LogInformation("Reporter", errorCode);
        Logger::LogDebug("Reporter", message);
        Logger::LogTrace("Reporter", message);
        Logger::LogWarning("Reporter", message);
        if (iDepth++ < 2)
            Logger::LogError(unsigned(200 + iDepth), LoggerDefs::NoExtraInfo, "Reporter", message, 0, 0);
        Logger::GetInstance()->SetLevel(Logger::GetInstance()->GetLevel());
    }

private:
    int iDepth = 0;
};

const Scenario reporterLogs("reporterLogs", [](const QStringList&) {
    LoggingReporter reporter;
    Logger::GetInstance()->SetLevel(kLevels);
    Logger::SetLoggerFileName(kLog, false);
    Logger::GetInstance()->SetLevel(63);
    Logger::SetErrorReporter(&reporter);
    Logger::LogError(200, LoggerDefs::NoExtraInfo, "F", QStringLiteral("outer"), 0, 0);
    Logger::GetInstance()->SetLevel(LoggerDefs::Error);
    Logger::StopLogging();
    return 0;
});

class ThrowingReporter final : public IErrorReporter
{
public:
    void ReportError(const QString&, const QString&) override { throw std::runtime_error("a host's mistake"); }
};

const Scenario reporterThrows("reporterThrows", [](const QStringList&) {
    ThrowingReporter reporter;
    Logger::SetLoggerFileName(kLog, false);
    Logger::SetErrorReporter(&reporter);
    Logger::LogError(1, LoggerDefs::NoExtraInfo, "F", kMsg, 0, 0);
    Logger::LogException(2, "F", kMsg, 0);
    Logger::LogUnknownException(3, "F");
    // The mutex is free again.
    std::thread([] { Logger::LogError(4, LoggerDefs::NoExtraInfo, 1U, 2U, "F", kMsg); }).join();
    Logger::StopLogging();
    return 0;
});

// Does what needs the list of threads, while others have the list and wait for the log.
class BusyReporter final : public IErrorReporter
{
public:
    explicit BusyReporter(const QString& what)
        : iWhat(what)
    {
    }
    void ReportError(const QString& errorCode, const QString&) override
    {
        if (iWhat == QLatin1String("nested") && errorCode == QLatin1String("1"))
            return Logger::LogError(2, LoggerDefs::NoExtraInfo, "F", kMsg, 0, 0);
        RegisteredThread::LogThreads();
        const RegisteredThread thread(nullptr, QStringLiteral("of the reporter"));
        if (iWhat == QLatin1String("file"))
            Logger::SetLoggerFileName(kLog, true);
        if (iWhat == QLatin1String("stop"))
            Logger::StopLogging();
        if (iWhat == QLatin1String("clean up"))
            Logger::Cleanup();
    }

private:
    const QString iWhat;
};

const Scenario reporterIsBusy("reporterIsBusy", [](const QStringList& arguments) {
    BusyReporter reporter(arguments.value(0));
    Logger::GetInstance()->SetLevel(LoggerDefs::Error | LoggerDefs::Warning);
    Logger::SetLoggerFileName(kLog, false);
    Logger::SetErrorReporter(&reporter);
    std::atomic<bool> end{false};
    std::atomic<int> listed{0};
    std::vector<std::thread> others;
    for (int i = 0; i < 2; ++i) {
        others.emplace_back([&end, &listed] {
            while (!end) {
                const RegisteredThread thread(nullptr, QStringLiteral("of another"));
                RegisteredThread::LogThreads();
                ++listed;
            }
        });
    }
    // Until the others have listed theirs a hundred times meanwhile.
    for (int i = 0; i < 200 || listed < 100; ++i)
        Logger::LogError(1, LoggerDefs::NoExtraInfo, "F", kMsg, 0, 0);
    end = true;
    for (std::thread& other : others)
        other.join();
    Logger::StopLogging();
    return 0;
});

// There is never more than one at a time, and none any more when it was taken away.
class LonelyReporter final : public IErrorReporter
{
public:
    void ReportError(const QString&, const QString&) override
    {
        gBroken += gBusy.fetch_add(1) != 0 || !iIsSet ? 1 : 0;
        RegisteredThread::LogThreads();
        gBroken += !iIsSet ? 1 : 0;
        --gBusy;
    }

    std::atomic<bool> iIsSet{true};
    static inline std::atomic<int> gBusy{0};
    static inline std::atomic<int> gBroken{0};
};

const Scenario reporterIsTakenAway("reporterIsTakenAway", [](const QStringList&) {
    Logger::GetInstance()->SetLevel(kLevels);
    Logger::SetLoggerFileName(kLog, false);
    std::atomic<bool> end{false};
    std::vector<std::thread> others;
    for (int i = 0; i < 4; ++i) {
        others.emplace_back([i, &end] {
            while (!end) {
                if (i % 2 == 0)
                    RegisteredThread::LogThreads();
                else
                    Logger::LogException(1, "F", kMsg, 0);
            }
        });
    }
    for (int i = 0; i < 300; ++i) {
        LonelyReporter reporter;
        Logger::SetErrorReporter(&reporter);
        Logger::LogError(1, LoggerDefs::NoExtraInfo, "F", kMsg, 0, 0);
        if (i == 299)
            Logger::StopLogging();
        else
            Logger::SetErrorReporter(nullptr);
        reporter.iIsSet = false;
    }
    end = true;
    for (std::thread& other : others)
        other.join();
    return LonelyReporter::gBroken.load();
});

// While a reporter takes its time others make threads.
const Scenario reporterIsSlow("reporterIsSlow", [](const QStringList&) {
    Logger::SetLoggerFileName(kLog, false);
    const Contention contention;
    const RegisteredThread thread(nullptr, QStringLiteral("worker"));
    return 0;
});

// A disk that stands still holds up the change of the log's file, or its stop, and not those who make threads
// meanwhile.
const Scenario diskStands("diskStands", [](const QStringList& arguments) {
    Logger::SetLoggerFileName(kLog, false);
    std::thread waits;
    RunningLog::WhileTheWriterStandsStill([&] {
        waits = std::thread([&arguments] {
            if (arguments.value(0) == QLatin1String("change"))
                Logger::SetLoggerFileName(QStringLiteral("b.log"), true);
            else
                Logger::StopLogging();
        });
        QMutex& mutex = Logger::GetInstance()->*Logger_iMutex();
        while (mutex.tryLock()) {
            mutex.unlock();
            QThread::yieldCurrentThread();
        }
        const RegisteredThread thread(nullptr, QStringLiteral("worker"));
    });
    waits.join();
    return 0;
});

class StoppingReporter final : public IErrorReporter
{
public:
    void ReportError(const QString&, const QString&) override { Logger::StopLogging(); }
};

const Scenario reporterStops("reporterStops", [](const QStringList&) {
    StoppingReporter reporter;
    Logger::SetLoggerFileName(kLog, false);
    Logger::SetErrorReporter(&reporter);
    Logger::LogError(1, LoggerDefs::NoExtraInfo, "F", kMsg, 0, 0);
    Logger::LogError(2, LoggerDefs::NoExtraInfo, "F", kMsg, 0, 0);
    return Logger::GetInstance()->GetLevel();
});

} // namespace

class tst_LoggerLocks : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void whoWaitsForTheMutex()
    {
        const QList<QByteArray> atOnce{"LogInformation",     "Information",         "GetLevel",
                                       "LoggingEnabled",     "TraceLoggingEnabled", "GetLoggerFileName",
                                       "StackLoggingEnabled"};
        const QList<QByteArray> aSecond{"LogDebug", "Debug", "LogTrace", "Trace"};
        QList<QByteArray> expected;
        for (const EntryPoint& entry : EntryPoints())
            expected += entry.iName
                + QByteArray(atOnce.contains(entry.iName)        ? ": at once"
                                 : aSecond.contains(entry.iName) ? ": after a second"
                                                                 : ": waits");
        const auto result = TestSupport::RunScenario("whileLocked");
        QVERIFY2(result.IsOk(), result.Describe().constData());
        QCOMPARE(LogText::Lines(result.iStdout), expected);
    }

    void whatIsDroppedAndWhatIsKept()
    {
        const auto result = TestSupport::RunScenario("droppedAndWaited");
        QVERIFY2(result.IsOk(), result.Describe().constData());
        QCOMPARE(LogText::Bodies(LogText::Read(result.iFolder.filePath(kLog))),
                 (QList<QByteArray>{"|10|Information|F|at once", "|30|Warning|F|waited", "|20|Debug|F|kept",
                                    "|10|Information|Logger::StopLogging|stopping logging file path is app.log"}));
    }

    void pathLinesComeBeforeTheLock()
    {
        const auto result = TestSupport::RunScenario("pathLinesBeforeTheLock");
        QVERIFY2(result.IsOk(), result.Describe().constData());
        QCOMPARE(LogText::Bodies(LogText::Read(result.iFolder.filePath(kLog))),
                 (QList<QByteArray>{"|10|Information|Logger::SetLoggerFileName|Existing path is app.log",
                                    "|10|Information|Logger::SetLoggerFileName|New path is b.log",
                                    "|10|Information|F|between"}));
    }

    void reporterMayLog()
    {
        const auto result = TestSupport::RunScenario("reporterLogs");
        QVERIFY2(result.IsOk(), result.Describe().constData());
        const auto report = [](const char* code) {
            return QList<QByteArray>{QByteArray("|10|Information|Reporter|") + code, "|20|Debug|Reporter|outer",
                                     "|25|Trace|Reporter|outer", "|30|Warning|Reporter|outer"};
        };
        QCOMPARE(LogText::Bodies(LogText::Read(result.iFolder.filePath(kLog))),
                 QList<QByteArray>{"|200|Error|F|outer"} + report("200")
                     + QList<QByteArray>{"|201|Error|Reporter|outer"} + report("201")
                     + QList<QByteArray>{"|202|Error|Reporter|outer"} + report("202"));
    }

    void whatAReporterThrowsIsSwallowed()
    {
        const auto result = TestSupport::RunScenario("reporterThrows");
        QVERIFY2(result.IsOk(), result.Describe().constData());
        QCOMPARE(LogText::Bodies(LogText::Read(result.iFolder.filePath(kLog))),
                 (QList<QByteArray>{"|1|Error|F|m", "|2|Exception|F|m",
                                    "|3|Exception|F|Unknown exception has been caught.", "|4|Error|F|m"}));
    }

    void reporterMayDoAnythingWhileOthersListThreads_data()
    {
        QTest::addColumn<QString>("what");
        for (const char* what : {"threads", "nested", "file", "stop", "clean up"})
            QTest::newRow(what) << QString::fromLatin1(what);
    }
    void reporterMayDoAnythingWhileOthersListThreads()
    {
        QFETCH(QString, what);
        const auto result = TestSupport::RunScenario("reporterIsBusy", {what});
        QVERIFY2(result.IsOk(), result.Describe().constData());
    }

    void reporterIsAloneAndGoneWhenItWasTakenAway()
    {
        const auto result = TestSupport::RunScenario("reporterIsTakenAway");
        QVERIFY2(result.IsOk(), result.Describe().constData());
    }

    void threadsAreMadeWhileTheLogIsLocked()
    {
        const auto result = TestSupport::RunScenario("reporterIsSlow");
        QVERIFY2(result.IsOk(), result.Describe().constData());
    }

    void threadsAreMadeWhileTheDiskStands_data()
    {
        QTest::addColumn<QString>("what");
        QTest::newRow("change of files") << QStringLiteral("change");
        QTest::newRow("stop") << QStringLiteral("stop");
    }
    void threadsAreMadeWhileTheDiskStands()
    {
        QFETCH(QString, what);
        const auto result = TestSupport::RunScenario("diskStands", {what});
        QVERIFY2(result.IsOk(), result.Describe().constData());
    }

    void reporterMayStopTheLog()
    {
        const auto result = TestSupport::RunScenario("reporterStops");
        QVERIFY2(result.IsOk(), result.Describe().constData());
        QCOMPARE(LogText::Bodies(LogText::Read(result.iFolder.filePath(kLog))), QList<QByteArray>{"|1|Error|F|m"});
    }
};

NEROLT_TEST_MAIN(tst_LoggerLocks)

#include "tst_LoggerLocks.moc"
