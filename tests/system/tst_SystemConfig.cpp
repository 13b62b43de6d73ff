#include "InstalledHook.h"
#include "support/TestMain.h"

#include <NeroltOrvaneBase/IOrvaneInstance.h>
#include <NeroltOrvaneBase/SystemConfig.h>

#include <QtTest/QtTest>

#include <csignal>
#include <cstdio>
#include <cstring>
#include <memory>
#include <type_traits>

using Instances = QMap<QString, IOrvaneInstance*>;

NEROLT_PRIVATE(SingletonHook, iInstances, Instances)
NEROLT_PRIVATE(SystemConfig, iTestPath, QString)
NEROLT_PRIVATE(SystemConfig, iUserDataFolder, QString)
NEROLT_PRIVATE(SystemConfig, iDocumentsFolder, QString)
NEROLT_PRIVATE(SystemConfig, iCacheFolder, QString)
NEROLT_PRIVATE(SystemConfig, iPicturesFolder, QString)
NEROLT_PRIVATE(SystemConfig, iMusicFolder, QString)
NEROLT_PRIVATE(SystemConfig, iDownloadsBaseFolder, QString)
NEROLT_PRIVATE_STATIC(SystemConfig, sInstance, SystemConfig*)

Q_DECLARE_METATYPE(std::string)
Q_DECLARE_METATYPE(std::wstring)

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

class Inert : public IOrvaneInstance
{
public:
    void Delete() override { }
};

// Always created at the same address, which is never freed.
class InPlace : public SystemConfig
{
public:
    static void* operator new(std::size_t)
    {
        alignas(SystemConfig) static unsigned char place[sizeof(SystemConfig)];
        return place;
    }
    static void operator delete(void*) { }
};

// Asks for a path in its destructor, as a class may that saves something.
class Asking : public SystemConfig
{
public:
    ~Asking() override { std::puts(qPrintable(SystemConfig::GetUserDataPath())); }
};

QStringList NamesIn(const SingletonHook& hook)
{
    return (hook.*SingletonHook_iInstances()).keys();
}

QList<QString SystemConfig::*> Fields()
{
    return {SystemConfig_iTestPath(),           SystemConfig_iUserDataFolder(), SystemConfig_iDocumentsFolder(),
            SystemConfig_iCacheFolder(),        SystemConfig_iPicturesFolder(), SystemConfig_iMusicFolder(),
            SystemConfig_iDownloadsBaseFolder()};
}

QStringList ValuesOf(const SystemConfig& config)
{
    QStringList values;
    for (QString SystemConfig::*const field : Fields())
        values += config.*field;
    return values;
}

QString FromUnits(std::initializer_list<ushort> units)
{
    QString text;
    for (const ushort unit : units)
        text += QChar(unit);
    return text;
}

// A pointer to a virtual function contains its offset in the table. The destructor has the first two slots.
template <typename Function>
quintptr SlotOf(Function function)
{
    quintptr raw = 0;
    std::memcpy(&raw, &function, sizeof raw);
    return raw / sizeof(void*);
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
    void initTestCase()
    {
        QVERIFY(!SystemConfig_sInstance());
        static_assert(std::is_base_of_v<IOrvaneInstance, SystemConfig>);
        static_assert(std::is_convertible_v<SystemConfig*, IOrvaneInstance*>);
        static_assert(!std::is_copy_constructible_v<SystemConfig> && !std::is_copy_assignable_v<SystemConfig>);
    }

    void init() { iHook = std::make_unique<InstalledHook>(); }

    void cleanup()
    {
        iHook.reset();
        QVERIFY(!SystemConfig_sInstance());
    }

    void fieldsInTheirOrder()
    {
        const SystemConfig config;
        quintptr expected = quintptr(&config) + sizeof(IOrvaneInstance);
        for (QString SystemConfig::*const field : Fields()) {
            QCOMPARE(quintptr(&(config.*field)), expected);
            expected += sizeof(QString);
        }
        QCOMPARE(sizeof(SystemConfig), sizeof(IOrvaneInstance) + 7 * sizeof(QString));
    }

    void fieldsBeginEmpty()
    {
        const SystemConfig config;
        for (QString SystemConfig::*const field : Fields())
            QVERIFY((config.*field).isEmpty());
    }

    void deleteHasTheThirdSlot() { QCOMPARE(SlotOf(&SystemConfig::Delete), quintptr(2)); }

    void deleteHasTheLastSlot()
    {
        class Derived : public SystemConfig
        {
        public:
            virtual void Next() { }
        };
        QCOMPARE(SlotOf(&Derived::Next), quintptr(3));
    }

    void firstUseCreatesAndEnters()
    {
        QVERIFY(NamesIn(*iHook).isEmpty());
        SystemConfig* const config = SystemConfig::GetInstance();
        QVERIFY(config);
        QCOMPARE(SystemConfig_sInstance(), config);
        QCOMPARE(NamesIn(*iHook), QStringList{kName});
        QCOMPARE(iHook->GetInstance(kName), config);
        QCOMPARE(ValuesOf(*config).join(QString()), QString());
        QCOMPARE(SystemConfig::GetInstance(), config);
        QCOMPARE(NamesIn(*iHook), QStringList{kName});
    }

    void aGetterIsAFirstUse()
    {
        QCOMPARE(SystemConfig::GetUserDataPath(), QString());
        QVERIFY(SystemConfig_sInstance());
        QCOMPARE(iHook->GetInstance(kName), SystemConfig_sInstance());
    }

    void entryInTheHookIsTheSingleton()
    {
        int destroyed = 0;
        Replacement* const replacement = new Replacement(destroyed);
        iHook->SetInstance(kName, replacement);
        QCOMPARE(SystemConfig::GetInstance(), replacement);
        QCOMPARE(SystemConfig_sInstance(), replacement);
        QCOMPARE(NamesIn(*iHook), QStringList{kName});
        SystemConfig::SetTestPath(QStringLiteral("/t"));
        QCOMPARE(replacement->*SystemConfig_iTestPath(), QStringLiteral("/t"));
        iHook.reset();
        QCOMPARE(destroyed, 1);
    }

    void nullInTheHookIsReplaced()
    {
        iHook->SetInstance(kName, nullptr);
        SystemConfig* const config = SystemConfig::GetInstance();
        QVERIFY(config);
        QCOMPARE(iHook->GetInstance(kName), config);
        QCOMPARE(NamesIn(*iHook), QStringList{kName});
    }

    void otherNamesAreOthers()
    {
        Inert other;
        iHook->SetInstance(kName.toLower(), &other);
        iHook->SetInstance(QStringLiteral("System"), &other);
        SystemConfig* const config = SystemConfig::GetInstance();
        QCOMPARE(iHook->GetInstance(kName), config);
        QCOMPARE(NamesIn(*iHook), (QStringList{QStringLiteral("System"), kName, kName.toLower()}));
        iHook.reset(); // before the instance that it holds
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
        QCOMPARE(NamesIn(*iHook), QStringList{kName});
        QVERIFY(iHook->GetInstance(kName) == replacement);

        SystemConfig* const next = new SystemConfig;
        iHook->SetInstance(kName, next);
        QCOMPARE(SystemConfig::GetInstance(), next);
        QCOMPARE(destroyed, 1);
    }

    void staleEntryIsReturned()
    {
        SystemConfig* const first = new InPlace;
        iHook->SetInstance(kName, first);
        SystemConfig::SetTestPath(QStringLiteral("/t"));
        SystemConfig::GetInstance()->Delete();
        SystemConfig* const again = new InPlace;
        QCOMPARE(again, first);
        QCOMPARE(SystemConfig::GetInstance(), again);
        QCOMPARE(SystemConfig::GetTestPath(), QString());
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

    void desktopFoldersAreKeptAsGiven_data()
    {
        QTest::addColumn<QStringList>("folders");
        QTest::newRow("plain") << QStringList{QStringLiteral("/u"), QStringLiteral("/d"), QStringLiteral("/c"),
                                              QStringLiteral("/b")};
        QTest::newRow("not normalised") << QStringList{QStringLiteral("/u//x/../y/"), QStringLiteral(" d "),
                                                       QStringLiteral("c\\c\\"), QStringLiteral("./b/")};
        QTest::newRow("separators alone")
            << QStringList{QStringLiteral("/"), QStringLiteral("//"), QStringLiteral("\\"), QStringLiteral(".")};
        QTest::newRow("template marks") << QStringList{QStringLiteral("%1"), QStringLiteral("%2"), QStringLiteral("%%"),
                                                       QStringLiteral("%L1")};
        QTest::newRow("any text") << QStringList{FromUnits({0xe9}), FromUnits({'e', 0x301}), FromUnits({0xd83d}),
                                                 FromUnits({'a', 0, 'b'})};
        QTest::newRow("all empty") << QStringList{QString(), QString(), QString(), QString()};
        QTest::newRow("some empty") << QStringList{QString(), QStringLiteral("/d"), QString(), QStringLiteral("/b")};
    }
    void desktopFoldersAreKeptAsGiven()
    {
        QFETCH(QStringList, folders);
        SystemConfig::SetDesktopFolders(QStringLiteral("1"), QStringLiteral("2"), QStringLiteral("3"),
                                        QStringLiteral("4"));
        SystemConfig::SetTestPath(QStringLiteral("/t"));
        SystemConfig::SetDesktopFolders(folders[0], folders[1], folders[2], folders[3]);
        QCOMPARE(
            ValuesOf(*SystemConfig::GetInstance()),
            (QStringList{QStringLiteral("/t"), folders[0], folders[1], folders[2], QString(), QString(), folders[3]}));
    }

    void shortName() { QCOMPARE(SystemConfig::ApplicationShortName(), QStringLiteral("ZV")); }

    void textToUcs4_data()
    {
        QTest::addColumn<QString>("text");
        QTest::addColumn<std::wstring>("wide");
        QTest::newRow("null") << QString() << std::wstring();
        QTest::newRow("empty") << QStringLiteral("") << std::wstring();
        QTest::newRow("ASCII") << QStringLiteral("abc") << std::wstring(L"abc");
        QTest::newRow("NUL inside") << FromUnits({'a', 0, 'b'}) << std::wstring({L'a', 0, L'b'});
        QTest::newRow("NULs only") << FromUnits({0, 0}) << std::wstring(2, L'\0');
        QTest::newRow("basic plane") << FromUnits({0xe9, 0x20ac, 0xffff}) << std::wstring({0xe9, 0x20ac, 0xffff});
        QTest::newRow("beyond the basic plane") << FromUnits({0xd83d, 0xde00}) << std::wstring(1, 0x1f600);
        QTest::newRow("first and last beyond")
            << FromUnits({0xd800, 0xdc00, 0xdbff, 0xdfff}) << std::wstring({0x10000, 0x10ffff});
        QTest::newRow("shrunk in the middle")
            << FromUnits({'a', 0xd83d, 0xde00, 'b'}) << std::wstring({L'a', 0x1f600, L'b'});
        QTest::newRow("byte order mark") << FromUnits({0xfeff, 'a'}) << std::wstring({0xfeff, L'a'});
        QTest::newRow("lone high surrogate") << FromUnits({0xd83d, 'a'}) << std::wstring({0xfffd, L'a'});
        QTest::newRow("lone low surrogate") << FromUnits({'a', 0xde00}) << std::wstring({L'a', 0xfffd});
        QTest::newRow("surrogates in the wrong order") << FromUnits({0xde00, 0xd83d}) << std::wstring({0xfffd, 0xfffd});
        QTest::newRow("long") << QString(100000, QChar(0x20ac)) << std::wstring(100000, 0x20ac);
    }
    void textToUcs4()
    {
        QFETCH(QString, text);
        QFETCH(std::wstring, wide);
        const std::wstring actual = SystemConfig::QStringToWString(text);
        QCOMPARE(actual.size(), wide.size());
        QVERIFY(actual == wide);
    }

    void ucs4ToText_data()
    {
        QTest::addColumn<std::wstring>("wide");
        QTest::addColumn<QString>("text");
        QTest::newRow("empty") << std::wstring() << QStringLiteral("");
        QTest::newRow("ASCII") << std::wstring(L"abc") << QStringLiteral("abc");
        QTest::newRow("NUL inside") << std::wstring({L'a', 0, L'b'}) << FromUnits({'a', 0, 'b'});
        QTest::newRow("NULs only") << std::wstring(2, L'\0') << FromUnits({0, 0});
        QTest::newRow("basic plane") << std::wstring({0xe9, 0x20ac, 0xffff}) << FromUnits({0xe9, 0x20ac, 0xffff});
        QTest::newRow("beyond the basic plane") << std::wstring({L'a', 0x10000, 0x1f600, 0x10ffff})
                                                << FromUnits({'a', 0xd800, 0xdc00, 0xd83d, 0xde00, 0xdbff, 0xdfff});
        QTest::newRow("surrogate") << std::wstring({0xd83d, L'a'}) << FromUnits({0xd83d, 'a'});
        QTest::newRow("byte order mark") << std::wstring({0xfeff, L'a'}) << QStringLiteral("a");
        QTest::newRow("byte order mark inside") << std::wstring({L'a', 0xfeff}) << FromUnits({'a', 0xfeff});
        QTest::newRow("long") << std::wstring(100000, 0x20ac) << QString(100000, QChar(0x20ac));
    }
    void ucs4ToText()
    {
        QFETCH(std::wstring, wide);
        QFETCH(QString, text);
        QCOMPARE(SystemConfig::WStringToQString(wide), text);
    }

    void ucs4BeyondTheLastCharacter_data()
    {
        QTest::addColumn<uint>("unit");
        QTest::newRow("first beyond") << 0x110000U;
        QTest::newRow("17 bits too many") << 0x7fffffffU;
        QTest::newRow("sign bit") << 0x80000000U;
        QTest::newRow("all bits") << 0xffffffffU;
    }
    void ucs4BeyondTheLastCharacter()
    {
        QFETCH(uint, unit);
        const uint units[] = {'a', unit, 'b'};
        const std::wstring wide{L'a', wchar_t(unit), L'b'};
        QCOMPARE(SystemConfig::WStringToQString(wide), QString::fromUcs4(units, 3));
    }

    void textToUtf8_data()
    {
        QTest::addColumn<QString>("text");
        QTest::addColumn<std::string>("bytes");
        QTest::newRow("null") << QString() << std::string();
        QTest::newRow("empty") << QStringLiteral("") << std::string();
        QTest::newRow("ASCII") << QStringLiteral("abc") << std::string("abc");
        QTest::newRow("NUL inside") << FromUnits({'a', 0, 'b'}) << std::string("a\0b", 3);
        QTest::newRow("two and three bytes") << FromUnits({0xe9, 0x20ac}) << std::string("\xc3\xa9\xe2\x82\xac");
        QTest::newRow("beyond the basic plane") << FromUnits({0xd83d, 0xde00}) << std::string("\xf0\x9f\x98\x80");
        QTest::newRow("lone high surrogate") << FromUnits({0xd83d, 'a'}) << std::string("?a");
        QTest::newRow("lone low surrogate") << FromUnits({'a', 0xde00}) << std::string("a?");
        QTest::newRow("byte order mark") << FromUnits({0xfeff, 'a'})
                                         << std::string("\xef\xbb\xbf"
                                                        "a");
    }
    void textToUtf8()
    {
        QFETCH(QString, text);
        QFETCH(std::string, bytes);
        QCOMPARE(QByteArray::fromStdString(SystemConfig::QStringToString(text)), QByteArray::fromStdString(bytes));
    }

    void utf8ToText_data()
    {
        QTest::addColumn<std::string>("bytes");
        QTest::addColumn<QString>("text");
        QTest::newRow("empty") << std::string() << QStringLiteral("");
        QTest::newRow("ASCII") << std::string("abc") << QStringLiteral("abc");
        QTest::newRow("NUL inside") << std::string("a\0b", 3) << FromUnits({'a', 0, 'b'});
        QTest::newRow("NUL at the end") << std::string("a\0", 2) << FromUnits({'a', 0});
        QTest::newRow("two and three bytes") << std::string("\xc3\xa9\xe2\x82\xac") << FromUnits({0xe9, 0x20ac});
        QTest::newRow("beyond the basic plane") << std::string("\xf0\x9f\x98\x80") << FromUnits({0xd83d, 0xde00});
        QTest::newRow("byte that begins nothing") << std::string("a\xff") << FromUnits({'a', 0xfffd});
        QTest::newRow("Latin-1") << std::string("\xe9 ") << FromUnits({0xfffd, ' '});
        QTest::newRow("overlong") << std::string("\xc0\x80") << FromUnits({0xfffd, 0xfffd});
        QTest::newRow("surrogate") << std::string("\xed\xa0\xbd") << FromUnits({0xfffd, 0xfffd, 0xfffd});
        QTest::newRow("cut short") << std::string("\xf0\x9f\x98") << FromUnits({0xfffd, 0xfffd, 0xfffd});
        QTest::newRow("byte order mark") << std::string("\xef\xbb\xbf"
                                                        "a")
                                         << QStringLiteral("a");
    }
    void utf8ToText()
    {
        QFETCH(std::string, bytes);
        QFETCH(QString, text);
        QCOMPARE(SystemConfig::StringToQString(bytes), text);
    }

private:
    std::unique_ptr<InstalledHook> iHook;
};

NEROLT_TEST_MAIN(tst_SystemConfig)

#include "tst_SystemConfig.moc"
