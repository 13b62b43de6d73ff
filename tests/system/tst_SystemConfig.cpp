#include "InstalledHook.h"
#include "module/SecondModule.h"
#include "support/TestMain.h"

#include <NeroltOrvaneBase/SystemConfig.h>

#include <QtCore/QLibrary>
#include <QtTest/QtTest>

#include <cstdio>
#include <memory>

NEROLT_PRIVATE_STATIC(SystemConfig, sInstance, SystemConfig*)

using TestSupport::Scenario;

namespace {

const QString kName = QStringLiteral("SystemConfig");

// A host's own configuration.
class Replacement : public SystemConfig
{
public:
    explicit Replacement(int& destroyed)
        : iDestroyed(destroyed)
    {
    }
    ~Replacement() override { ++iDestroyed; }

private:
    int& iDestroyed;
};

// Asks for a path in its destructor, as a class may that saves something.
class Asking : public SystemConfig
{
public:
    ~Asking() override { std::puts(qPrintable(SystemConfig::GetUserDataPath())); }
};

// There is no hook.
const Scenario nothingNeeded("nothingNeeded", [](const QStringList&) {
    SystemConfig::ApplicationShortName();
    SystemConfig::GetApplicationPath();
    SystemConfig::GetPluginsPath();
    SystemConfig::GetPluginPath(kName);
    SystemConfig::GetUserLocalePath(kName, false, true, true);
    SystemConfig::CreateFolder(kName);
    SystemConfig::GetLastCrashLog();
    SystemConfig::GetDxDialogData();
    return SystemConfig_sInstance() ? 1 : 0;
});

const Scenario askedWhileItEnds("askedWhileItEnds", [](const QStringList&) {
    InstalledHook hook;
    hook.SetInstance(kName, new Asking);
    SystemConfig::SetTestPath(QStringLiteral("/t"));
    SystemConfig::GetInstance()->Delete();
    const bool isGone = !SystemConfig_sInstance();
    SystemConfig_sInstance() = nullptr;
    hook.SetInstance(kName, new SystemConfig);
    SystemConfig::GetInstance();
    return isGone ? 0 : 1;
});

} // namespace

class tst_SystemConfig : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase()
    {
        QVERIFY(!SystemConfig_sInstance());
        QLibrary library(QStringLiteral(SECOND_MODULE));
        const auto function = reinterpret_cast<SecondModuleFunction>(library.resolve("secondModule"));
        QVERIFY2(function, qPrintable(library.errorString()));
        iModule = function();
    }

    void init()
    {
        iHook = std::make_unique<InstalledHook>();
        QVERIFY(!SystemConfig_sInstance());
        QVERIFY(!*iModule->iPointer);
    }

    // An instance clears the pointer of the module that made it. The other's is left, as in a process that ends.
    void cleanup()
    {
        iHook.reset();
        *iModule->iPointer = nullptr;
        QVERIFY(!SystemConfig_sInstance());
    }

    void firstUseCreatesAndEnters()
    {
        QVERIFY(!iHook->GetInstance(kName));
        QCOMPARE(SystemConfig::GetUserDataPath(), QString()); // any getter is a use
        SystemConfig* const config = SystemConfig::GetInstance();
        QVERIFY(config);
        QCOMPARE(iHook->GetInstance(kName), config);
        QCOMPARE(SystemConfig::GetInstance(), config);
    }

    void entryInTheHookIsTheSingleton()
    {
        int destroyed = 0;
        Replacement* const replacement = new Replacement(destroyed);
        iHook->SetInstance(kName, replacement);
        QCOMPARE(SystemConfig::GetInstance(), replacement);
        iHook.reset();
        QCOMPARE(destroyed, 1);
        QVERIFY(!SystemConfig_sInstance());
    }

    void pointerOnceSetIsNotLookedUpAgain()
    {
        SystemConfig* const config = SystemConfig::GetInstance();
        SystemConfig other;
        iHook->SetInstance(kName, &other);
        QCOMPARE(SystemConfig::GetInstance(), config);
        iHook->SetInstance(kName, config);
    }

    void deleteEndsTheCurrentInstanceAndLeavesTheEntry()
    {
        int destroyed = 0;
        int otherDestroyed = 0;
        Replacement other(otherDestroyed);
        other.Delete();
        Replacement* const replacement = new Replacement(destroyed);
        iHook->SetInstance(kName, replacement);
        SystemConfig::GetInstance();
        for (int i = 0; i < 2; ++i) {
            other.Delete();
            QCOMPARE(destroyed, 1);
            QCOMPARE(otherDestroyed, 0);
            QVERIFY(!SystemConfig_sInstance());
        }
        QVERIFY(iHook->GetInstance(kName) == replacement);

        SystemConfig* const next = new SystemConfig;
        iHook->SetInstance(kName, next);
        QCOMPARE(SystemConfig::GetInstance(), next);
    }

    void nextInstanceStartsEmpty()
    {
        SystemConfig::SetTestPath(QStringLiteral("/t"));
        iHook.reset();
        iHook = std::make_unique<InstalledHook>();
        QCOMPARE(SystemConfig::GetTestPath(), QString());
    }

    void instanceMayAskWhileItEnds()
    {
        const auto result = TestSupport::RunScenario("askedWhileItEnds");
        QVERIFY2(result.IsOk(), result.Describe().constData());
        QCOMPARE(result.iStdout, QByteArray("/t\n"));
    }

    void whatIsNoConfigurationNeedsNoHook()
    {
        const auto result = TestSupport::RunScenario("nothingNeeded");
        QVERIFY2(result.IsOk(), result.Describe().constData());
    }

    void secondModuleHasACopyOfItsOwn()
    {
        QVERIFY(iModule->iPointer != &SystemConfig_sInstance());
        QVERIFY(iModule->iGetInstance != &SystemConfig::GetInstance);
        SystemConfig* const config = SystemConfig::GetInstance();
        iHook->SetInstance(kName, nullptr);
        const std::unique_ptr<SystemConfig> own(iModule->iGetInstance());
        QVERIFY(own.get() != config);
        QCOMPARE(SystemConfig::GetInstance(), config);
        iHook->SetInstance(kName, config);
    }

    void secondModuleFindsTheInstanceOfTheFirst()
    {
        SystemConfig* const config = SystemConfig::GetInstance();
        QVERIFY(!*iModule->iPointer);
        QCOMPARE(iModule->iGetInstance(), config);
        QCOMPARE(*iModule->iPointer, config);
        SystemConfig::SetTestPath(QStringLiteral("/first/"));
        QCOMPARE(iModule->iGetUserCachePath(), QStringLiteral("/first/cache"));
        iModule->iSetTestPath(QStringLiteral("/second"));
        QCOMPARE(SystemConfig::GetUserCachePath(), QStringLiteral("/second/cache"));
    }

    void secondModuleIsFoundWhenItComesFirst()
    {
        SystemConfig* const config = iModule->iGetInstance();
        QVERIFY(config);
        QVERIFY(!SystemConfig_sInstance());
        QCOMPARE(iHook->GetInstance(kName), config);
        QCOMPARE(SystemConfig::GetInstance(), config);
        iHook.reset();
        QVERIFY(!*iModule->iPointer);
        SystemConfig_sInstance() = nullptr;
    }

    void shortName() { QCOMPARE(SystemConfig::ApplicationShortName(), QStringLiteral("ZV")); }

    void strings()
    {
        const char bytes[] = "a\xc3\xa9\xe2\x82\xac\xf0\x9f\x98\x80\0b";
        const std::string narrow(bytes, sizeof bytes - 1); // with a NUL in it
        const std::wstring wide{L'a', 0xe9, 0x20ac, 0x1f600, 0, L'b'};
        const QString text = QString::fromUtf8(bytes, int(sizeof bytes) - 1);
        QVERIFY(SystemConfig::QStringToWString(text) == wide);
        QVERIFY(SystemConfig::QStringToString(text) == narrow);
        QCOMPARE(SystemConfig::WStringToQString(wide), text);
        QCOMPARE(SystemConfig::StringToQString(narrow), text);
        QVERIFY(SystemConfig::QStringToWString(QString()).empty());
        QVERIFY(SystemConfig::QStringToString(QString()).empty());
        QVERIFY(SystemConfig::WStringToQString({}).isEmpty());
        QVERIFY(SystemConfig::StringToQString({}).isEmpty());
    }

private:
    const SecondModule* iModule = nullptr;
    std::unique_ptr<InstalledHook> iHook;
};

NEROLT_TEST_MAIN(tst_SystemConfig)

#include "tst_SystemConfig.moc"
