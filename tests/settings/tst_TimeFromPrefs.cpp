#include "support/LogScenario.h"
#include "support/TestMain.h"

#include <NeroltOrvaneBase/IniFile.h>
#include <NeroltOrvaneBase/SettingsIniFile.h>

#include <QtCore/QStringList>
#include <QtCore/QTime>
#include <QtTest/QtTest>

namespace {

const QString kGroup = QStringLiteral("Downloads");
const QString kStart = QStringLiteral("AutoDownloadsStart");
const QStringList kKeys{kStart, QStringLiteral("AutoDownloadsEnd"), kStart.toLower(), kStart + kStart};

QTime DefaultOf(const QString& key)
{
    return key == kStart ? QTime(16, 0) : QTime(20, 0);
}

// A store that has one text for all keys, and records what it is asked.
class FixedStore : public IIniFileBase
{
public:
    explicit FixedStore(const QString& text, bool result = true)
        : iText(text)
        , iResult(result)
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
    QString iText;
    bool iResult;
};

void AddRows(const char* result, const QStringList& texts)
{
    for (const QString& text : texts)
        QTest::newRow(qPrintable('"' + text + '"')) << text << QString::fromLatin1(result);
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
                {"07:45", "7:45", "07:45:99", "7:45:", "7:45:xx", "+7:45", "7 : 45 ", "7:+45", "\t007:0045\n"});
        AddRows("07:00", {"7:0", "7:-0"});
        AddRows("00:00", {"0:0"});
        AddRows("23:59", {"23:59"});
        AddRows("invalid", {"24:00", "24", "24:xx", "4294967295:00", "7:60", "7:-5", "7:2147483647", "7:-2147483648"});
        AddRows("default", {"", "abc", "7", "7:", "7::45", "7:xx", ":30", "-1:00", "-0:30", "4294967296:00", "7.5:30"});
        AddRows("default", {"7:30 pm", "7;30", " ", "7:2147483648", "0x7:00", "xx:60", "1 2:30", "1,000:00"});
        AddRows("default", {QString::fromUtf8("\xd9\xa7:\xd9\xa3"), QString::fromUtf8("7\xef\xbc\x9a") + "30"});
    }
    void text()
    {
        QFETCH(QString, text);
        QFETCH(QString, result);
        for (const QString& key : kKeys) {
            const QTime time = IniFile::GetTimeFromPrefs(FixedStore(text), kGroup, key);
            QCOMPARE(time, result == QLatin1String("default") ? DefaultOf(key) : QTime::fromString(result, "hh:mm"));
            QCOMPARE(time.isValid(), result != QLatin1String("invalid"));
        }
    }

    void storesOfBothKinds()
    {
        SettingsIniFile memory;
        IniFile file(QStringLiteral("times.ini"));
        for (const QString& key : kKeys) {
            for (IIniFileBase* const store : {static_cast<IIniFileBase*>(&memory), static_cast<IIniFileBase*>(&file)}) {
                QCOMPARE(IniFile::GetTimeFromPrefs(*store, kGroup, key), DefaultOf(key));
                store->SetKeyValue(kGroup, key, QStringLiteral("07:45"));
                QCOMPARE(IniFile::GetTimeFromPrefs(*store, kGroup, key), QTime(7, 45));
                store->RemoveKey(kGroup, key);
            }
            QCOMPARE(IniFile::GetTimeFromPrefs(IniFile(QString()), kGroup, key), DefaultOf(key));
        }
    }

    void asksTheStoreOnce()
    {
        const FixedStore store(QStringLiteral("07:45"));
        LogScenario::Captured log;
        QCOMPARE(IniFile::GetTimeFromPrefs(store, kGroup, kStart), QTime(7, 45));
        QCOMPARE(store.iAsked, QStringList{QStringLiteral("Downloads|AutoDownloadsStart|")});
        QCOMPARE(log.Lines(), QList<QByteArray>());
    }

    void goesByTheTextAndNotByTheAnswer()
    {
        const FixedStore store(QStringLiteral("07:45"), false);
        QCOMPARE(IniFile::GetTimeFromPrefs(store, kGroup, kStart), QTime(7, 45));
    }
};

NEROLT_TEST_MAIN(tst_TimeFromPrefs)

#include "tst_TimeFromPrefs.moc"
