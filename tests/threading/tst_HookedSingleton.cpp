#include "support/PrivateAccess.h"
#include "support/TestMain.h"

#include <NeroltOrvaneBase/HookedSingleton.h>
#include <NeroltOrvaneBase/IOrvaneInstance.h>
#include <NeroltOrvaneBase/SingletonHook.h>

#include <QtTest/QtTest>

#include <csignal>
#include <cstdio>
#include <memory>

NEROLT_PRIVATE_STATIC(HookedSingleton, iInstance, HookedSingleton*)

using TestSupport::Scenario;

namespace {

class Counting : public IOrvaneInstance
{
public:
    void Delete() override { ++iDeleted; }

    int iDeleted = 0;
};

const Scenario askTooEarly("askTooEarly", [](const QStringList& arguments) {
    SingletonHook hook;
    if (arguments.contains(QStringLiteral("installed before"))) {
        HookedSingleton::InstallHook(&hook);
        delete HookedSingleton_iInstance();
    }
    HookedSingleton::GetInstance();
    std::puts("survived");
    return 0;
});

} // namespace

class tst_HookedSingleton : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase() { QVERIFY(!HookedSingleton_iInstance()); }

    void cleanup()
    {
        delete HookedSingleton_iInstance();
        QVERIFY(!HookedSingleton_iInstance());
    }

    void theFirstHookWins()
    {
        SingletonHook first;
        SingletonHook second;
        HookedSingleton::InstallHook(&first);
        QCOMPARE(HookedSingleton::GetInstance(), &first);
        HookedSingleton::InstallHook(&second);
        HookedSingleton::InstallHook(nullptr);
        QCOMPARE(HookedSingleton::GetInstance(), &first);
    }

    void nullIsAHookToo()
    {
        SingletonHook hook;
        HookedSingleton::InstallHook(nullptr);
        HookedSingleton::InstallHook(&hook);
        QVERIFY(!HookedSingleton::GetInstance());
    }

    void theHoldersEndMakesRoomAndDeletesNothing()
    {
        Counting instance;
        SingletonHook second;
        {
            SingletonHook first;
            first.SetInstance(QStringLiteral("X"), &instance);
            HookedSingleton::InstallHook(&first);
            delete HookedSingleton_iInstance();
            HookedSingleton::InstallHook(&second);
            QCOMPARE(HookedSingleton::GetInstance(), &second);
            QCOMPARE(instance.iDeleted, 0);
        }
        QCOMPARE(instance.iDeleted, 1);
    }

    void anyHoldersEndMakesRoom()
    {
        SingletonHook first;
        SingletonHook second;
        HookedSingleton::InstallHook(&first);
        const std::unique_ptr<HookedSingleton> installed(HookedSingleton_iInstance());
        {
            const HookedSingleton other(&second); // installs nothing
            QCOMPARE(HookedSingleton::GetInstance(), &first);
        }
        QVERIFY(!HookedSingleton_iInstance());
    }

    void askingTooEarlyEndsTheProcess_data()
    {
        QTest::addColumn<QString>("when");
        for (const char* const when : {"never installed", "installed before"})
            QTest::newRow(when) << QString::fromLatin1(when);
    }
    void askingTooEarlyEndsTheProcess()
    {
        QFETCH(QString, when);
        const auto result = TestSupport::RunScenario("askTooEarly", {when});
        QVERIFY2(result.iCrashed && !result.iTimedOut, result.Describe().constData());
        QCOMPARE(result.iExitCode, SIGABRT); // on purpose, not by a null pointer
        QCOMPARE(result.iStdout, QByteArray());
        QCOMPARE(
            result.iStderr,
            QByteArray("HookedSingleton::GetInstance: call HookedSingleton::InstallHook before the first singleton "
                       "is used\n"));
    }
};

NEROLT_TEST_MAIN(tst_HookedSingleton)

#include "tst_HookedSingleton.moc"
