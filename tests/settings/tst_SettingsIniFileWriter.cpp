#include "IniFiles.h"
#include "StoreContents.h"

#include <NeroltOrvaneBase/SettingsIniFile.h>

#include <QtCore/QDir>
#include <QtCore/QSize>
#include <QtCore/QVector>
#include <QtTest/QtTest>

#include <functional>
#include <limits>

using IniFiles::NewFile;
using IniFiles::NewPath;
using StoreContents::Empty;
using StoreContents::Line;
using StoreContents::Removed;
using StoreContents::Sections;
using StoreContents::Text;

// Changes the object before it is written to the file at the path.
using Change = std::function<void(SettingsIniFile& ini, const QString& path)>;
using Changes = QVector<Change>;
Q_DECLARE_METATYPE(Changes)

namespace {

const QByteArray kDisplay("[Display]\nWidth=800\nheight=600\n\n[Paths]\nCache=cachedir\n");

Change Read()
{
    return [](SettingsIniFile& ini, const QString& path) { ini.ReadFile(path); };
}

Change Set(const char* group, const char* key, const QVariant& value)
{
    return [=](SettingsIniFile& ini, const QString&) { ini.SetKeyValue(group, key, value); };
}

Change Remove(const char* group, const char* key)
{
    return [=](SettingsIniFile& ini, const QString&) { ini.RemoveKey(group, key); };
}

Change Clear()
{
    return [](SettingsIniFile& ini, const QString&) { ini.Clear(); };
}

void AddWrite(const char* name, const QByteArray& before, const Changes& changes, const QByteArray& after)
{
    QTest::newRow(name) << before << changes << after;
}

void AddValues()
{
    const QByteArray none = IniFiles::kNoFile;
    AddWrite("numbers", none,
             {Set("S", "a", -5), Set("S", "b", 4294967295U), Set("S", "c", std::numeric_limits<qint64>::min()),
              Set("S", "d", std::numeric_limits<quint64>::max()), Set("S", "e", 3.5), Set("S", "f", true)},
             "[S]\na=-5\nb=4294967295\nc=-9223372036854775808\nd=18446744073709551615\ne=3.5\nf=true\n");
    AddWrite("texts", none,
             {Set("S", "a", Text("plain text")), Set("S", "b", Text(" blanks ")), Set("S", "c", Text("a,b")),
              Set("S", "d", Text("a;b \"c\"")), Set("S", "e", Text("a\nb\tc\\d")), Set("S", "f", Text("@Size(1 2)")),
              Set("S", "g", Text("\xc3\xa4\xe2\x82\xac")), Set("S", "h", QString())},
             "[S]\na=plain text\nb=\" blanks \"\nc=\"a,b\"\nd=\"a;b \\\"c\\\"\"\ne=a\\nb\\tc\\\\d\nf=@@Size(1 2)\n"
             "g=\\xe4\\x20ac\nh=\n");
    AddWrite("other types", none,
             {Set("S", "a", QStringList{"a", "b c", "d,e"}), Set("S", "b", QStringList{"a"}),
              Set("S", "c", QSize(640, 480)), Set("S", "d", QByteArray("a\0\xff", 3)), Set("S", "e", QVariant()),
              Set("S", "f", QVariantMap{{"x", 1}})},
             "[S]\na=a, b c, \"d,e\"\nb=a\nc=@Size(640 480)\nd=@ByteArray(a\\0\\xff)\ne=@Invalid()\n"
             "f=@Variant(\\0\\0\\0\\b\\0\\0\\0\\x1\\0\\0\\0\\x2\\0x\\0\\0\\0\\x2\\0\\0\\0\\x1)\n");
    const QByteArray typed("[S]\na=@Size(1 2)\nb=@ByteArray(\\xff)\nc=1, 2\nd=@@x\ne=\"q;r\"\nf=@Invalid()\n");
    AddWrite("types that were read", typed, {Read(), Set("s", "G", Text("new"))},
             "[S]\nG=new\na=@Size(1 2)\nb=@ByteArray(\\xff)\nc=1, 2\nd=@@x\ne=\"q;r\"\nf=@Invalid()\n");
}

void AddNames()
{
    const QByteArray none = IniFiles::kNoFile;
    AddWrite("names that need escapes", none,
             {Set("a b", "c=d", 1), Set("[x]", "%", 2), Set("\xc3\xa4", "\xe2\x82\xac", 3)},
             "[%5Bx%5D]\n%25=2\n\n[a%20b]\nc%3Dd=1\n\n[%E4]\n%U20AC=3\n");
    AddWrite("slash in a section", none, {Set("a/b", "k", 1)}, "[a]\nb\\k=1\n");
    AddWrite("section without a name", none, {Set("", "k", 1)}, "[General]\nk=1\n");
    AddWrite("section called General", none, {Set("General", "k", 1)}, "[%General]\nk=1\n");
    // Two names for one key of the file: the one that comes later in the order of names wins.
    AddWrite("sections in their order", none, {Set("a/b", "k", 2), Set("a", "b/k", 1)}, "[a]\nb\\k=2\n");
    AddWrite("first spelling of section and key", none,
             {Set("Net", "Proxy", Text("a")), Set("NET", "PROXY", Text("b")), Set("net", "port", 1)},
             "[Net]\nProxy=b\nport=1\n");
}

void AddWhatStays()
{
    AddWrite("nothing to a file", "; c\n\n[A]\nk=v\n\n\n[B]\nj=1,2\n", {}, "; c\n\n[A]\nk=v\n\n\n[B]\nj=1,2\n");
    AddWrite("what was read, without comments and blank lines", "; c\n\n[A]\nk=v\n;x=1\n\n\n[B]\nj=1,2\n", {Read()},
             "[A]\nk=v\n\n[B]\nj=1, 2\n");
    AddWrite("keys that were never read", "top=1\n[A]\nk=v\n[a/b]\nq=1\n[B]\nx/y=3\n[E]\n", {Set("C", "k", 1)},
             "[General]\ntop=1\n\n[A]\nk=v\n\n[B]\nx\\y=3\n\n[C]\nk=1\n\n[a]\nb\\q=1\n");
    AddWrite("what was cleared from memory", kDisplay, {Read(), Clear(), Set("Display", "Width", 1)},
             "[Display]\nWidth=1\nheight=600\n\n[Paths]\nCache=cachedir\n");
    AddWrite("other spelling beside the file's", "[Net]\nProxy=a\n",
             {Set("Net", "PROXY", Text("b")), Set("NET", "Proxy", Text("c"))}, "[Net]\nPROXY=c\nProxy=a\n");
    AddWrite("the file's spelling once it was read", "[Net]\nProxy=a\n", {Read(), Set("NET", "PROXY", Text("b"))},
             "[Net]\nProxy=b\n");
}

void AddRemovals()
{
    AddWrite("removed", kDisplay, {Read(), Remove("Display", "height")},
             "[Display]\nWidth=800\n\n[Paths]\nCache=cachedir\n");
    // As in the framework, a name also removes the keys nested below it.
    AddWrite("removed with what is nested below", "[A]\nx=1\nx\\y=2\nxy=3\n[A/x]\nz=4\n", {Read(), Remove("A", "x")},
             "[A]\nxy=3\n");
    AddWrite("removed key in another spelling", kDisplay, {Read(), Remove("Display", "HEIGHT")}, kDisplay);
    AddWrite("removed and set again", kDisplay,
             {Read(), Remove("Display", "height"), Set("Display", "height", Text("x"))},
             "[Display]\nWidth=800\n\n[Paths]\nCache=cachedir\n");
    AddWrite("removed and set again in another spelling", kDisplay,
             {Read(), Remove("Display", "height"), Set("Display", "Height", Text("x"))},
             "[Display]\nHeight=x\nWidth=800\n\n[Paths]\nCache=cachedir\n");
    AddWrite("removed before everything was cleared", kDisplay, {Read(), Remove("Display", "height"), Clear()},
             "[Display]\nWidth=800\n\n[Paths]\nCache=cachedir\n");
    AddWrite("removed from the file without having been read", kDisplay,
             {Set("Display", "height", 1), Remove("Display", "height")},
             "[Display]\nWidth=800\n\n[Paths]\nCache=cachedir\n");
    AddWrite("not removed because it was not in memory", kDisplay,
             {Remove("Display", "height"), Set("Display", "Width", Text("800")), Remove("Display", "height")},
             kDisplay);
}

void AddAssignments()
{
    AddWrite("assigned object removes its own", kDisplay, {[](SettingsIniFile& ini, const QString& path) {
                 SettingsIniFile source;
                 source.ReadFile(path);
                 source.RemoveKey("Display", "Width");
                 ini.SetKeyValue("Paths", "Cache", 1);
                 ini.RemoveKey("Paths", "Cache");
                 ini = source;
             }},
             "[Display]\nWidth=800\nheight=600\n");
    AddWrite("object assigned to itself", kDisplay, {[](SettingsIniFile& ini, const QString& path) {
                 ini.ReadFile(path);
                 ini.SetKeyValue("Display", "Width", 1);
                 ini.RemoveKey("Paths", "Cache");
                 const SettingsIniFile& same = ini;
                 ini = same;
             }},
             "[Display]\nWidth=800\nheight=600\n");
}

} // namespace

class tst_SettingsIniFileWriter : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void file_data()
    {
        QTest::addColumn<QByteArray>("before");
        QTest::addColumn<Changes>("changes");
        QTest::addColumn<QByteArray>("after");
        AddValues();
        AddNames();
        AddWhatStays();
        AddRemovals();
        AddAssignments();
    }
    void file()
    {
        QFETCH(QByteArray, before);
        QFETCH(Changes, changes);
        QFETCH(QByteArray, after);
        const QString path = NewFile(before);
        SettingsIniFile ini;
        for (const Change& change : changes)
            change(ini, path);
        const QStringList sections = Sections(ini);
        const QStringList removed = Removed(ini);
        const QStringList files = QDir().entryList(QDir::AllEntries | QDir::Hidden);

        const SettingsIniFile& written = ini;
        QCOMPARE(IniFiles::Read(path), before);
        QCOMPARE(written.WriteFile(path), true);
        QCOMPARE(IniFiles::Read(path), after);
        QCOMPARE(written.WriteFile(path), true);
        QCOMPARE(IniFiles::Read(path), after);
        QCOMPARE(Sections(ini), sections);
        QCOMPARE(Removed(ini), removed);
        if (before != IniFiles::kNoFile)
            QCOMPARE(QDir().entryList(QDir::AllEntries | QDir::Hidden), files);
    }

    void example()
    {
        const QByteArray before = ";edited by hand\n[Display]\nWidth=800\nheight=600\n[Paths]\nCache=cachedir\n";
        const QByteArray without = "[Display]\nWidth=800\nheight=700\n\n[Net]\nProxy=none\n";
        for (const bool isAsSpelled : {true, false}) {
            const QString path = NewFile(before);
            SettingsIniFile ini;
            QVERIFY(ini.ReadFile(path));
            ini.SetKeyValue("display", "HEIGHT", QString("700"));
            ini.RemoveKey(isAsSpelled ? "Paths" : "paths", isAsSpelled ? "Cache" : "cache");
            ini.SetKeyValue("Net", "Proxy", QString("none"));
            QCOMPARE(Sections(ini),
                     (QStringList{Line("Display", "height", Text("700")), Line("Display", "Width", Text("800")),
                                  Line("Net", "Proxy", Text("none")), Empty("Paths")}));
            QVERIFY(ini.WriteFile(path));
            QCOMPARE(IniFiles::Read(path), isAsSpelled ? without : without + "\n[Paths]\nCache=cachedir\n");
        }
    }

    void removalsGoOnForEveryFile()
    {
        const QString first = NewFile(kDisplay);
        const QString second = NewFile("[Display]\nheight=1\ndepth=24\n");
        SettingsIniFile ini;
        QVERIFY(ini.ReadFile(first));
        ini.RemoveKey("Display", "height");
        QVERIFY(ini.WriteFile(first));
        QVERIFY(ini.WriteFile(second));
        QCOMPARE(IniFiles::Read(second), QByteArray("[Display]\nWidth=800\ndepth=24\n\n[Paths]\nCache=cachedir\n"));
        // Another program adds the key again, and it is removed again.
        IniFiles::Write(first, "[Display]\nheight=put back by another program\n");
        QVERIFY(ini.WriteFile(first));
        QCOMPARE(IniFiles::Read(first), QByteArray("[Display]\nWidth=800\n\n[Paths]\nCache=cachedir\n"));
    }

    // To the framework, a key without a name means everything in its section.
    void removingAKeyWithoutANameLeavesTheOthers_data()
    {
        QTest::addColumn<QString>("section");
        QTest::addColumn<QString>("key");
        QTest::newRow("empty") << QStringLiteral("A") << QString();
        QTest::newRow("separators") << QStringLiteral("A") << QStringLiteral("///");
        QTest::newRow("separator at the top level") << QString() << QStringLiteral("/");
        QTest::newRow("separators for both") << QStringLiteral("/") << QStringLiteral("//");
    }
    void removingAKeyWithoutANameLeavesTheOthers()
    {
        QFETCH(QString, section);
        QFETCH(QString, key);
        const QString path = NewFile("[A]\n=1\ny=3\n[B]\nz=4\n");
        for (const bool isRead : {false, true}) {
            SettingsIniFile ini;
            if (isRead)
                ini.ReadFile(path);
            ini.SetKeyValue(section, key, QStringLiteral("x"));
            ini.RemoveKey(section, key);
            QVERIFY(ini.WriteFile(path));
            const QByteArray text = IniFiles::Read(path);
            QVERIFY2(text.contains("[A]\n") && text.contains("y=3\n") && text.contains("[B]\nz=4\n"), text);
        }
    }
};

NEROLT_TEST_MAIN(tst_SettingsIniFileWriter)

#include "tst_SettingsIniFileWriter.moc"
