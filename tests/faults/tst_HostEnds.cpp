#include "Ends.h"
#include "Lines.h"
#include "RunningLog.h"
#include "support/LogText.h"
#include "support/PrivateAccess.h"
#include "support/StartedLog.h"
#include "support/TestMain.h"

#include <NeroltOrvaneBase/HookedSingleton.h>
#include <NeroltOrvaneBase/IniFile.h>
#include <NeroltOrvaneBase/Logger.h>
#include <NeroltOrvaneBase/RegisteredThread.h>
#include <NeroltOrvaneBase/RegisteredTimer.h>
#include <NeroltOrvaneBase/SingletonHook.h>
#include <NeroltOrvaneBase/SystemConfig.h>

#include <QtCore/QTimer>
#include <QtCore/QVariant>
#include <QtTest/QtTest>

#include <algorithm>
#include <csignal>
#include <cstdlib>
#include <thread>
#include <unistd.h>

NEROLT_PRIVATE_STATIC(HookedSingleton, iInstance, HookedSingleton*)

using namespace Lines;
using namespace StartedLog;
using TestSupport::Scenario;

namespace {

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
    const QString how = arguments.value(0);
    if (how == QLatin1String("start at exit")) {
        std::atexit([] {
            Start();
            Logger::StopLogging();
        });
        return 0;
    }
    Start();
    SayTen(0);
    RunningLog::HandOver();
    SayTen(10);
    if (how == QLatin1String("_exit"))
        ::_exit(0);
    if (how == QLatin1String("SIGKILL"))
        ::raise(SIGKILL);
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

} // namespace

// Every order in which a host may stop what it uses, and every way in which a process ends.
class tst_HostEnds : public QObject
{
    Q_OBJECT

private:
    static QByteArray Text(const TestSupport::ScenarioResult& result)
    {
        return LogText::Read(result.iFolder.filePath(kLog));
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
        const auto stop = order.indexOf(QRegularExpression(QStringLiteral("[LC]")));
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
        QTest::addColumn<int>("lines");
        QTest::newRow("return from main") << QString() << 10;
        QTest::newRow("exit") << QStringLiteral("exit") << 10;
        QTest::newRow("quick_exit") << QStringLiteral("quick_exit") << 10;
        QTest::newRow("_exit") << QStringLiteral("_exit") << 10;
        QTest::newRow("SIGKILL") << QStringLiteral("SIGKILL") << 10;
        QTest::newRow("stop in the loop's last moment") << QStringLiteral("stop in the loop's last moment") << 20;
        QTest::newRow("exit, stop at exit") << QStringLiteral("exit, stop at exit") << 20;
#ifndef NEROLT_SANITIZED // nor are its objects deleted
        // The framework delivers nothing after its application object is destroyed.
        QTest::newRow("stop at exit") << QStringLiteral("stop at exit") << 10;
        QTest::newRow("cleanup at exit") << QStringLiteral("cleanup at exit") << 10;
        QTest::newRow("start at exit") << QStringLiteral("start at exit") << 0;
#endif
    }
    void endOfTheProcess()
    {
        QFETCH(QString, how);
        QFETCH(int, lines);
        const auto result = TestSupport::RunScenario("processEnds", {how});
        QVERIFY2(result.IsOk() || (result.iCrashed && how == QLatin1String("SIGKILL")), result.Describe());
        QCOMPARE(result.iStderr, QByteArray());
        QCOMPARE(Numbers(Text(result)), Expected(0, lines));
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
};

NEROLT_TEST_MAIN(tst_HostEnds)

#include "tst_HostEnds.moc"
