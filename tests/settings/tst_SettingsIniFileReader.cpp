#include "IniFiles.h"
#include "StoreContents.h"
#include "support/Framework.h"
#include "support/LogScenario.h"
#include "support/OrdinaryUser.h"

#include <NeroltOrvaneBase/SettingsIniFile.h>

#include <QtCore/QSettings>
#include <QtTest/QtTest>

using IniFiles::NewFile;
using StoreContents::Empty;
using StoreContents::Line;
using StoreContents::Removed;
using StoreContents::Sections;
using StoreContents::Text;

namespace {

void AddFile(const char* name, const QByteArray& text, const QStringList& lines)
{
    QTest::newRow(name) << text << lines;
}

void AddWhatIsNotRead()
{
    AddFile("empty file", "", {});
    AddFile("keys above the first section", "top=1\n[A]\nk=v\n", {Line("A", "k", Text("v"))});
    AddFile("only keys above a section", "top=1\n", {});
    AddFile("General", "[General]\ng=2\n[A]\nk=v\n", {Line("A", "k", Text("v"))});
    AddFile("general in any case", "[general]\ng=2\n[GENERAL]\nh=3\n", {});
    AddFile("a section that is really called General", "[%General]\ng=2\n", {Line("General", "g", Text("2"))});
    AddFile("slash in a header", "[a/b]\nq=1\n[A]\nk=v\n", {Line("A", "k", Text("v"))});
    AddFile("slash in a header and keys of its first part", "[a/b]\nq=1\n[a]\nk=v\n", {Line("a", "k", Text("v"))});
    AddFile("backslash in a header", "[a\\b]\nq=1\n", {});
    AddFile("slash in a key", "[A]\nx/y=3\nk=v\n", {Line("A", "k", Text("v"))});
    AddFile("slash before a key", "[A]\n/x=3\nk=v\n", {Line("A", "k", Text("v"))});
    AddFile("backslash in a key", "[A]\nx\\y=3\nk=v\n", {Line("A", "k", Text("v"))});
    AddFile("only nested keys", "[A]\nx\\y=3\n", {});
    AddFile("section without keys", "[E]\n[A]\nk=v\n", {Line("A", "k", Text("v"))});
    AddFile("section without a name", "[]\nk=1\n[A]\nk=v\n", {Line("A", "k", Text("v"))});
}

void AddSpellings()
{
    // The framework lists capital letters first, whatever the file's order.
    const QStringList merged{Line("NET", "proxy", Text("a"))};
    AddFile("sections differ in case", "[Net]\nProxy=a\n[NET]\nproxy=b\n", merged);
    AddFile("sections differ in case, the other way round", "[NET]\nproxy=b\n[Net]\nProxy=a\n", merged);
    AddFile("three spellings of a section", "[net]\nPROXY=c\nx=1\n[Net]\nProxy=a\ny=2\n[NET]\nproxy=b\nZ=3\n",
            {Line("NET", "proxy", Text("c")), Line("NET", "x", Text("1")), Line("NET", "y", Text("2")),
             Line("NET", "Z", Text("3"))});
    AddFile("keys differ in case", "[A]\nkey=1\nKey=2\nKEY=3\n", {Line("A", "KEY", Text("1"))});
    AddFile(
        "capitals sort among the others", "[b]\nz=1\nY=2\n[C]\nk=3\n[A]\nk=4\n",
        {Line("A", "k", Text("4")), Line("b", "Y", Text("2")), Line("b", "z", Text("1")), Line("C", "k", Text("3"))});
}

// Line breaks, blanks, values, escapes and what is malformed.
const QByteArray kTexts[] = {
    "",
    "[A]\r\nk=v\r\n[B]\r\nj=w x",
    "[A]\rk=v\r[B]\rj=w x\r",
    "\n\n [ A ] \n k = v \n  \n\t[B]\n\tj\t=\tw x\t\n",
    ";c\n[A]\n;x=1\nk=v;c\nj=\"v;c\"\nl=v # c\n",
    "[A]\nk=one\\\n two\n",
    "[B]\nj=w x\n[A]\nk=1\n[B]\nk=2\n[A]\nk=3\nj=4\n",
    "[A]\nk=\nj=\"\"\nl=\"  padded  \"\nm=true\nn=a=b\n",
    "[A]\nk=1, 2 ,3\nj=\"1,2\"\nl=\"a,b\",c\nm=x,\nn=,\n",
    "[A]\nk=@Size(640 480)\nj=@Point(1 2)\nl=@Rect(1 2 3 4)\nm=@ByteArray(a\\0\\xff)\n",
    "[A]\nk=@Variant(\\0\\0\\0\\x6@\\f\\0\\0\\0\\0\\0\\0)\nj=@Invalid()\nl=@String(x)\nm=@Size(640)\nn=@@x\n",
    "[A]\nk=a\\tb\\nc\\\\d\\\"e\nj=\\x41\\101\\x20ac\nl=%41\n",
    QByteArray("[A]\nk=a\0b\n", 10),
    "[A%20B]\n%41%20=1\n%U20AC=2\n[%E4]\nk=1\n[\xe4]\nj=\xe4\xf6\n",
    "[A]\nk=\xe2\x82\xac\n",
    "\xef\xbb\xbf[A]\nk=\xe2\x82\xac\n",
    "[A]\nk=v\n[Broken\nj=w\nnothing\n[C]\nm=n\n",
    "A=top\n[A]\n=v\nk=w\n",
    "[A]\nk=\"open\nj=w\n",
    "]x\n[A]\nk=v\n",
};

// What the framework finds in a file, in its order.
QStringList Reference(const QString& path)
{
    QStringList lines;
    QSettings file(path, QSettings::IniFormat);
    for (const QString& group : file.childGroups()) {
        file.beginGroup(group);
        for (const QString& key : file.childKeys())
            lines += Line(group, key, file.value(key));
        file.endGroup();
    }
    return lines;
}

// Logs what is stored through the interface.
class Reporter : public SettingsIniFile
{
public:
    void SetKeyValue(const QString& group, const QString& key, const QVariant& value) override
    {
        Logger::LogInformation("Reporter", Line(group, key, value));
    }
};

} // namespace

class tst_SettingsIniFileReader : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void file_data()
    {
        QTest::addColumn<QByteArray>("text");
        QTest::addColumn<QStringList>("lines");
        AddWhatIsNotRead();
        AddSpellings();
    }
    void file()
    {
        QFETCH(QByteArray, text);
        QFETCH(QStringList, lines);
        const QString path = NewFile(text);
        SettingsIniFile ini;
        QCOMPARE(ini.ReadFile(path), true);
        QCOMPARE(Sections(ini), lines);
        QCOMPARE(Removed(ini), QStringList());
        QCOMPARE(ini.ReadFile(path), true);
        QCOMPARE(Sections(ini), lines);
        QCOMPARE(IniFiles::Read(path), text);
    }

    void anyFileAsTheFrameworkHasIt()
    {
        for (const QByteArray& text : kTexts) {
            const QString path = NewFile(text);
            SettingsIniFile ini;
            QVERIFY(ini.ReadFile(path));
            QCOMPARE(Sections(ini), Reference(NewFile(TestSupport::AsFrameworkReads(text))));
        }
    }

    // Sorted by the groups' names, not by the whole keys, in which a hyphen comes before the separator.
    void storesThroughTheInterfaceBehindTheGroupsLine()
    {
        const QString path = NewFile("top=1\n[]\nk=1\n[Net-2]\nk=1\n[Net]\nProxy=a\nPort=1,2\n[N]\nx\\y=1\n");
        Reporter ini;
        LogScenario::Captured log;
        QVERIFY(ini.ReadFile(path));
        const QByteArray group = "|25|Trace|SettingsIniFile::ReadFile|The group is ";
        const auto stored = [](const char* section, const char* key, const QVariant& value) {
            return "|10|Information|Reporter|" + Line(QLatin1String(section), QLatin1String(key), value).toUtf8();
        };
        QCOMPARE(
            log.Lines(),
            (QList<QByteArray>{"|20|Debug|SettingsIniFile::ReadFile|The file is " + path.toUtf8(), group, group + "N",
                               group + "Net", stored("Net", "Port", QStringList{"1", "2"}),
                               stored("Net", "Proxy", Text("a")), group + "Net-2", stored("Net-2", "k", Text("1"))}));
    }

    void secondFileMerges()
    {
        SettingsIniFile ini;
        QVERIFY(ini.ReadFile(NewFile("[Display]\nWidth=800\nheight=600\n[Net]\nProxy=a\n")));
        QVERIFY(ini.ReadFile(NewFile("[DISPLAY]\nHEIGHT=700,1\ndepth=24\n[Paths]\nCache=c\n")));
        QCOMPARE(Sections(ini),
                 (QStringList{Line("Display", "depth", Text("24")), Line("Display", "height", QStringList{"700", "1"}),
                              Line("Display", "Width", Text("800")), Line("Net", "Proxy", Text("a")),
                              Line("Paths", "Cache", Text("c"))}));
    }

    void removedKeyComesBackFromTheFile()
    {
        const QString path = NewFile("[Paths]\nCache=c\n");
        SettingsIniFile ini;
        QVERIFY(ini.ReadFile(path));
        ini.RemoveKey("PATHS", "CACHE");
        QCOMPARE(Sections(ini), QStringList{Empty("Paths")});
        QVERIFY(ini.ReadFile(path));
        QCOMPARE(Sections(ini), QStringList{Line("Paths", "Cache", Text("c"))});
        QCOMPARE(Removed(ini), QStringList{Line("PATHS", "CACHE", QString())});
    }

    void fileThatChanged()
    {
        const QString path = NewFile("[S]\nk=1\n");
        SettingsIniFile ini;
        QVERIFY(ini.ReadFile(path));
        IniFiles::Write(path, "[S]\nk=changed by another\n");
        QVERIFY(ini.ReadFile(path));
        QCOMPARE(Sections(ini), QStringList{Line("S", "k", Text("changed by another"))});
    }

    void linkIsFollowed()
    {
        QVERIFY(QFile::link(NewFile("[S]\nk=1\n"), QStringLiteral("link.ini")));
        SettingsIniFile ini;
        QVERIFY(ini.ReadFile(QStringLiteral("link.ini")));
        QCOMPARE(Sections(ini), QStringList{Line("S", "k", Text("1"))});
    }

    void whatCannotBeRead_data()
    {
        QTest::addColumn<QString>("path");
        QDir().mkpath(QStringLiteral("folder"));
        QTest::newRow("missing") << QStringLiteral("missing.ini");
        QTest::newRow("in a missing folder") << QStringLiteral("missing/file.ini");
        QTest::newRow("folder") << QStringLiteral("folder");
        QTest::newRow("below a file") << NewFile("[T]\nj=2\n") + QStringLiteral("/file.ini");
        QTest::newRow("no path") << QString();
    }
    void whatCannotBeRead()
    {
        QFETCH(QString, path);
        const QStringList before = IniFiles::Entries(QStringLiteral("."));
        SettingsIniFile ini;
        ini.SetKeyValue("S", "k", 1);
        QCOMPARE(ini.ReadFile(path), true);
        QCOMPARE(Sections(ini), QStringList{Line("S", "k", 1)});
        QCOMPARE(IniFiles::Entries(QStringLiteral(".")), before);
    }

    void fileWithoutPermission_data()
    {
        QTest::addColumn<int>("fileMode");
        QTest::addColumn<QStringList>("lines");
        QTest::newRow("may not be read") << 0x2222 << QStringList();
        QTest::newRow("may not be written") << 0x4444 << QStringList{Line("S", "k", Text("1"))};
    }
    void fileWithoutPermission()
    {
        QFETCH(int, fileMode);
        QFETCH(QStringList, lines);
        const QString path = NewFile("[S]\nk=1\n");
        OrdinaryUser::Own(path);
        QVERIFY(QFile::setPermissions(path, QFile::Permissions(fileMode)));
        SettingsIniFile ini;
        {
            const OrdinaryUser user;
            QCOMPARE(ini.ReadFile(path), true);
        }
        QCOMPARE(Sections(ini), lines);
    }
};

NEROLT_TEST_MAIN(tst_SettingsIniFileReader)

#include "tst_SettingsIniFileReader.moc"
