#include "settings/StoreContents.h"
#include "support/LogScenario.h"
#include "support/LogText.h"
#include "support/OrdinaryUser.h"
#include "support/TestMain.h"

#include <NeroltOrvaneBase/Logger.h>
#include <NeroltOrvaneBase/SettingsIniFile.h>

#include <QtCore/QDir>
#include <QtCore/QFile>
#include <QtCore/QPoint>
#include <QtCore/QRect>
#include <QtCore/QSettings>
#include <QtCore/QSize>
#include <QtTest/QtTest>

#include <algorithm>
#include <random>

using StoreContents::Empty;
using StoreContents::Line;
using StoreContents::Removed;
using StoreContents::Sections;

namespace {

QVariant Text(const char* text)
{
    return QString::fromUtf8(text);
}

// A separate file for each text: the framework recognises files by size and time.
QString NewFile(const QByteArray& text)
{
    static int count = 0;
    const QString path = QStringLiteral("read-%1.ini").arg(++count);
    QFile file(path);
    if (!file.open(QIODevice::WriteOnly) || file.write(text) != text.size())
        qFatal("cannot write %s", qPrintable(path));
    return path;
}

QByteArray AllBytes()
{
    QByteArray bytes;
    for (int byte = 0; byte < 256; ++byte)
        bytes += char(byte);
    return bytes;
}

void AddFile(const char* name, const QByteArray& text, const QStringList& lines)
{
    QTest::newRow(name) << text << lines;
}

void AddLineBreaksAndSpaces()
{
    const QStringList plain{Line("A", "k", Text("v")), Line("B", "j", Text("w x"))};
    AddFile("plain", "[A]\nk=v\n[B]\nj=w x\n", plain);
    AddFile("carriage returns and line feeds", "[A]\r\nk=v\r\n[B]\r\nj=w x\r\n", plain);
    AddFile("carriage returns", "[A]\rk=v\r[B]\rj=w x\r", plain);
    AddFile("no line break at the end", "[A]\nk=v\n[B]\nj=w x", plain);
    AddFile("blank lines", "\n\n[A]\n\nk=v\n  \n\n[B]\n\t\nj=w x\n\n", plain);
    AddFile("blanks around everything", " [ A ] \n k = v \n\t[B]\n\tj\t=\tw x\t\n", plain);
    AddFile("comments", ";c\n[A]\n;x=1\nk=v;c\n[B]\nj=w x ; c=d\n", plain);
    AddFile("comment in quotes", "[A]\nk=\"v;c\"\n", {Line("A", "k", Text("v;c"))});
    AddFile("hash is no comment", "[A]\nk=v # c\n", {Line("A", "k", Text("v # c"))});
    AddFile("line continued", "[A]\nk=one\\\n two\n", {Line("A", "k", Text("one two"))});
    AddFile("sections not in order", "[B]\nj=w x\n[A]\nk=v\n", plain);
    AddFile("section in two parts", "[A]\nk=1\n[B]\nk=2\n[A]\nk=3\nj=4\n",
            {Line("A", "j", Text("4")), Line("A", "k", Text("3")), Line("B", "k", Text("2"))});
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

void AddValues()
{
    AddFile("no text", "[A]\nk=\n", {Line("A", "k", Text(""))});
    AddFile("empty quotes", "[A]\nk=\"\"\n", {Line("A", "k", Text(""))});
    AddFile("blanks in quotes", "[A]\nk=\"  padded  \"\n", {Line("A", "k", Text("  padded  "))});
    AddFile("number stays a text", "[A]\nk=1\nj=true\n", {Line("A", "j", Text("true")), Line("A", "k", Text("1"))});
    AddFile("equals sign", "[A]\nk=a=b\n", {Line("A", "k", Text("a=b"))});
    AddFile("commas", "[A]\nk=1, 2 ,3\n", {Line("A", "k", QStringList{"1", "2", "3"})});
    AddFile("comma in quotes", "[A]\nk=\"1,2\"\n", {Line("A", "k", Text("1,2"))});
    AddFile("comma within and without quotes", "[A]\nk=\"a,b\",c\n", {Line("A", "k", QStringList{"a,b", "c"})});
    AddFile("comma at the end", "[A]\nk=x,\n", {Line("A", "k", QStringList{"x", ""})});
    AddFile("nothing but a comma", "[A]\nk=,\n", {Line("A", "k", QStringList{"", ""})});
    AddFile("size", "[A]\nk=@Size(640 480)\n", {Line("A", "k", QSize(640, 480))});
    AddFile("point and rectangle", "[A]\nj=@Point(1 2)\nk=@Rect(1 2 3 4)\n",
            {Line("A", "j", QPoint(1, 2)), Line("A", "k", QRect(1, 2, 3, 4))});
    AddFile("bytes", "[A]\nk=@ByteArray(a\\0\\xff)\n", {Line("A", "k", QByteArray("a\0\xff", 3))});
    AddFile("anything", "[A]\nk=@Variant(\\0\\0\\0\\x6@\\f\\0\\0\\0\\0\\0\\0)\n", {Line("A", "k", 3.5)});
    AddFile("no value", "[A]\nk=@Invalid()\n", {Line("A", "k", QVariant())});
    AddFile("text in the typed notation", "[A]\nk=@String(x)\n", {Line("A", "k", Text("x"))});
    AddFile("unfinished size", "[A]\nk=@Size(640)\n", {Line("A", "k", Text("@Size(640)"))});
    AddFile("unknown type", "[A]\nk=@Unknown(1)\n", {Line("A", "k", Text("@Unknown(1)"))});
    AddFile("at sign doubled", "[A]\nk=@@Size(1 2)\n", {Line("A", "k", Text("@Size(1 2)"))});
}

void AddEscapes()
{
    AddFile("escapes", "[A]\nk=a\\tb\\nc\\\\d\\\"e\n", {Line("A", "k", Text("a\tb\nc\\d\"e"))});
    AddFile("numbers of characters", "[A]\nk=\\x41\\101\\x20ac\n", {Line("A", "k", Text("AA\xe2\x82\xac"))});
    AddFile("zero", QByteArray("[A]\nk=a\0b\n", 10), {Line("A", "k", QString::fromUtf16(u"a\0b", 3))});
    AddFile("percent signs in names", "[A%20B]\n%41%20=1\n%U20AC=2\n",
            {Line("A B", "A ", Text("1")), Line("A B", QString(QChar(0x20ac)), Text("2"))});
    AddFile("percent signs in a value", "[A]\nk=%41\n", {Line("A", "k", Text("%41"))});
    AddFile("bytes beyond ASCII", "[\xe4]\nk\xfc=\xe4\xf6\n",
            {Line(QString(QChar(0xe4)), QString::fromUtf8("k\xc3\xbc"), Text("\xc3\xa4\xc3\xb6"))});
    AddFile("escaped and plain name", "[%E4]\nk=1\n[\xe4]\nj=2\n",
            {Line(QString(QChar(0xe4)), "j", Text("2")), Line(QString(QChar(0xe4)), "k", Text("1"))});
    AddFile("UTF-8 without a mark", "[A]\nk=\xe2\x82\xac\n", {Line("A", "k", Text("\xc3\xa2\xc2\x82\xc2\xac"))});
    AddFile("UTF-8 with a mark", "\xef\xbb\xbf[A]\nk=\xe2\x82\xac\n", {Line("A", "k", Text("\xe2\x82\xac"))});
}

void AddMalformed()
{
    AddFile("header not closed", "[A]\nk=v\n[Broken\nj=w\n[C]\nm=n\n",
            {Line("A", "k", Text("v")), Line("Broken", "j", Text("w")), Line("C", "m", Text("n"))});
    AddFile("first header not closed", "[A\nk=v\n", {Line("A", "k", Text("v"))});
    AddFile("line without an equals sign", "[A]\nk=v\nnothing\nj=w\n",
            {Line("A", "j", Text("w")), Line("A", "k", Text("v"))});
    AddFile("line without a key", "[A]\n=v\nk=v\n", {Line("A", "", QVariant()), Line("A", "k", Text("v"))});
    AddFile("line without a key in a section called like a key", "A=top\n[A]\n=v\nk=w\n",
            {Line("A", "", QVariant()), Line("A", "k", Text("w"))});
    AddFile("quote not closed", "[A]\nk=\"open\nj=w\n", {Line("A", "k", Text("open\nj=w\n"))});
    AddFile("bracket in front", "]x\n[A]\nk=v\n", {Line("A", "k", Text("v"))});
    AddFile("all bytes", AllBytes(), {});
    AddFile("all bytes in a section", "[A]\nk=v\n" + AllBytes() + "\n[B]\nj=w\n", {Line("A", "k", Text("v"))});
}

// What the framework finds in a file, collected without the object's own tables.
QStringList Reference(const QString& path)
{
    struct Entry
    {
        QString iSection;
        QString iKey;
        QVariant iValue;
    };
    const auto isSame
        = [](const QString& a, const QString& b) { return QString::compare(a, b, Qt::CaseInsensitive) == 0; };
    QList<Entry> entries;
    QStringList sections;
    QSettings file(path, QSettings::IniFormat);
    for (QString group : file.childGroups()) {
        file.beginGroup(group);
        for (const QString& key : file.childKeys()) {
            for (const QString& known : sections)
                group = isSame(known, group) ? known : group;
            sections += group;
            const auto found = std::find_if(entries.begin(), entries.end(), [&](const Entry& entry) {
                return isSame(entry.iSection, group) && isSame(entry.iKey, key);
            });
            if (found == entries.end())
                entries.append({group, key, file.value(key)});
            else
                found->iValue = file.value(key);
        }
        file.endGroup();
    }
    std::sort(entries.begin(), entries.end(), [&](const Entry& a, const Entry& b) {
        const int order = QString::compare(a.iSection, b.iSection, Qt::CaseInsensitive);
        return order != 0 ? order < 0 : QString::compare(a.iKey, b.iKey, Qt::CaseInsensitive) < 0;
    });
    QStringList lines;
    for (const Entry& entry : entries)
        lines += Line(entry.iSection, entry.iKey, entry.iValue);
    return lines;
}

class Listener : public SettingsIniFile
{
public:
    void SetKeyValue(const QString& group, const QString& key, const QVariant& value) override
    {
        iHeard += Line(group, key, value);
    }

    QStringList iHeard;
};

// Logs what is stored through the interface.
class Reporter : public SettingsIniFile
{
public:
    void SetKeyValue(const QString& group, const QString& key, const QVariant&) override
    {
        Logger::LogInformation("Reporter", group + QLatin1Char('/') + key);
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
        AddLineBreaksAndSpaces();
        AddWhatIsNotRead();
        AddSpellings();
        AddValues();
        AddEscapes();
        AddMalformed();
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
        QCOMPARE(LogText::Read(path), text);
    }

    void anyFileAsTheFrameworkHasIt()
    {
        const QByteArray pieces[] = {"[",
                                     "]",
                                     "=",
                                     "=",
                                     "\n",
                                     "\n",
                                     "\n[A]\n",
                                     "\n[b]\n",
                                     "\n[a]\n",
                                     "k=",
                                     "K=",
                                     "a",
                                     "B",
                                     "\\",
                                     "\"",
                                     ";",
                                     ",",
                                     "@",
                                     "%",
                                     "%41",
                                     "x",
                                     " ",
                                     QByteArray(1, '\0'),
                                     "\xff",
                                     "@Size("};
        std::mt19937 random(20240305);
        int found = 0;
        for (int round = 0; round < 400; ++round) {
            QByteArray text("[b]\n");
            for (auto size = random() % 60; size > 0; --size)
                text += pieces[random() % (sizeof pieces / sizeof *pieces)];
            const QString path = NewFile(text);
            SettingsIniFile ini;
            QVERIFY(ini.ReadFile(path));
            QCOMPARE(Sections(ini), Reference(path));
            found += Sections(ini).size();
        }
        QVERIFY2(found > 400, QByteArray::number(found).constData());
    }

    void storesThroughTheInterface()
    {
        Listener ini;
        QVERIFY(ini.ReadFile(NewFile("[Net]\nProxy=a\nPort=1\n[A]\nk=1,2\n[NET]\nproxy=b\n")));
        QCOMPARE(ini.iHeard,
                 (QStringList{Line("A", "k", QStringList{"1", "2"}), Line("NET", "proxy", Text("b")),
                              Line("Net", "Port", Text("1")), Line("Net", "Proxy", Text("a"))}));
    }

    void groupIsLoggedBeforeItsKeys()
    {
        const QString path = NewFile("[Net-2]\nk=1\n[Net]\nProxy=a\nPort=1\n[A]\nk=1\n[N]\nx\\y=1\n");
        Reporter ini;
        LogScenario::Captured log(LogScenario::kAllLevels);
        QVERIFY(ini.ReadFile(path));
        const QByteArray group = "|25|Trace|SettingsIniFile::ReadFile|The group is ";
        const QByteArray key = "|10|Information|Reporter|";
        // Sorted by their names, not by the whole keys, in which a hyphen comes before the separator.
        QCOMPARE(log.Lines(),
                 (QList<QByteArray>{"|20|Debug|SettingsIniFile::ReadFile|The file is " + path.toUtf8(), group + "A",
                                    key + "A/k", group + "N", group + "Net", key + "Net/Port", key + "Net/Proxy",
                                    group + "Net-2", key + "Net-2/k"}));
    }

    // It is listed, but it is the top level, which is not read.
    void groupWithoutAName()
    {
        const QString path = NewFile("top=1\n[]\nk=1\n[A]\nk=1\n");
        SettingsIniFile ini;
        LogScenario::Captured log(LoggerDefs::Trace);
        QVERIFY(ini.ReadFile(path));
        const QByteArray group = "|25|Trace|SettingsIniFile::ReadFile|The group is ";
        QCOMPARE(log.Lines(), (QList<QByteArray>{group, group + "A"}));
        QCOMPARE(Sections(ini), QStringList(Line("A", "k", Text("1"))));
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

    void valuesInMemoryAreReplacedWhole()
    {
        SettingsIniFile ini;
        ini.SetKeyValue("s", "K", 1);
        ini.SetKeyValue("s", "other", 2);
        QVERIFY(ini.ReadFile(NewFile("[S]\nk=1\n")));
        QCOMPARE(Sections(ini), (QStringList{Line("s", "K", Text("1")), Line("s", "other", 2)}));
    }

    void clearForAFreshLoad()
    {
        SettingsIniFile ini;
        QVERIFY(ini.ReadFile(NewFile("[Display]\nWidth=800\n")));
        ini.Clear();
        QVERIFY(ini.ReadFile(NewFile("[DISPLAY]\nHEIGHT=700\n")));
        QCOMPARE(Sections(ini), QStringList{Line("DISPLAY", "HEIGHT", Text("700"))});
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
        QFile file(path);
        QVERIFY(file.open(QIODevice::WriteOnly) && file.write("[S]\nk=changed by another\n") > 0);
        file.close();
        QVERIFY(ini.ReadFile(path));
        QCOMPARE(Sections(ini), QStringList{Line("S", "k", Text("changed by another"))});
        QVERIFY(QFile::remove(path));
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

    void absolutePath()
    {
        SettingsIniFile ini;
        QVERIFY(ini.ReadFile(QDir::current().absoluteFilePath(NewFile("[S]\nk=1\n"))));
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
        const QStringList before = QDir().entryList(QDir::AllEntries | QDir::Hidden);
        SettingsIniFile ini;
        ini.SetKeyValue("S", "k", 1);
        QCOMPARE(ini.ReadFile(path), true);
        QCOMPARE(Sections(ini), QStringList{Line("S", "k", 1)});
        QCOMPARE(QDir().entryList(QDir::AllEntries | QDir::Hidden), before);
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
        OrdinaryUser::Own(QDir().absoluteFilePath(path));
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
