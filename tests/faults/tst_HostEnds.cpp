#include "Ends.h"
#include "Lines.h"
#include "RunningLog.h"
#include "support/LogText.h"
#include "support/PrivateAccess.h"
#include "support/TestMain.h"

#include <NeroltOrvaneBase/HookedSingleton.h>
#include <NeroltOrvaneBase/IniFile.h>
#include <NeroltOrvaneBase/Logger.h>
#include <NeroltOrvaneBase/LoggerAgent.h>
#include <NeroltOrvaneBase/RegisteredThread.h>
#include <NeroltOrvaneBase/RegisteredTimer.h>
#include <NeroltOrvaneBase/SingletonHook.h>
#include <NeroltOrvaneBase/SystemConfig.h>

#include <QtCore/QAbstractEventDispatcher>
#include <QtCore/QTimer>
#include <QtCore/QVariant>
#include <QtTest/QtTest>

#include <algorithm>
#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <set>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>
#include <vector>

NEROLT_PRIVATE(Logger, iAgent, std::atomic<LoggerAgent*>)
NEROLT_PRIVATE_STATIC(HookedSingleton, iInstance, HookedSingleton*)

using Lines::Expected;
using Lines::kAlwaysOn;
using Lines::Numbers;
using Lines::SayTen;
using TestSupport::Scenario;

namespace {

const QString kLog = QStringLiteral("app.log");

void Start()
{
    Logger::GetInstance()->SetLevel(kAlwaysOn);
    Logger::SetLoggerFileName(kLog, false);
}

// --- How a host ends, step by step

// Each letter is a step: L stops the log, C cleans it up, T lists the threads, D deletes the configuration, H the hook,
// O its holder. After each step the scenario uses everything that is still allowed.
struct Host
{
    // If it outlives the host, that is no leak: a hook with a deleted entry must not be deleted.
    static inline SingletonHook* iHook = nullptr;
    bool iHasConfig = true;

    void Step(char letter)
    {
        switch (letter) {
        case 'L':
            return Logger::StopLogging();
        case 'C':
            return Logger::Cleanup();
        case 'T':
            return RegisteredThread::LogThreads();
        case 'D':
            SystemConfig::GetInstance()->Delete();
            iHasConfig = false;
            return;
        case 'H':
            delete iHook;
            iHasConfig = false;
            return;
        case 'O':
            delete HookedSingleton_iInstance();
            return;
        default:
            std::abort();
        }
    }
    void Use() const
    {
        SayTen(0);
        RegisteredThread::LogThreads();
        QObject owner;
        RegisteredTimer::singleShot(0, &owner, SLOT(deleteLater()));
        RegisteredTimer::Cleanup(&owner, true);
        if (iHasConfig)
            SystemConfig::GetUserDataPath();
        IniFile(QStringLiteral("used.ini")).SetKeyValue(QStringLiteral("A"), QStringLiteral("k"), 1);
    }
};

const Scenario hostEnds("hostEnds", [](const QStringList& arguments) {
    Host host;
    host.iHook = new SingletonHook;
    HookedSingleton::InstallHook(host.iHook);
    SystemConfig::SetTestPath(QDir::currentPath());
    Start();
    for (const char letter : arguments.value(0).toLatin1()) {
        host.Use();
        host.Step(letter);
    }
    host.Use();
    return 0;
});

// --- Ends of the process

const Scenario processEnds("processEnds", [](const QStringList& arguments) {
    Start();
    SayTen(0);
    RunningLog::HandOver();
    SayTen(10);
    const QString how = arguments.value(0);
    if (how == QLatin1String("_exit"))
        ::_exit(0);
    if (how == QLatin1String("quick_exit"))
        std::quick_exit(0);
    if (how.contains(QLatin1String("stop at exit")))
        std::atexit(Logger::StopLogging);
    if (how == QLatin1String("cleanup at exit"))
        std::atexit(Logger::Cleanup);
    if (how.startsWith(QLatin1String("exit")))
        std::exit(0);
    if (how == QLatin1String("stop in the loop's last moment")) {
        QObject::connect(qApp, &QCoreApplication::aboutToQuit, &Logger::StopLogging);
        QTimer::singleShot(0, qApp, &QCoreApplication::quit);
        QCoreApplication::exec();
    }
    return 0;
});

// The thread that used the logger first has ended when the log starts and stops.
const Scenario firstThreadIsGone("firstThreadIsGone", [](const QStringList&) {
    std::thread([] { Logger::GetInstance()->SetLevel(kAlwaysOn); }).join();
    Logger::SetLoggerFileName(kLog, false);
    SayTen(0);
    Logger::StopLogging();
    return 0;
});

// --- Forked processes

int ExitCodeOf(pid_t child)
{
    int status = 0;
    return ::waitpid(child, &status, 0) == child && WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

// A forked process has no logging thread: its lines stay in its buffer and are lost.
const Scenario forks("forks", [](const QStringList&) {
    Start();
    SayTen(0);
    for (int i = 0; i < 5; ++i) {
        const pid_t child = ::fork();
        if (child == 0) {
            SayTen(100);
            Logger::GetInstance()->SetLevel(kAlwaysOn | LoggerDefs::Debug);
            Logger::GetLoggerFileName();
            ::_exit(7);
        }
        if (ExitCodeOf(child) != 7)
            return 1;
    }
    SayTen(10);
    Logger::StopLogging();
    return 0;
});

const Scenario forksUnderLoad("forksUnderLoad", [](const QStringList&) {
    Start();
    std::atomic<bool> end{false};
    std::vector<std::thread> speakers;
    for (int thread = 1; thread <= 3; ++thread) {
        speakers.emplace_back([thread, &end] {
            for (int number = 0; !end; ++number)
                Lines::Say(thread, number);
        });
    }
    int ended = 0;
    for (int i = 0; i < 50; ++i) {
        const pid_t child = ::fork();
        if (child == 0) {
            Logger::LogWarning("F", QStringLiteral("of the copy"));
            Logger::LogInformation("F", QStringLiteral("of the copy"));
            Logger::StopLogging();
            ::_exit(7);
        }
        ended += ExitCodeOf(child) == 7;
    }
    end = true;
    for (std::thread& speaker : speakers)
        speaker.join();
    Logger::StopLogging();
    return ended == 50 ? 0 : 1;
});

// A process that is forked before the log starts may use it in any way, with a file of its own.
const Scenario forksBeforeTheStart("forksBeforeTheStart", [](const QStringList&) {
    Logger::GetInstance()->SetLevel(kAlwaysOn);
    SayTen(0);
    const pid_t child = ::fork();
    Logger::SetLoggerFileName(child == 0 ? QStringLiteral("child.log") : kLog, false);
    SayTen(child == 0 ? 100 : 10);
    Logger::StopLogging();
    if (child == 0)
        ::_exit(7);
    return ExitCodeOf(child) == 7 ? 0 : 1;
});

// Other threads log, list threads and create new ones during the forks, and are not in the child to release a lock.
const Scenario forksBeforeTheStartUnderLoad("forksBeforeTheStartUnderLoad", [](const QStringList& arguments) {
    const bool logs = arguments.contains(QStringLiteral("log"));
    Lines::Body(0, 0); // its own statics are not the matter
    if (logs)
        Logger::GetInstance()->SetLevel(kAlwaysOn);
    std::atomic<bool> end{false};
    std::vector<std::thread> others;
    for (int thread = 1; thread <= 3; ++thread) {
        others.emplace_back([thread, logs, &end] {
            for (int number = 0; !end; ++number) {
                if (logs)
                    Lines::Say(thread, number);
                const RegisteredThread made(nullptr, QStringLiteral("of another"));
                RegisteredThread::LogThreads();
            }
        });
    }
    int ended = 0;
    for (int i = 0; i < 50; ++i) {
        const pid_t child = ::fork();
        if (child == 0) {
            RegisteredThread::LogThreads();
            Start();
            const RegisteredThread own(nullptr, QStringLiteral("of the copy"));
            RegisteredThread::LogThreads();
            SayTen(0);
            Logger::StopLogging();
            ::_exit(7);
        }
        ended += ExitCodeOf(child) == 7;
    }
    end = true;
    for (std::thread& other : others)
        other.join();
    return ended == 50 ? 0 : 1;
});

// The child continues with the event loop that drove the log's timer, forked while other threads held the log's locks.
const Scenario forksAndGoesOn("forksAndGoesOn", [](const QStringList&) {
    Start();
    LoggerAgent* const agent = (Logger::GetInstance()->*Logger_iAgent()).load();
    if (QAbstractEventDispatcher::instance()->registeredTimers(agent).isEmpty())
        return 2;
    std::atomic<bool> end{false};
    std::thread other([&end] {
        for (int number = 0; !end; ++number)
            Lines::Say(1, number);
    });
    int ended = 0;
    for (int i = 0; i < 10; ++i) {
        const pid_t child = ::fork();
        if (child == 0) {
            ::_exit(QAbstractEventDispatcher::instance()->registeredTimers(agent).isEmpty() ? 7 : 1);
        }
        ended += ExitCodeOf(child) == 7;
    }
    end = true;
    other.join();
    Logger::StopLogging();
    return ended == 10 ? 0 : 1;
});

const Scenario forksAfterTheStop("forksAfterTheStop", [](const QStringList&) {
    Start();
    SayTen(0);
    Logger::StopLogging();
    const pid_t child = ::fork();
    if (child == 0) {
        SayTen(100);
        Logger::StopLogging();
        Logger::Cleanup();
        ::_exit(7);
    }
    return ExitCodeOf(child) == 7 ? 0 : 1;
});

} // namespace

// Every order in which a host may stop what it uses, and every way in which a process ends.
class tst_HostEnds : public QObject
{
    Q_OBJECT

private:
    static QByteArray Text(const TestSupport::ScenarioResult& result, const QString& name = kLog)
    {
        return LogText::Read(result.iFolder.filePath(name));
    }

private Q_SLOTS:
    void everyOrder_data()
    {
        QTest::addColumn<QString>("order");
        std::string order = "CHLO";
        do
            QTest::newRow(order.c_str()) << QString::fromStdString(order);
        while (std::next_permutation(order.begin(), order.end()));
        for (const char* twice : {"LLHO", "CCHO", "LCLCHO", "CLTLHO", "HTOTLTC", "TCTHT", "DO", "LDO", "DLCO", "TDCO"})
            QTest::newRow(twice) << QString::fromLatin1(twice);
    }
    void everyOrder()
    {
        QFETCH(QString, order);
        const auto result = TestSupport::RunScenario("hostEnds", {order});
        QVERIFY2(result.IsOk(), result.Describe());
        QCOMPARE(result.iStderr, QByteArray());
        // Up to the first stop, and nothing afterwards.
        const int stop = order.indexOf(QRegularExpression(QStringLiteral("[LC]")));
        QList<int> expected;
        for (int i = 0; i <= stop; ++i)
            expected += Expected(0, 10);
        if (stop >= 0)
            QCOMPARE(Numbers(Text(result)), expected);
        const QList<QByteArray> bodies = LogText::Bodies(Text(result));
        if (stop >= 0)
            QCOMPARE(bodies.last(),
                     order.at(stop) == QLatin1Char('L')
                         ? QByteArray("|10|Information|Logger::StopLogging|stopping logging file path is app.log")
                         : QByteArray("|10|Information|~Logger|stopping logging"));
    }

    void endOfTheProcess_data()
    {
        QTest::addColumn<QString>("how");
        QTest::addColumn<bool>("stops");
        QTest::newRow("return from main") << QString() << false;
        QTest::newRow("exit") << QStringLiteral("exit") << false;
        QTest::newRow("quick_exit") << QStringLiteral("quick_exit") << false;
        QTest::newRow("_exit") << QStringLiteral("_exit") << false;
        QTest::newRow("stop in the loop's last moment") << QStringLiteral("stop in the loop's last moment") << true;
        QTest::newRow("exit, stop at exit") << QStringLiteral("exit, stop at exit") << true;
#ifndef NEROLT_SANITIZED // nor are its objects deleted
        // The framework delivers nothing after its application object is destroyed.
        QTest::newRow("stop at exit") << QStringLiteral("stop at exit") << false;
        QTest::newRow("cleanup at exit") << QStringLiteral("cleanup at exit") << false;
#endif
    }
    void endOfTheProcess()
    {
        QFETCH(QString, how);
        QFETCH(bool, stops);
        const auto result = TestSupport::RunScenario("processEnds", {how});
        QVERIFY2(result.IsOk(), result.Describe());
        QCOMPARE(result.iStderr, QByteArray());
        QCOMPARE(Numbers(Text(result)), Expected(0, stops ? 20 : 10));
    }

    void endUnderLoad_data()
    {
        QTest::addColumn<bool>("stops");
        QTest::addColumn<int>("ends"); // scripts/soak makes more of them
        QTest::newRow("without a stop") << false << 100;
        QTest::newRow("after the stop") << true << 20;
    }
    void endUnderLoad()
    {
        QFETCH(bool, stops);
        QFETCH(int, ends);
        const Ends::Outcome outcome = Ends::UnderLoad(ends, stops);
        QVERIFY2(outcome.iFault.isEmpty(), outcome.iFault.constData());
        QCOMPARE(outcome.iEnds, ends);
    }

    void theFirstThreadMayBeGone()
    {
        const auto result = TestSupport::RunScenario("firstThreadIsGone");
        QVERIFY2(result.IsOk(), result.Describe());
        QCOMPARE(Numbers(Text(result)), Expected(0, 10));
    }

    void aCopyOfTheProcessSaysNothing()
    {
        const auto result = TestSupport::RunScenario("forks");
        QVERIFY2(result.IsOk(), result.Describe());
        QCOMPARE(Numbers(Text(result)), Expected(0, 20));
    }

    // Other threads hold the locks during the fork, and are not in the child to release them.
    void aCopyMadeUnderLoadDoesNotWaitForThem()
    {
        const auto result = TestSupport::RunScenario("forksUnderLoad");
        QVERIFY2(result.IsOk(), result.Describe());
        const QByteArray text = Text(result);
        QVERIFY(!text.contains("of the copy"));
    }

    void aCopyMadeBeforeTheStartIsALogOfItsOwn()
    {
        const auto result = TestSupport::RunScenario("forksBeforeTheStart");
        QVERIFY2(result.IsOk(), result.Describe());
        QCOMPARE(Numbers(Text(result)), Expected(0, 20));
        QCOMPARE(Numbers(Text(result, QStringLiteral("child.log"))), Expected(0, 10) + Expected(100, 110));
    }

#ifndef NEROLT_SANITIZED // their own locks do not survive the copy
    void aCopyMadeBeforeTheStartUnderLoadLogsAndListsThreads_data()
    {
        QTest::addColumn<QString>("what");
        QTest::newRow("others log") << "log";
        QTest::newRow("nobody has logged") << QString();
    }
    void aCopyMadeBeforeTheStartUnderLoadLogsAndListsThreads()
    {
        QFETCH(QString, what);
        const auto result = TestSupport::RunScenario("forksBeforeTheStartUnderLoad", {what});
        QVERIFY2(result.IsOk(), result.Describe());
        const QByteArray text = Text(result);
        QCOMPARE(text.count("|RegisteredThread::LogThreads|Thread: of the copy, running: 0\n"), 50);
        const QList<int> once = Expected(0, 10);
        QVERIFY(Numbers(text).size() >= 50 * once.size());
    }
#endif

    void aCopyThatGoesOnHasNoTimerOfTheLog()
    {
        const auto result = TestSupport::RunScenario("forksAndGoesOn");
        QVERIFY2(result.IsOk(), result.Describe());
    }

    void aCopyMadeAfterTheStopIsSilent()
    {
        const auto result = TestSupport::RunScenario("forksAfterTheStop");
        QVERIFY2(result.IsOk(), result.Describe());
        QCOMPARE(Numbers(Text(result)), Expected(0, 10));
    }
};

NEROLT_TEST_MAIN(tst_HostEnds)

#include "tst_HostEnds.moc"
