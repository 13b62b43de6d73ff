#include "support/PrivateAccess.h"
#include "support/TestMain.h"

#include <NeroltOrvaneBase/HookedSingleton.h>
#include <NeroltOrvaneBase/IOrvaneInstance.h>
#include <NeroltOrvaneBase/SingletonHook.h>

#include <QtTest/QtTest>

#include <csignal>
#include <cstdio>
#include <memory>
#include <type_traits>

NEROLT_PRIVATE(HookedSingleton, iHook, SingletonHook*)
NEROLT_PRIVATE_STATIC(HookedSingleton, iInstance, HookedSingleton*)

using TestSupport::Scenario;

namespace {

class Counting : public IOrvaneInstance
{
public:
    void Delete() override { ++iDeleted; }

    int iDeleted = 0;
};

const Scenario neverInstalled("neverInstalled", [](const QStringList&) {
    if (HookedSingleton_iInstance())
        return 1;
    HookedSingleton::GetInstance();
    std::puts("survived");
    return 0;
});

const Scenario noLongerInstalled("noLongerInstalled", [](const QStringList&) {
    SingletonHook hook;
    HookedSingleton::InstallHook(&hook);
    delete HookedSingleton_iInstance();
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

    void shape()
    {
        static_assert(!std::is_polymorphic_v<HookedSingleton> && sizeof(HookedSingleton) == sizeof(SingletonHook*));
        static_assert(!std::is_copy_constructible_v<HookedSingleton> && !std::is_copy_assignable_v<HookedSingleton>);
        static_assert(std::is_constructible_v<HookedSingleton, SingletonHook*>);
    }

    void installs()
    {
        SingletonHook hook;
        HookedSingleton::InstallHook(&hook);
        const HookedSingleton* const holder = HookedSingleton_iInstance();
        QVERIFY(holder);
        QCOMPARE(holder->*HookedSingleton_iHook(), &hook);
        QCOMPARE(HookedSingleton::GetInstance(), &hook);
        QCOMPARE(HookedSingleton::GetInstance(), &hook);
    }

    void firstHookWins()
    {
        SingletonHook first;
        SingletonHook second;
        HookedSingleton::InstallHook(&first);
        const HookedSingleton* const holder = HookedSingleton_iInstance();
        HookedSingleton::InstallHook(&second);
        QCOMPARE(HookedSingleton::GetInstance(), &first);
        HookedSingleton::InstallHook(&first);
        HookedSingleton::InstallHook(nullptr);
        QCOMPARE(HookedSingleton::GetInstance(), &first);
        QCOMPARE(HookedSingleton_iInstance(), holder);
    }

    void nullIsAHookToo()
    {
        SingletonHook hook;
        HookedSingleton::InstallHook(nullptr);
        QVERIFY(HookedSingleton_iInstance());
        HookedSingleton::InstallHook(&hook);
        QVERIFY(!HookedSingleton::GetInstance());
    }

    void holderGoneMakesRoom()
    {
        SingletonHook first;
        SingletonHook second;
        HookedSingleton::InstallHook(&first);
        delete HookedSingleton_iInstance();
        QVERIFY(!HookedSingleton_iInstance());
        HookedSingleton::InstallHook(&second);
        QVERIFY(HookedSingleton_iInstance());
        QCOMPARE(HookedSingleton::GetInstance(), &second);
        delete HookedSingleton_iInstance();
        HookedSingleton::InstallHook(&first);
        QCOMPARE(HookedSingleton::GetInstance(), &first);
    }

    void holderDeletesNothing()
    {
        Counting instance;
        {
            SingletonHook hook;
            hook.SetInstance(QStringLiteral("X"), &instance);
            HookedSingleton::InstallHook(&hook);
            delete HookedSingleton_iInstance();
            QCOMPARE(instance.iDeleted, 0);
            QCOMPARE(hook.GetInstance(QStringLiteral("X")), &instance);
        }
        QCOMPARE(instance.iDeleted, 1);
    }

    void constructingInstallsNothing()
    {
        SingletonHook hook;
        const HookedSingleton holder(&hook);
        QCOMPARE(holder.*HookedSingleton_iHook(), &hook);
        QVERIFY(!HookedSingleton_iInstance());
    }

    void anyHoldersEndMakesRoom()
    {
        SingletonHook first;
        SingletonHook second;
        HookedSingleton::InstallHook(&first);
        const std::unique_ptr<HookedSingleton> installed(HookedSingleton_iInstance());
        {
            const HookedSingleton other(&second);
            QCOMPARE(HookedSingleton::GetInstance(), &first);
        }
        QVERIFY(!HookedSingleton_iInstance());
        QCOMPARE(installed.get()->*HookedSingleton_iHook(), &first);
    }

    void askingTooEarlyEndsTheProcess_data()
    {
        QTest::addColumn<QByteArray>("scenario");
        QTest::newRow("never installed") << QByteArray("neverInstalled");
        QTest::newRow("no longer installed") << QByteArray("noLongerInstalled");
    }
    void askingTooEarlyEndsTheProcess()
    {
        QFETCH(QByteArray, scenario);
        const auto result = TestSupport::RunScenario(scenario.constData());
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
