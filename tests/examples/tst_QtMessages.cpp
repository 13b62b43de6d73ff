#include "support/LogText.h"
#include "support/PrivateAccess.h"
#include "support/TestMain.h"

#include "examples/qt-messages/QtMessages.h"

#include <NeroltOrvaneBase/IErrorReporter.h>
#include <NeroltOrvaneBase/Logger.h>
#include <NeroltOrvaneBase/LoggerAgent.h>
#include <NeroltOrvaneBase/LoggerWorker.h>
#include <NeroltOrvaneBase/RegisteredThread.h>

#include <QtCore/QLoggingCategory>
#include <QtCore/QProcess>
#include <QtTest/QtTest>

#include <csignal>
#include <cstdio>

NEROLT_PRIVATE(Logger, iAgent, std::atomic<LoggerAgent*>)
NEROLT_PRIVATE(Logger, iMutex, QRecursiveMutex)
NEROLT_PRIVATE(LoggerAgent, iWorker, LoggerWorker*)

namespace {

using Lines = QList<QByteArray>;
using TestSupport::ScenarioResult;

const QString kLog = QStringLiteral("app.log");
constexpr int kTimeoutMs = 60000;
const QByteArray kStopping = "|10|Information|Logger::StopLogging|stopping logging file path is app.log";

void Start(int level = LoggerDefs::Information | LoggerDefs::Warning | LoggerDefs::Error | LoggerDefs::Exception)
{
    QtMessages::Install();
    Logger::SetLoggerFileName(kLog, false);
    Logger::GetInstance()->SetLevel(level);
}

void PrintMarked(QtMsgType type, const QMessageLogContext& context, const QString& message)
{
    std::fprintf(stderr, "%d %s %s\n", int(type), context.category, qPrintable(message));
}

// Has something to say itself whenever it is called.
class TalkativeReporter final : public IErrorReporter
{
public:
    void ReportError(const QString&, const QString& message) override { qCritical("reported %s", qPrintable(message)); }
};

template <typename Work>
void DoOnLoggingThread(const Work& work)
{
    const LoggerAgent* const agent = (Logger::GetInstance()->*Logger_iAgent()).load();
    QMetaObject::invokeMethod(agent->*LoggerAgent_iWorker(), work, Qt::QueuedConnection);
}

void WaitUntilLoggerIsLocked()
{
    QRecursiveMutex& mutex = Logger::GetInstance()->*Logger_iMutex();
    while (mutex.tryLock()) {
        mutex.unlock();
        QThread::yieldCurrentThread();
    }
}

const TestSupport::Scenario reporterTalks("reporterTalks", [](const QStringList&) {
    TalkativeReporter reporter;
    Start();
    Logger::SetErrorReporter(&reporter);
    qCritical("one");
    Logger::LogError(5, LoggerDefs::NoExtraInfo, "Test", QStringLiteral("two"), 0, 0);
    Logger::SetErrorReporter(nullptr);
    qCritical("three");
    Logger::StopLogging();
    return 0;
});

// The logging thread sends a warning while another thread waits for it.
const TestSupport::Scenario loggingThreadWarns("loggingThreadWarns", [](const QStringList&) {
    Start();
    DoOnLoggingThread([] {
        WaitUntilLoggerIsLocked();
        qWarning("from the writer");
    });
    Logger::SetLoggerFileName(QStringLiteral("other.log"), true);
    qWarning("from the main thread");
    Logger::StopLogging();
    return 0;
});

const TestSupport::Scenario loggingThreadIsFatal("loggingThreadIsFatal", [](const QStringList&) {
    Start();
    DoOnLoggingThread([] { qFatal("from the writer"); });
    QThread::sleep(kTimeoutMs / 1000); // the process ends long before
    return 0;
});

const TestSupport::Scenario otherThreads("otherThreads", [](const QStringList&) {
    Start();
    RegisteredThread other(nullptr, QStringLiteral("other"));
    QObject receiver;
    receiver.moveToThread(&other);
    other.start();
    QMetaObject::invokeMethod(
        &receiver, [] { qWarning("from another thread"); }, Qt::BlockingQueuedConnection);
    other.quit();
    other.wait();
    Logger::StopLogging();
    return 0;
});

const TestSupport::Scenario levels("levels", [](const QStringList&) {
    qInstallMessageHandler(PrintMarked);
    QtMessages::Install();
    QtMessages::Install();
    Logger::GetInstance()->SetLevel(0);
    qWarning("silent");
    Start(LoggerDefs::Warning);
    qInfo("not wanted");
    qWarning("wanted");
    Logger::StopLogging();
    qWarning("stopped");
    return 0;
});

const TestSupport::Scenario fatal("fatal", [](const QStringList& arguments) -> int {
    qInstallMessageHandler(PrintMarked);
    Start(arguments.value(0).toInt());
    qWarning("before");
    qFatal("the end");
});

} // namespace

class tst_QtMessages : public QObject
{
    Q_OBJECT

private:
    static Lines LogOf(const ScenarioResult& result, const QString& name = kLog)
    {
        return LogText::Bodies(LogText::Read(result.iFolder.filePath(name)));
    }

    static void Start(QProcess& process, const QStringList& arguments)
    {
        process.start(QStringLiteral(QT_MESSAGES_PROGRAM), arguments);
        if (!process.waitForFinished(kTimeoutMs)) {
            process.kill();
            process.waitForFinished();
        }
    }

    static Lines LinesOfTheProgram()
    {
        return {
            "|20|Debug|Qt(default)|a debug message 42",
            "|10|Information|Qt(default)|some information",
            "|30|Warning|Qt(default)|a warning witha line break",
            "|9001|Error|Qt(default)|\"a string\"",
            "|20|Debug|Qt(app.network)|connected to example.org",
            "|30|Warning|Qt(default)|QObject::startTimer: Timers cannot have negative intervals",
        };
    }

private Q_SLOTS:
    void initTestCase()
    {
        for (const char* const name : {"QT_LOGGING_RULES", "QT_MESSAGE_PATTERN", "QT_FATAL_WARNINGS"})
            qunsetenv(name);
    }

    void program()
    {
        QProcess process;
        Start(process, {kLog});
        QCOMPARE(process.exitStatus(), QProcess::NormalExit);
        QCOMPARE(process.exitCode(), 0);
        QCOMPARE(process.readAllStandardError(), QByteArray("the log has stopped\n"));
        QCOMPARE(process.readAllStandardOutput(), QByteArray());
        QCOMPARE(LogText::Bodies(LogText::Read(kLog)), LinesOfTheProgram() + Lines{kStopping});
    }

    void programThatEndsFatally()
    {
        QProcess process;
        Start(process, {QStringLiteral("fatal.log"), QStringLiteral("fatal")});
        QCOMPARE(process.exitStatus(), QProcess::CrashExit);
        QCOMPARE(process.exitCode(), SIGABRT);
        QCOMPARE(process.readAllStandardError(), QByteArray("this is the end\n"));
        const Lines end{
            "|9002|Exception|Qt(default)|this is the end",
            "|10|Information|Logger::StopLogging|stopping logging file path is fatal.log",
        };
        QCOMPARE(LogText::Bodies(LogText::Read(QStringLiteral("fatal.log"))), LinesOfTheProgram() + end);
    }

    void programWithoutLog()
    {
        QProcess process;
        Start(process, {});
        QCOMPARE(process.exitCode(), 2);
        QCOMPARE(process.readAllStandardError(), QByteArray("usage: qt-messages <log file> [fatal]\n"));
    }

    // A message that is caused by logging a message is not logged: it would recur forever.
    void messagesOfTheReporter()
    {
        const ScenarioResult result = TestSupport::RunScenario("reporterTalks");
        QVERIFY2(result.IsOk(), result.Describe());
        QCOMPARE(result.iStderr, QByteArray("reported one\nreported reported two\n"));
        QCOMPARE(LogOf(result),
                 Lines({
                     "|9001|Error|Qt(default)|one",
                     "|5|Error|Test|two",
                     "|9001|Error|Qt(default)|reported two",
                     "|9001|Error|Qt(default)|three",
                     kStopping,
                 }));
    }

    void messageOfTheLoggingThread()
    {
        const ScenarioResult result = TestSupport::RunScenario("loggingThreadWarns");
        QVERIFY2(result.IsOk(), result.Describe());
        QCOMPARE(result.iStderr, QByteArray("from the writer\n"));
        QCOMPARE(LogOf(result, QStringLiteral("other.log")).mid(2),
                 Lines({
                     "|30|Warning|Qt(default)|from the main thread",
                     "|10|Information|Logger::StopLogging|stopping logging file path is other.log",
                 }));
    }

    void fatalMessageOfTheLoggingThread()
    {
        const ScenarioResult result = TestSupport::RunScenario("loggingThreadIsFatal");
        QVERIFY2(result.iCrashed && !result.iTimedOut && result.iExitCode == SIGABRT, result.Describe());
        QCOMPARE(result.iStderr, QByteArray("from the writer\n"));
    }

    void messageOfAnotherThread()
    {
        const ScenarioResult result = TestSupport::RunScenario("otherThreads");
        QVERIFY2(result.IsOk(), result.Describe());
        QCOMPARE(result.iStderr, QByteArray());
        QCOMPARE(LogOf(result), Lines({"|30|Warning|Qt(default)|from another thread", kStopping}));
    }

    // A message that the level stops is dropped. The previous handler gets messages that a silent or stopped log does
    // not accept.
    void levelsAndThePreviousHandler()
    {
        const ScenarioResult result = TestSupport::RunScenario("levels");
        QVERIFY2(result.IsOk(), result.Describe());
        QCOMPARE(result.iStderr, QByteArray("1 default silent\n1 default stopped\n"));
        QCOMPARE(LogOf(result), Lines({"|30|Warning|Qt(default)|wanted"}));
    }

    void fatalMessage_data()
    {
        QTest::addColumn<int>("level");
        QTest::addColumn<QByteArray>("errors");
        QTest::addColumn<Lines>("lines");
        QTest::newRow("exceptions are logged")
            << int(LoggerDefs::Warning | LoggerDefs::Exception) << QByteArray("3 default the end\n")
            << Lines{"|30|Warning|Qt(default)|before", "|9002|Exception|Qt(default)|the end"};
        QTest::newRow("exceptions are not logged")
            << int(LoggerDefs::Warning) << QByteArray("3 default the end\n") << Lines{"|30|Warning|Qt(default)|before"};
        QTest::newRow("nothing is logged") << 0 << QByteArray("1 default before\n3 default the end\n") << Lines{};
    }
    void fatalMessage()
    {
        QFETCH(int, level);
        const ScenarioResult result = TestSupport::RunScenario("fatal", {QString::number(level)});
        QVERIFY2(result.iCrashed && !result.iTimedOut && result.iExitCode == SIGABRT, result.Describe());
        QTEST(result.iStderr, "errors");
        QTEST(LogOf(result), "lines");
    }
};

NEROLT_TEST_MAIN(tst_QtMessages)

#include "tst_QtMessages.moc"
