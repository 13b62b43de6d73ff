#include "IniFiles.h"
#include "support/LogScenario.h"
#include "support/TestMain.h"

#include <NeroltOrvaneBase/IniFile.h>

#include <QtCore/QFileInfo>
#include <QtCore/QSize>
#include <QtTest/QtTest>

#include <memory>

using namespace IniFiles;

namespace {

using Lines = QList<QByteArray>;

QByteArray Trace(const char* func, const QByteArray& text)
{
    return QByteArray("|25|Trace|IniFile::") + func + "|" + text;
}

QByteArray ReturnLine(const QByteArray& text)
{
    return Trace("SettingValue", "the return value is " + text);
}

QByteArray KeyLine(const QByteArray& key, const QByteArray& text)
{
    return Trace("GetKeyValue", "The key is " + key + " value is " + text);
}

void AddMiss(const char* name, const char* group, const char* key)
{
    QTest::newRow(name) << QString::fromLatin1(group) << QString::fromLatin1(key);
}

// Names that are not in the file of the tests below.
void AddMisses()
{
    QTest::addColumn<QString>("group");
    QTest::addColumn<QString>("key");
    AddMiss("no such key", "A", "x");
    AddMiss("no such section", "B", "k");
    AddMiss("key of other case", "A", "K");
    AddMiss("section of other case", "a", "k");
    AddMiss("key of the top level", "A", "top");
    AddMiss("key of a section at the top level", "", "k");
    AddMiss("beginning of a key", "A", "lo");
}

} // namespace

class tst_IniFile : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void get_data()
    {
        QTest::addColumn<QByteArray>("text");
        QTest::addColumn<QString>("result");
        QTest::addColumn<int>("typeLine");
        const auto row = [](const char* name, const char* text, const char* result, int typeLine = 0) {
            QTest::newRow(name) << QByteArray(text) << QString::fromUtf8(result) << typeLine;
        };
        row("text", "v", "v");
        row("present but empty", "", "");
        row("quoted empty", "\"\"", "");
        row("list", "a, b", "a b");
        row("no value at all", "@Invalid()", "");
        row("bytes", "@ByteArray(xyz)", "");
        row("size", "@Size(640 480)", "@Size(640 480)");
        row("rectangle", "@Rect(1 2 3 4)", "", 19);
        row("floating-point variant", "@Variant(\\0\\0\\0\\x6@\\f\\0\\0\\0\\0\\0\\0)", "", 6);
        row("template", "%1 %2", "%1 %2");
    }
    void get()
    {
        QFETCH(QByteArray, text);
        QFETCH(QString, result);
        QFETCH(int, typeLine);
        const IniFile ini(NewFile("[A]\nk=" + text + "\n"));
        LogScenario::Captured log;
        QString value;
        QVERIFY(ini.GetKeyValue(kGroup, kKey, value));
        QCOMPARE(value, result);
        Lines lines{ReturnLine(result.toUtf8()), KeyLine("k", result.toUtf8())};
        if (typeLine)
            lines.prepend(Trace("SettingValue", "type is " + QByteArray::number(typeLine)));
        QCOMPARE(log.Lines(), lines);
    }

    void miss_data()
    {
        AddMisses();
        AddMiss("a section is no key", "", "A");
    }
    void miss()
    {
        QFETCH(QString, group);
        QFETCH(QString, key);
        const IniFile ini(NewFile("top=0\n[A]\nk=v\nlong=w\n"));
        LogScenario::Captured log;
        for (const QString& before : {QStringLiteral("untouched"), QString(), QString(QLatin1String(""))}) {
            QString value = before;
            QVERIFY(!ini.GetKeyValue(group, key, value));
            QCOMPARE(value, before);
            QCOMPARE(value.isNull(), before.isNull());
            QCOMPARE(log.Lines(), Lines{ReturnLine("")});
        }
    }

    void theWayToAKey_data()
    {
        QTest::addColumn<QString>("group");
        QTest::addColumn<QString>("key");
        QTest::addColumn<QString>("result");
        const auto row = [](const char* name, const char* group, const char* key, const char* result) {
            QTest::newRow(name) << QString::fromLatin1(group) << QString::fromLatin1(key)
                                << QString::fromLatin1(result);
        };
        row("top level", "", "top", "0");
        row("null section", nullptr, "top", "0");
        row("section General is the top level", "", "general", "1");
        row("section that is really called General", "General", "k", "2");
        row("nested section", "N/M", "k", "3");
        row("nested key", "N", "M/k", "3");
        row("blank in both names", "S T", "a b", "4");
        row("spelling one", "C", "Key", "5");
        row("spelling two", "C", "key", "6");
    }
    void theWayToAKey()
    {
        QFETCH(QString, group);
        QFETCH(QString, key);
        QFETCH(QString, result);
        const IniFile ini(NewFile("top=0\n[General]\ngeneral=1\n[%General]\nk=2\n[N]\nM\\k=3\n[S%20T]\na%20b=4\n[C]\n"
                                  "Key=5\nkey=6\n"));
        LogScenario::Captured log(LoggerDefs::Trace);
        QCOMPARE(Get(ini, group, key), result);
        QCOMPARE(log.Lines(), (Lines{ReturnLine(result.toUtf8()), KeyLine(key.toUtf8(), result.toUtf8())}));
    }

    void getLogsAtTraceOnly()
    {
        const IniFile ini(NewFile("[A]\nk=v\n"));
        LogScenario::Captured log(LogScenario::kAllLevels & ~LoggerDefs::Trace);
        QCOMPARE(Get(ini), QStringLiteral("v"));
        QCOMPARE(Get(ini, kGroup, QStringLiteral("x")), QStringLiteral("<none>"));
        QCOMPARE(log.Lines(), Lines());
    }

    void set_data()
    {
        QTest::addColumn<QVariant>("value");
        QTest::addColumn<QByteArray>("onDisk");
        QTest::addColumn<QString>("text");
        const auto row = [](const char* name, const QVariant& value, const char* onDisk, const char* text) {
            QTest::newRow(name) << value << QByteArray(onDisk) << QString::fromUtf8(text);
        };
        row("text", QStringLiteral("v"), "v", "v");
        row("null text", QString(), "", "");
        row("text beyond ASCII", QString(QChar(0xe4)), "\\xe4", "\xc3\xa4");
        row("int", -7, "-7", "-7");
        row("signed 64 bits", qint64(-7), "-7", "");
        row("floating point", 3.5, "3.5", "");
        row("list", QStringList{QStringLiteral("a"), QStringLiteral("b c")}, "a, b c", "a b c");
        row("bytes", QByteArray("x"), "@ByteArray(x)", "");
        row("size", QSize(640, 480), "@Size(640 480)", "@Size(640 480)");
    }
    void set()
    {
        QFETCH(QVariant, value);
        QFETCH(QByteArray, onDisk);
        QFETCH(QString, text);
        const QString path = NewPath();
        IniFile ini(path);
        LogScenario::Captured log;
        ini.SetKeyValue(kGroup, kKey, value);
        QCOMPARE(log.Lines(), Lines());
        QCOMPARE(Read(path), "[A]\nk=" + onDisk + "\n");
        QCOMPARE(Get(ini), text);
    }

    void setWritesThroughEachTime()
    {
        const QString path = NewFile(";a comment\n[A]\nk=1\n");
        IniFile ini(path);
        ini.SetKeyValue(kGroup, kKey, QStringList{QStringLiteral("a"), QStringLiteral("b")});
        QCOMPARE(Read(path), QByteArray("[A]\nk=a, b\n"));
        ini.SetKeyValue(kGroup, kKey, 2);
        QCOMPARE(Read(path), QByteArray("[A]\nk=2\n"));
        ini.SetKeyValue(kGroup, QStringLiteral("K"), 3);
        QCOMPARE(Read(path), QByteArray("[A]\nK=3\nk=2\n"));
        ini.SetKeyValue(QStringLiteral("a"), kKey, 4);
        QCOMPARE(Read(path), QByteArray("[A]\nK=3\nk=2\n\n[a]\nk=4\n"));
        ini.SetKeyValue(QString(), kKey, 5);
        QCOMPARE(Read(path), QByteArray("[General]\nk=5\n\n[A]\nK=3\nk=2\n\n[a]\nk=4\n"));
        ini.SetKeyValue(QStringLiteral("N/M"), kKey, 6);
        QVERIFY(Read(path).contains("\n\n[N]\nM\\k=6\n\n"));
    }

    void setMakesTheFolder()
    {
        const QString folder = QDir(NewPath()).filePath(QStringLiteral("sub"));
        const QString path = QDir(folder).filePath(QStringLiteral("deep.ini"));
        IniFile ini(path);
        Get(ini);
        ini.RemoveKey(kGroup, kKey);
        QVERIFY(!QFile::exists(folder));
        ini.SetKeyValue(kGroup, kKey, 1);
        QCOMPARE(Read(path), QByteArray("[A]\nk=1\n"));
        ini.RemoveKey(kGroup, kKey);
        QCOMPARE(Entries(folder), QStringList{QStringLiteral("deep.ini")});
    }

    void setKeepsALink()
    {
        const QString path = NewFile("[A]\nk=1\n");
        const QString link = NewPath();
        QVERIFY(QFile::link(path, link));
        IniFile(link).SetKeyValue(kGroup, kKey, 2);
        QVERIFY(QFileInfo(link).isSymLink());
        QCOMPARE(Read(path), QByteArray("[A]\nk=2\n"));
    }

    void removeWritesThrough()
    {
        const QString path = NewFile("[A]\nk=1\nother=2\n[B]\nk=3\n");
        IniFile ini(path);
        LogScenario::Captured log;
        ini.RemoveKey(kGroup, kKey);
        QCOMPARE(log.Lines(), Lines());
        QCOMPARE(Read(path), QByteArray("[A]\nother=2\n\n[B]\nk=3\n"));
        QCOMPARE(Get(ini), QStringLiteral("<none>"));
        ini.RemoveKey(kGroup, QStringLiteral("other"));
        QCOMPARE(Read(path), QByteArray("[B]\nk=3\n"));
        ini.RemoveKey(QStringLiteral("B"), kKey);
        QCOMPARE(Read(path), QByteArray());
    }

    void removeNothing_data() { AddMisses(); }
    void removeNothing()
    {
        QFETCH(QString, group);
        QFETCH(QString, key);
        const QByteArray text = ";kept because nothing is written\ntop=0\n[A]\nk=v\nlong=w\n";
        const QString path = NewFile(text);
        LogScenario::Captured log;
        IniFile(path).RemoveKey(group, key);
        QCOMPARE(log.Lines(), Lines());
        QCOMPARE(Read(path), text);
    }

    // As in the framework: a name also removes the keys nested below it, and an empty name removes the section.
    void removeBelowAName_data()
    {
        QTest::addColumn<QString>("group");
        QTest::addColumn<QString>("key");
        QTest::addColumn<QByteArray>("after");
        const auto row = [](const char* name, const char* group, const char* key, const char* after) {
            QTest::newRow(name) << QString::fromLatin1(group) << QString::fromLatin1(key) << QByteArray(after);
        };
        row("nested keys", "A", "N", "[General]\ntop=0\n\n[A]\nk=1\n\n[B]\nk=3\n");
        row("section as a key", "", "A", "[General]\ntop=0\n\n[B]\nk=3\n");
        row("empty key", "A", "", "[General]\ntop=0\n\n[B]\nk=3\n");
        row("null key", "B", nullptr, "[General]\ntop=0\n\n[A]\nN\\x=2\nk=1\n");
    }
    void removeBelowAName()
    {
        QFETCH(QString, group);
        QFETCH(QString, key);
        QFETCH(QByteArray, after);
        const QString path = NewFile("top=0\n[A]\nk=1\nN\\x=2\n[B]\nk=3\n");
        IniFile(path).RemoveKey(group, key);
        QCOMPARE(Read(path), after);
    }
};

NEROLT_TEST_MAIN(tst_IniFile)

#include "tst_IniFile.moc"
