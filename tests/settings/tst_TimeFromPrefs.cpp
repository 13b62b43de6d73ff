#include "support/LogScenario.h"
#include "support/TestMain.h"

#include <NeroltOrvaneBase/IniFile.h>
#include <NeroltOrvaneBase/SettingsIniFile.h>

#include <QtCore/QStringList>
#include <QtCore/QTime>
#include <QtTest/QtTest>

namespace {

using Lines = QList<QByteArray>;

const QString kGroup = QStringLiteral("Downloads");
const QString kStart = QStringLiteral("AutoDownloadsStart");
const QString kEnd = QStringLiteral("AutoDownloadsEnd");
const QTime kInvalid;

QStringList Keys()
{
    return {kStart, kEnd, kStart.toLower(), kStart.toUpper(), kStart + kEnd, QStringLiteral("Other")};
}

QTime DefaultOf(const QString& key)
{
    return key == kStart ? QTime(16, 0, 0, 0) : QTime(20, 0, 0, 0);
}

QTime TimeNamed(const QString& name, const QString& key)
{
    if (name == QLatin1String("default"))
        return DefaultOf(key);
    return name == QLatin1String("invalid") ? kInvalid : QTime::fromString(name, QStringLiteral("hh:mm"));
}

// Names are case-insensitive here: one value for each key, one key at a time.
SettingsIniFile MemoryStore(const QString& key, const QVariant& value)
{
    SettingsIniFile store;
    store.SetKeyValue(kGroup, key, value);
    return store;
}

// A store that returns preset values and records the calls.
class ScriptedStore : public IIniFileBase
{
public:
    ScriptedStore(bool result, const QString& text)
        : iResult(result)
        , iText(text)
    {
    }
    bool GetKeyValue(const QString& group, const QString& key, QString& value) const override
    {
        iAsked += QStringList{group, key, value}.join(QLatin1Char('|'));
        value += iText;
        return iResult;
    }
    void SetKeyValue(const QString&, const QString&, const QVariant&) override { }
    void RemoveKey(const QString&, const QString&) override { }

    mutable QStringList iAsked;

private:
    bool iResult;
    QString iText;
};

void AddRows(const char* result, std::initializer_list<const char*> texts)
{
    for (const char* text : texts)
        QTest::newRow(*text ? text : "empty") << QString::fromUtf8(text) << QString::fromLatin1(result);
}

} // namespace

class tst_TimeFromPrefs : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void theKeysOfTheWindow()
    {
        QCOMPARE(QByteArray(ZEP_GLOBALS::gAutoDownloadsStartTime), QByteArray("AutoDownloadsStart"));
        QCOMPARE(QByteArray(ZEP_GLOBALS::gAutoDownloadsEndTime), QByteArray("AutoDownloadsEnd"));
    }

    void text_data()
    {
        QTest::addColumn<QString>("text");
        QTest::addColumn<QString>("result");
        AddRows("07:45",
                {"07:45", "7:45", "07:45:99", "7:45:", "7:45:xx", "+7:45", " 7:45", "7 : 45 ", "7:+45", "007:0045",
                 "\t7:45\n"});
        AddRows("07:05", {"7:5", "+7:05", " 7:05"});
        AddRows("07:00", {"7:0", "7:-0"});
        AddRows("00:00", {"0:0", "00:00"});
        AddRows("23:59", {"23:59"});
        AddRows("invalid",
                {"24:00", "24", "24:", "24:xx", "4294967295:00", "7:60", "7:-5", "7:-1", "7:2147483647",
                 "7:-2147483648", "23:60", "0:99"});
        AddRows("default",
                {"",
                 "abc",
                 "7",
                 "7:",
                 "7::45",
                 "7:xx",
                 ":30",
                 "-1:00",
                 "-0:30",
                 "4294967296:00",
                 "7.5:30",
                 "7:30.5",
                 "7:30 pm",
                 "7;30",
                 " ",
                 "7:2147483648",
                 "0x7:00",
                 "7h:30",
                 "xx:60",
                 "1 2:30",
                 "1,000:00",
                 "\xd9\xa7:\xd9\xa3",
                 "7\xef\xbc\x9a"
                 "30"});
    }

    void text()
    {
        QFETCH(QString, text);
        QFETCH(QString, result);
        for (const QString& key : Keys()) {
            const QTime expected = TimeNamed(result, key);
            QCOMPARE(expected.isValid(), result != QLatin1String("invalid"));
            QCOMPARE(IniFile::GetTimeFromPrefs(MemoryStore(key, text), kGroup, key), expected);
        }
    }

    void noValue()
    {
        const IniFile none{QString()};
        const SettingsIniFile memory;
        for (const QString& key : Keys()) {
            QCOMPARE(IniFile::GetTimeFromPrefs(none, kGroup, key), DefaultOf(key));
            QCOMPARE(IniFile::GetTimeFromPrefs(memory, kGroup, key), DefaultOf(key));
            QCOMPARE(IniFile::GetTimeFromPrefs(IniFile(QStringLiteral("missing.ini")), kGroup, key), DefaultOf(key));
        }
    }

    // The default depends on the exact name, the value on how the store compares names.
    void otherCaseInMemory()
    {
        const auto store = MemoryStore(kStart, QStringLiteral("07:45"));
        QCOMPARE(IniFile::GetTimeFromPrefs(store, kGroup, kStart.toLower()), QTime(7, 45));
        const auto bad = MemoryStore(kStart, QStringLiteral("abc"));
        QCOMPARE(IniFile::GetTimeFromPrefs(bad, kGroup, kStart.toLower()), QTime(20, 0));
        QCOMPARE(IniFile::GetTimeFromPrefs(bad, kGroup.toUpper(), kStart), QTime(16, 0));
    }

    void valuesThatAreNoText_data()
    {
        QTest::addColumn<QVariant>("value");
        QTest::addColumn<QString>("result");
        QTest::newRow("hour of the day") << QVariant(7) << "default";
        QTest::newRow("number beyond the hours") << QVariant(24) << "invalid";
        QTest::newRow("time of day") << QVariant(QTime(7, 45)) << "default";
        QTest::newRow("list") << QVariant(QStringList{QStringLiteral("07:45"), QStringLiteral("x")}) << "default";
        QTest::newRow("list whose halves meet")
            << QVariant(QStringList{QStringLiteral("7:"), QStringLiteral("45")}) << "07:45";
        QTest::newRow("bytes") << QVariant(QByteArray("07:45")) << "default";
        QTest::newRow("nothing") << QVariant() << "default";
    }
    void valuesThatAreNoText()
    {
        QFETCH(QVariant, value);
        QFETCH(QString, result);
        for (const QString& key : Keys())
            QCOMPARE(IniFile::GetTimeFromPrefs(MemoryStore(key, value), kGroup, key), TimeNamed(result, key));
    }

    void asksTheStoreOnce()
    {
        const ScriptedStore store(true, QStringLiteral("07:45"));
        LogScenario::Captured log(LogScenario::kAllLevels);
        QCOMPARE(IniFile::GetTimeFromPrefs(store, kGroup, kStart), QTime(7, 45, 0, 0));
        QCOMPARE(store.iAsked, QStringList{QStringLiteral("Downloads|AutoDownloadsStart|")});
        QCOMPARE(log.Lines(), Lines());
    }

    void goesByTheTextAndNotByTheAnswer()
    {
        QCOMPARE(IniFile::GetTimeFromPrefs(ScriptedStore(false, QStringLiteral("07:45")), kGroup, kEnd), QTime(7, 45));
        QCOMPARE(IniFile::GetTimeFromPrefs(ScriptedStore(true, QString()), kGroup, kEnd), QTime(20, 0));
    }
};

NEROLT_TEST_MAIN(tst_TimeFromPrefs)

#include "tst_TimeFromPrefs.moc"
