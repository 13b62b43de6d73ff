#include "settings/StoreContents.h"
#include "support/LogText.h"
#include "support/OrdinaryUser.h"
#include "support/TestMain.h"

#include <NeroltOrvaneBase/SettingsIniFile.h>

#include <QtCore/QDir>
#include <QtCore/QFile>
#include <QtCore/QSettings>
#include <QtCore/QSize>
#include <QtCore/QVector>
#include <QtTest/QtTest>

#include <functional>
#include <limits>
#include <random>

using StoreContents::Empty;
using StoreContents::Line;
using StoreContents::Removed;
using StoreContents::Sections;

// Changes the object before it is written to the file at the path.
using Change = std::function<void(SettingsIniFile& ini, const QString& path)>;
using Changes = QVector<Change>;
Q_DECLARE_METATYPE(Changes)

namespace {

QVariant Text(const char* text)
{
    return QString::fromUtf8(text);
}

QString NewPath()
{
    static int count = 0;
    return QStringLiteral("write-%1.ini").arg(++count);
}

void Put(const QString& path, const QByteArray& text)
{
    QFile file(path);
    if (!file.open(QIODevice::WriteOnly) || file.write(text) != text.size())
        qFatal("cannot write %s", qPrintable(path));
}

// A separate file for each text: the framework recognises files by size and time.
QString NewFile(const QByteArray& text)
{
    const QString path = NewPath();
    Put(path, text);
    return path;
}

QString Get(const SettingsIniFile& ini, const char* group, const char* key)
{
    QString value = QStringLiteral("none");
    ini.GetKeyValue(QString::fromUtf8(group), QString::fromUtf8(key), value);
    return value;
}

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

// A null text means no file.
void AddWrite(const char* name, const QByteArray& before, const Changes& changes, const QByteArray& after)
{
    QTest::newRow(name) << before << changes << after;
}

void AddValues()
{
    const QByteArray none;
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
    const QByteArray none;
    AddWrite("names that need escapes", none,
             {Set("a b", "c=d", 1), Set("[x]", "%", 2), Set("\xc3\xa4", "\xe2\x82\xac", 3)},
             "[%5Bx%5D]\n%25=2\n\n[a%20b]\nc%3Dd=1\n\n[%E4]\n%U20AC=3\n");
    AddWrite("slash in a section", none, {Set("a/b", "k", 1)}, "[a]\nb\\k=1\n");
    AddWrite("slash in a key", none, {Set("a", "b/k", 1)}, "[a]\nb\\k=1\n");
    AddWrite("section without a name", none, {Set("", "k", 1)}, "[General]\nk=1\n");
    AddWrite("section called General", none, {Set("General", "k", 1)}, "[%General]\nk=1\n");
    // Two names for one key of the file: the one that comes later in the order of names wins.
    AddWrite("sections in their order", none, {Set("a/b", "k", 2), Set("a", "b/k", 1)}, "[a]\nb\\k=2\n");
    AddWrite("keys in their order", none, {Set("S", "k", 1), Set("S", "/k", 2)}, "[S]\nk=1\n");
    AddWrite("first spelling of section and key", none,
             {Set("Net", "Proxy", Text("a")), Set("NET", "PROXY", Text("b")), Set("net", "port", 1)},
             "[Net]\nProxy=b\nport=1\n");
}

void AddWhatStays()
{
    AddWrite("nothing to a file that is missing", QByteArray(), {}, QByteArray());
    AddWrite("nothing to a file", "; c\n\n[A]\nk=v\n\n\n[B]\nj=1,2\n", {}, "; c\n\n[A]\nk=v\n\n\n[B]\nj=1,2\n");
    AddWrite("what was read, without comments and blank lines", "; c\n\n[A]\nk=v\n;x=1\n\n\n[B]\nj=1,2\n", {Read()},
             "[A]\nk=v\n\n[B]\nj=1, 2\n");
    AddWrite("keys that were never read", "top=1\n[A]\nk=v\n[a/b]\nq=1\n[B]\nx/y=3\n[E]\n", {Set("C", "k", 1)},
             "[General]\ntop=1\n\n[A]\nk=v\n\n[B]\nx\\y=3\n\n[C]\nk=1\n\n[a]\nb\\q=1\n");
    AddWrite("keys that are not in the table", "top=1\n[A]\nk=v\n[a/b]\nq=1\n[B]\nx/y=3\n", {Read()},
             "[General]\ntop=1\n\n[A]\nk=v\n\n[B]\nx\\y=3\n\n[a]\nb\\q=1\n");
    AddWrite("what was cleared from memory", kDisplay, {Read(), Clear(), Set("Display", "Width", 1)},
             "[Display]\nWidth=1\nheight=600\n\n[Paths]\nCache=cachedir\n");
    AddWrite("other spelling beside the file's", "[Net]\nProxy=a\n",
             {Set("Net", "PROXY", Text("b")), Set("NET", "Proxy", Text("c"))}, "[Net]\nPROXY=c\nProxy=a\n");
    AddWrite("other section beside the file's", "[Net]\nProxy=a\n", {Set("NET", "Proxy", Text("b"))},
             "[NET]\nProxy=b\n\n[Net]\nProxy=a\n");
    AddWrite("the file's spelling once it was read", "[Net]\nProxy=a\n", {Read(), Set("NET", "PROXY", Text("b"))},
             "[Net]\nProxy=b\n");
    AddWrite("two spellings in the file, one in memory", "[Net]\nProxy=a\n[NET]\nproxy=b\n", {Read()},
             "[NET]\nproxy=a\n\n[Net]\nProxy=a\n");
    AddWrite("what could be made of a malformed file", "[A]\nk=v\n[Broken\nj=w\nnothing\n", {Set("A", "n", 1)},
             "[A]\nk=v\nn=1\n\n[Broken]\nj=w\n");
    AddWrite("bytes beyond ASCII", "[A]\nk=\xe4\n", {Set("A", "n", 1)}, "[A]\nk=\\xe4\nn=1\n");
}

void AddRemovals()
{
    AddWrite("removed", kDisplay, {Read(), Remove("Display", "height")},
             "[Display]\nWidth=800\n\n[Paths]\nCache=cachedir\n");
    AddWrite("last key of a section removed", kDisplay, {Read(), Remove("Paths", "Cache")},
             "[Display]\nWidth=800\nheight=600\n");
    // As in the framework, a name also removes the keys nested below it.
    AddWrite("removed with what is nested below", "[A]\nx=1\nx\\y=2\nxy=3\n[A/x]\nz=4\n", {Read(), Remove("A", "x")},
             "[A]\nxy=3\n");
    AddWrite("everything removed", "[A]\nk=1\n", {Read(), Remove("A", "k")}, "");
    AddWrite("removed key in another spelling", kDisplay, {Read(), Remove("Display", "HEIGHT")}, kDisplay);
    AddWrite("removed section in another spelling", kDisplay, {Read(), Remove("display", "height")}, kDisplay);
    AddWrite("removed and set again", kDisplay,
             {Read(), Remove("Display", "height"), Set("Display", "height", Text("x"))},
             "[Display]\nWidth=800\n\n[Paths]\nCache=cachedir\n");
    AddWrite("removed and set again in another spelling", kDisplay,
             {Read(), Remove("Display", "height"), Set("Display", "Height", Text("x"))},
             "[Display]\nHeight=x\nWidth=800\n\n[Paths]\nCache=cachedir\n");
    AddWrite("removed in another spelling and set again", kDisplay,
             {Read(), Remove("Display", "HEIGHT"), Set("Display", "height", Text("x"))},
             "[Display]\nWidth=800\nheight=x\n\n[Paths]\nCache=cachedir\n");
    AddWrite("the first spelling of a removal counts", kDisplay,
             {Read(), Remove("Display", "HEIGHT"), Set("Display", "height", 1), Remove("Display", "height")}, kDisplay);
    AddWrite("removed and read again", kDisplay, {Read(), Remove("Display", "height"), Read()},
             "[Display]\nWidth=800\n\n[Paths]\nCache=cachedir\n");
    AddWrite("removed before everything was cleared", kDisplay, {Read(), Remove("Display", "height"), Clear()},
             "[Display]\nWidth=800\n\n[Paths]\nCache=cachedir\n");
    AddWrite("removed from memory though not in the file", "[A]\nk=1\n",
             {Set("B", "k", 1), Remove("B", "k"), Set("C", "k", 1)}, "[A]\nk=1\n\n[C]\nk=1\n");
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

QByteArray BigFile(int sections, int keys)
{
    QByteArray text;
    for (int section = 0; section < sections; ++section) {
        text += "[Section" + QByteArray::number(section) + "]\n";
        for (int key = 0; key < keys; ++key)
            text += "Key" + QByteArray::number(key) + "=value " + QByteArray::number(section * keys + key) + '\n';
    }
    return text;
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
        const QString path = before.isNull() ? NewPath() : NewFile(before);
        SettingsIniFile ini;
        for (const Change& change : changes)
            change(ini, path);
        const QStringList sections = Sections(ini);
        const QStringList removed = Removed(ini);
        const QStringList files = QDir().entryList(QDir::AllEntries | QDir::Hidden);

        const SettingsIniFile& written = ini;
        QCOMPARE(written.WriteFile(path), true);
        QCOMPARE(LogText::Read(path), after);
        QCOMPARE(QFile::exists(path), !after.isNull());
        QCOMPARE(written.WriteFile(path), true);
        QCOMPARE(LogText::Read(path), after);
        QCOMPARE(Sections(ini), sections);
        QCOMPARE(Removed(ini), removed);
        if (before.isNull() == after.isNull())
            QCOMPARE(QDir().entryList(QDir::AllEntries | QDir::Hidden), files);
    }

    void example_data()
    {
        QTest::addColumn<QString>("group");
        QTest::addColumn<QString>("key");
        QTest::addColumn<QByteArray>("after");
        QTest::newRow("removed as the file spells it") << QStringLiteral("Paths") << QStringLiteral("Cache")
                                                       << QByteArray("[Display]\nWidth=800\nheight=700\n\n"
                                                                     "[Net]\nProxy=none\n");
        QTest::newRow("removed in another spelling") << QStringLiteral("paths") << QStringLiteral("cache")
                                                     << QByteArray("[Display]\nWidth=800\nheight=700\n\n"
                                                                   "[Net]\nProxy=none\n\n[Paths]\nCache=cachedir\n");
    }
    void example()
    {
        QFETCH(QString, group);
        QFETCH(QString, key);
        QFETCH(QByteArray, after);
        const QString path = NewFile(";edited by hand\n[Display]\nWidth=800\nheight=600\n[Paths]\nCache=cachedir\n");
        SettingsIniFile ini;
        QVERIFY(ini.ReadFile(path));
        ini.SetKeyValue("display", "HEIGHT", QString("700"));
        ini.RemoveKey(group, key);
        ini.SetKeyValue("Net", "Proxy", QString("none"));
        QCOMPARE(Sections(ini),
                 (QStringList{Line("Display", "height", Text("700")), Line("Display", "Width", Text("800")),
                              Line("Net", "Proxy", Text("none")), Empty("Paths")}));
        QCOMPARE(Removed(ini), QStringList{Line(group, key, QString())});
        QVERIFY(ini.WriteFile(path));
        QCOMPARE(LogText::Read(path), after);
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
        QCOMPARE(LogText::Read(second), QByteArray("[Display]\nWidth=800\ndepth=24\n\n[Paths]\nCache=cachedir\n"));
        // Another program adds the key again, and it is removed again.
        Put(first, "[Display]\nheight=put back by another program\n");
        QVERIFY(ini.WriteFile(first));
        QCOMPARE(LogText::Read(first), QByteArray("[Display]\nWidth=800\n\n[Paths]\nCache=cachedir\n"));
        QCOMPARE(Removed(ini), QStringList{Line("Display", "height", QString())});
    }

    void copyDoesNotRemove()
    {
        const QString path = NewFile(kDisplay);
        SettingsIniFile ini;
        QVERIFY(ini.ReadFile(path));
        ini.RemoveKey("Display", "height");
        const SettingsIniFile copy(ini);
        QVERIFY(copy.WriteFile(path));
        QCOMPARE(LogText::Read(path), kDisplay);
        QVERIFY(ini.WriteFile(path));
        QCOMPARE(LogText::Read(path), QByteArray("[Display]\nWidth=800\n\n[Paths]\nCache=cachedir\n"));
    }

    void removedAndSetAgainIsInMemoryOnly()
    {
        const QString path = NewFile("[S]\nj=1\nk=1\n");
        SettingsIniFile ini;
        QVERIFY(ini.ReadFile(path));
        ini.RemoveKey("S", "k");
        ini.SetKeyValue("S", "k", QString("x"));
        QVERIFY(ini.WriteFile(path));
        QCOMPARE(Get(ini, "S", "k"), QStringLiteral("x"));
        QCOMPARE(LogText::Read(path), QByteArray("[S]\nj=1\n"));
    }

    void foldersAreMade()
    {
        SettingsIniFile ini;
        ini.SetKeyValue("S", "k", 1);
        QVERIFY(ini.WriteFile(QStringLiteral("new/deep/file.ini")));
        QCOMPARE(LogText::Read(QStringLiteral("new/deep/file.ini")), QByteArray("[S]\nk=1\n"));
        QCOMPARE(QDir(QStringLiteral("new/deep")).entryList(QDir::Files | QDir::Hidden), QStringList{"file.ini"});
    }

    void whereNoFileCanBe_data()
    {
        QTest::addColumn<QString>("path");
        QTest::newRow("folder in the place") << QStringLiteral("folder.ini");
        QTest::newRow("below a file") << QStringLiteral("file.ini/below.ini");
        QTest::newRow("far below a file") << QStringLiteral("file.ini/new/below.ini");
    }
    void whereNoFileCanBe()
    {
        QFETCH(QString, path);
        QDir().mkpath(QStringLiteral("folder.ini"));
        Put(QStringLiteral("file.ini"), kDisplay);
        const QStringList before = QDir().entryList(QDir::AllEntries | QDir::Hidden);
        SettingsIniFile ini;
        ini.SetKeyValue("Display", "Width", 1);
        ini.RemoveKey("Display", "Width");
        ini.SetKeyValue("S", "k", 1);
        QCOMPARE(ini.WriteFile(path), false);
        QCOMPARE(QDir().entryList(QDir::AllEntries | QDir::Hidden), before);
        QVERIFY(QFileInfo(QStringLiteral("folder.ini")).isDir());
        QCOMPARE(LogText::Read(QStringLiteral("file.ini")), kDisplay);
        QCOMPARE(Sections(ini), (QStringList{Empty("Display"), Line("S", "k", 1)}));
        QCOMPARE(Removed(ini), QStringList{Line("Display", "Width", QString())});
    }

    void withoutPermission_data()
    {
        QTest::addColumn<int>("fileMode"); // none for no file
        QTest::addColumn<int>("folderMode");
        QTest::addColumn<bool>("written");
        QTest::newRow("file") << 0x4444 << 0x7777 << false;
        QTest::newRow("file that may not be read either") << 0x2222 << 0x7777 << false;
        QTest::newRow("file and folder") << 0x4444 << 0x5555 << false;
        QTest::newRow("folder of a new file") << 0 << 0x5555 << false;
        QTest::newRow("nothing is denied") << 0x6666 << 0x7777 << true;
        QTest::newRow("nothing is denied, new file") << 0 << 0x7777 << true;
    }
    void withoutPermission()
    {
        QFETCH(int, fileMode);
        QFETCH(int, folderMode);
        QFETCH(bool, written);
        const QString folder = NewPath();
        const QString path = folder + QStringLiteral("/file.ini");
        QVERIFY(QDir().mkpath(folder));
        OrdinaryUser::Own(QDir().absoluteFilePath(folder));
        if (fileMode != 0) {
            Put(path, "; c\n[S]\nk=1\n");
            OrdinaryUser::Own(QDir().absoluteFilePath(path));
            QVERIFY(QFile::setPermissions(path, QFile::Permissions(fileMode)));
        }
        QVERIFY(QFile::setPermissions(folder, QFile::Permissions(folderMode)));
        SettingsIniFile ini;
        ini.SetKeyValue("S", "k", 2);
        {
            const OrdinaryUser user;
            QCOMPARE(ini.WriteFile(path), written);
        }
        QVERIFY(QFile::setPermissions(folder, QFile::Permissions(0x7777)));
        QCOMPARE(QFile::exists(path), fileMode != 0 || written);
        if (QFile::exists(path))
            QVERIFY(QFile::setPermissions(path, QFile::Permissions(0x6666)));
        const QByteArray before = fileMode != 0 ? "; c\n[S]\nk=1\n" : "";
        QCOMPARE(LogText::Read(path), written ? QByteArray("[S]\nk=2\n") : before);
        QCOMPARE(QDir(folder).entryList(QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot).size(),
                 int(fileMode != 0 || written));
        QCOMPARE(Sections(ini), QStringList{Line("S", "k", 2)});
    }

    void fileInAFolderThatMayNotBeWrittenStaysAsItWas()
    {
        const QString folder = NewPath();
        const QString path = folder + QStringLiteral("/file.ini");
        QVERIFY(QDir().mkpath(folder));
        Put(path, "; c\n[S]\nk=1\n");
        OrdinaryUser::Own(QDir().absoluteFilePath(folder));
        OrdinaryUser::Own(QDir().absoluteFilePath(path));
        QVERIFY(QFile::setPermissions(folder, QFile::Permissions(0x5555)));
        SettingsIniFile ini;
        ini.SetKeyValue("S", "k", 2);
        {
            const OrdinaryUser user;
            ini.WriteFile(path);
        }
        QVERIFY(QFile::setPermissions(folder, QFile::Permissions(0x7777)));
        QCOMPARE(LogText::Read(path), QByteArray("; c\n[S]\nk=1\n"));
        QCOMPARE(QDir(folder).entryList(QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot),
                 QStringList{"file.ini"});
    }

    void linkIsFollowed()
    {
        const QString path = NewFile(kDisplay);
        QVERIFY(QFile::link(path, QStringLiteral("link.ini")));
        SettingsIniFile ini;
        ini.SetKeyValue("Display", "Width", 1);
        QVERIFY(ini.WriteFile(QStringLiteral("link.ini")));
        QVERIFY(QFileInfo(QStringLiteral("link.ini")).isSymLink());
        QCOMPARE(LogText::Read(path), QByteArray("[Display]\nWidth=1\nheight=600\n\n[Paths]\nCache=cachedir\n"));
    }

    void anyTextComesBack()
    {
        const ushort units[]
            = {'a', 'B', ' ', '\t', '\n', '\r', '"',  '\'', '\\', ';',  '#',   ',',   '=',   '[',    ']',    '%',
               '@', '(', ')', '0',  'x',  0,    0x7f, 0x80, 0xe4, 0xff, 0x100, 0x131, 0x3c2, 0x20ac, 0xd83d, 0xde00};
        std::mt19937 random(20240305);
        const auto text = [&](int least) {
            QString result;
            for (auto size = least + int(random() % 8); size > 0; --size)
                result += QChar(units[random() % (sizeof units / sizeof *units)]);
            return result;
        };
        for (int round = 0; round < 100; ++round) {
            SettingsIniFile ini;
            for (int i = 0; i < 20; ++i) {
                const QString section = text(1);
                ini.SetKeyValue(section, text(1), QVariant(text(0)));
                ini.SetKeyValue(section, text(1), QStringList{text(0), text(0)});
            }
            const QString path = NewPath();
            QVERIFY(ini.WriteFile(path));
            SettingsIniFile again;
            QVERIFY(again.ReadFile(path));
            QCOMPARE(Sections(again), Sections(ini));
        }
    }

    void fiftyThousandKeys()
    {
        constexpr int kSections = 500;
        constexpr int kKeys = 100;
        const QString path = NewFile("; a big file\n" + BigFile(kSections, kKeys));
        SettingsIniFile ini;
        QVERIFY(ini.ReadFile(path));
        QCOMPARE((ini.*SettingsIniFile_iSections()).size(), kSections);
        QCOMPARE(Sections(ini).size(), kSections * kKeys);
        for (int section = 0; section < kSections; ++section) {
            const QString name = QStringLiteral("Section%1").arg(section);
            for (int key = 0; key < kKeys; ++key)
                QCOMPARE(Get(ini, name.toUpper().toUtf8(), QByteArray("KEY" + QByteArray::number(key))),
                         QStringLiteral("value %1").arg(section * kKeys + key));
            ini.SetKeyValue(name.toLower(), "key7", section);
            ini.RemoveKey(name, "Key8");
            ini.SetKeyValue(name, "New", QString("new"));
        }
        QVERIFY(ini.WriteFile(path));

        QSettings file(path, QSettings::IniFormat);
        QCOMPARE(file.allKeys().size(), kSections * kKeys);
        for (int section = 0; section < kSections; ++section) {
            file.beginGroup(QStringLiteral("Section%1").arg(section));
            for (int key = 0; key < kKeys; ++key) {
                const QString value = file.value(QStringLiteral("Key%1").arg(key), "gone").toString();
                const QString untouched = QStringLiteral("value %1").arg(section * kKeys + key);
                QCOMPARE(value, key == 7 ? QString::number(section) : key == 8 ? QStringLiteral("gone") : untouched);
            }
            QCOMPARE(file.value("New").toString(), QStringLiteral("new"));
            file.endGroup();
        }
        SettingsIniFile again;
        QVERIFY(again.ReadFile(path));
        QCOMPARE(Sections(again).size(), kSections * kKeys);
        QCOMPARE(Sections(SettingsIniFile(again)), Sections(again));
    }

    // Without a linear search for each.
    void fiftyThousandRemovals()
    {
        constexpr int kKeys = 50000;
        const QString path = NewFile(BigFile(1, kKeys));
        SettingsIniFile ini;
        QVERIFY(ini.ReadFile(path));
        const QString section = QStringLiteral("Section0");
        for (int key = 1; key < kKeys; ++key)
            ini.RemoveKey(section, QStringLiteral("Key%1").arg(key));
        QVERIFY(ini.WriteFile(path));
        QCOMPARE(QSettings(path, QSettings::IniFormat).allKeys(), QStringList{section + QStringLiteral("/Key0")});
    }
};

NEROLT_TEST_MAIN(tst_SettingsIniFileWriter)

#include "tst_SettingsIniFileWriter.moc"
