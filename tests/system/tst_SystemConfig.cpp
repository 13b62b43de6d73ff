#include "InstalledHook.h"
#include "Replacement.h"
#include "support/TestMain.h"

#include <NeroltOrvaneBase/IOrvaneInstance.h>

#include <QtTest/QtTest>

#include <csignal>
#include <cstdio>
#include <memory>

Q_DECLARE_METATYPE(std::string)
Q_DECLARE_METATYPE(std::wstring)

using TestSupport::Scenario;

namespace {

// Asks for a path in its destructor, as a class may that saves something.
class Asking : public SystemConfig
{
public:
    ~Asking() override { std::puts(qPrintable(SystemConfig::GetUserDataPath())); }
};

QString FromUnits(std::initializer_list<ushort> units)
{
    QString text;
    for (const ushort unit : units)
        text += QChar(unit);
    return text;
}

const Scenario withoutHook("withoutHook", [](const QStringList&) {
    SystemConfig::GetInstance();
    std::puts("survived");
    return 0;
});

const Scenario nothingNeeded("nothingNeeded", [](const QStringList&) {
    SystemConfig::ApplicationShortName();
    SystemConfig::GetApplicationPath();
    SystemConfig::GetPluginsPath();
    SystemConfig::GetPluginPath(kName);
    SystemConfig::GetUserLocalePath(kName, false, true, true);
    SystemConfig::CreateFolder(kName);
    SystemConfig::StringToQString(SystemConfig::QStringToString(kName));
    SystemConfig::WStringToQString(SystemConfig::QStringToWString(kName));
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
    void initTestCase() { QVERIFY(!SystemConfig_sInstance()); }

    void init() { iHook = std::make_unique<InstalledHook>(); }

    void cleanup()
    {
        iHook.reset();
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
    }

    void nullInTheHookIsReplaced()
    {
        iHook->SetInstance(kName, nullptr);
        SystemConfig* const config = SystemConfig::GetInstance();
        QVERIFY(config);
        QCOMPARE(iHook->GetInstance(kName), config);
    }

    void pointerOnceSetIsNotLookedUpAgain()
    {
        SystemConfig* const config = SystemConfig::GetInstance();
        SystemConfig other;
        iHook->SetInstance(kName, &other);
        QCOMPARE(SystemConfig::GetInstance(), config);
        iHook->SetInstance(kName, config);
    }

    void deleteEndsTheInstanceAndLeavesTheEntry()
    {
        int destroyed = 0;
        Replacement* const replacement = new Replacement(destroyed);
        iHook->SetInstance(kName, replacement);
        SystemConfig::GetInstance()->Delete();
        QCOMPARE(destroyed, 1);
        QVERIFY(!SystemConfig_sInstance());
        QVERIFY(iHook->GetInstance(kName) == replacement);

        SystemConfig* const next = new SystemConfig;
        iHook->SetInstance(kName, next);
        QCOMPARE(SystemConfig::GetInstance(), next);
        QCOMPARE(destroyed, 1);
    }

    void deleteActsOnTheCurrentInstance()
    {
        int destroyed = 0;
        int otherDestroyed = 0;
        Replacement other(otherDestroyed);
        other.Delete();
        QCOMPARE(otherDestroyed, 0);

        iHook->SetInstance(kName, new Replacement(destroyed));
        SystemConfig::GetInstance();
        other.Delete();
        QCOMPARE(destroyed, 1);
        QVERIFY(!SystemConfig_sInstance());
        other.Delete();
        QCOMPARE(destroyed, 1);
        QCOMPARE(otherDestroyed, 0);
        iHook->SetInstance(kName, new SystemConfig);
        SystemConfig::GetInstance();
    }

    void hooksEndDeletesTheInstance()
    {
        int destroyed = 0;
        iHook->SetInstance(kName, new Replacement(destroyed));
        SystemConfig::GetInstance();
        iHook.reset();
        QCOMPARE(destroyed, 1);
        QVERIFY(!SystemConfig_sInstance());

        iHook = std::make_unique<InstalledHook>();
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

    void withoutAHookTheProcessEnds()
    {
        const auto result = TestSupport::RunScenario("withoutHook");
        QVERIFY2(result.iCrashed && !result.iTimedOut, result.Describe().constData());
        QCOMPARE(result.iExitCode, SIGABRT); // on purpose, not by a null pointer
        QCOMPARE(result.iStdout, QByteArray());
        QCOMPARE(
            result.iStderr,
            QByteArray("HookedSingleton::GetInstance: call HookedSingleton::InstallHook before the first singleton "
                       "is used\n"));
    }

    void whatIsNoConfigurationNeedsNoHook()
    {
        const auto result = TestSupport::RunScenario("nothingNeeded");
        QVERIFY2(result.IsOk(), result.Describe().constData());
    }

    void shortName() { QCOMPARE(SystemConfig::ApplicationShortName(), QStringLiteral("ZV")); }

    void ucs4_data()
    {
        QTest::addColumn<QString>("text");
        QTest::addColumn<std::wstring>("wide");
        QTest::addColumn<QString>("back");
        const auto row = [](const char* name, const QString& text, const std::wstring& wide) {
            QTest::newRow(name) << text << wide << text;
        };
        row("empty", QStringLiteral(""), std::wstring());
        row("NUL inside", FromUnits({'a', 0, 'b'}), std::wstring({L'a', 0, L'b'}));
        row("basic plane", FromUnits({0xe9, 0x20ac, 0xffff}), std::wstring({0xe9, 0x20ac, 0xffff}));
        row("beyond the basic plane", FromUnits({'a', 0xd83d, 0xde00, 'b'}), std::wstring({L'a', 0x1f600, L'b'}));
        row("last character", FromUnits({0xdbff, 0xdfff}), std::wstring(1, 0x10ffff));
        row("long", QString(100000, QChar(0x20ac)), std::wstring(100000, 0x20ac));
        QTest::newRow("byte order mark") << FromUnits({0xfeff, 'a'}) << std::wstring({0xfeff, L'a'})
                                         << QStringLiteral("a");
        QTest::newRow("lone surrogate") << FromUnits({0xd83d, 'a'}) << std::wstring({0xfffd, L'a'})
                                        << FromUnits({0xfffd, 'a'});
    }
    void ucs4()
    {
        QFETCH(QString, text);
        QFETCH(std::wstring, wide);
        QFETCH(QString, back);
        QVERIFY(SystemConfig::QStringToWString(text) == wide);
        QCOMPARE(SystemConfig::WStringToQString(wide), back);
    }

    void utf8_data()
    {
        QTest::addColumn<QString>("text");
        QTest::addColumn<std::string>("bytes");
        QTest::addColumn<QString>("back");
        const auto row = [](const char* name, const QString& text, const std::string& bytes) {
            QTest::newRow(name) << text << bytes << text;
        };
        row("empty", QStringLiteral(""), std::string());
        row("NUL inside", FromUnits({'a', 0, 'b'}), std::string("a\0b", 3));
        row("two and three bytes", FromUnits({0xe9, 0x20ac}), "\xc3\xa9\xe2\x82\xac");
        row("beyond the basic plane", FromUnits({0xd83d, 0xde00}), "\xf0\x9f\x98\x80");
        QTest::newRow("lone surrogate") << FromUnits({0xd83d, 'a'}) << std::string("?a") << QStringLiteral("?a");
        QTest::newRow("byte order mark") << FromUnits({0xfeff, 'a'})
                                         << std::string("\xef\xbb\xbf"
                                                        "a")
                                         << QStringLiteral("a");
    }
    void utf8()
    {
        QFETCH(QString, text);
        QFETCH(std::string, bytes);
        QFETCH(QString, back);
        QCOMPARE(QByteArray::fromStdString(SystemConfig::QStringToString(text)), QByteArray::fromStdString(bytes));
        QCOMPARE(SystemConfig::StringToQString(bytes), back);
        QCOMPARE(SystemConfig::StringToQString("a\xff"), FromUnits({'a', 0xfffd}));
    }

private:
    std::unique_ptr<InstalledHook> iHook;
};

NEROLT_TEST_MAIN(tst_SystemConfig)

#include "tst_SystemConfig.moc"
