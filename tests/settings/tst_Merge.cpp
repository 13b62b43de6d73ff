#include "IniFiles.h"
#include "support/LogScenario.h"
#include "support/OrdinaryUser.h"
#include "support/TestMain.h"

#include <NeroltOrvaneBase/IniFile.h>

#include <QtCore/QDateTime>
#include <QtCore/QFile>
#include <QtCore/QFileInfo>
#include <QtTest/QtTest>

using namespace IniFiles;

namespace {

using Lines = QList<QByteArray>;

const QString kNoSection = QStringLiteral("no such section");
constexpr int kAllButTrace = LogScenario::kAllLevels & ~LoggerDefs::Trace;

QByteArray Debug(const QByteArray& text)
{
    return "|20|Debug|IniFile::Merge|" + text;
}

QByteArray FileLine(const QString& path)
{
    return Debug("File to merge is " + path.toUtf8());
}

QByteArray Gap(const QByteArray& value, const QByteArray& key, const QByteArray& section = "A")
{
    return Debug("setting value " + value + " for key " + key + ", section " + section);
}

QByteArray Over(const QByteArray& value, const QByteArray& key, const QByteArray& section = "A")
{
    return Debug("Overwrite (if existing) setting value " + value + " for key " + key + ", section " + section);
}

const QByteArray kEmptyWarning = "|30|Warning|IniFile::Merge|The file to merge is empty";

void AddRow(const char* name, const QByteArray& source, const QByteArray& target, const char* section,
            const QByteArray& after, const Lines& lines)
{
    QTest::newRow(name) << source << target << QString::fromLatin1(section) << after << lines;
}

void AddListedCases()
{
    const QByteArray source = "[A]\nx=1\ny=2\n";
    const QByteArray target = "[A]\nx=9\n";
    AddRow("gap filled", source, target, "B", "[A]\nx=9\ny=2\n", {Gap("2", "y")});
    AddRow("section overwritten", source, target, "A", "[A]\nx=1\ny=2\n", {Over("1", "x"), Over("2", "y")});
    AddRow("section of other case", source, target, "a", "[A]\nx=9\ny=2\n", {Gap("2", "y")});
    AddRow("every key there", source, "[A]\nx=9\ny=8\n", "B", "[A]\nx=9\ny=8\n", {});
    AddRow("top level only", "x=1\ny=2\n", target, "A", target, {});
    AddRow("top level only, by its name", "[General]\nx=1\n", target, "General", target, {});
    AddRow("empty section name", source, target, "", "[A]\nx=9\ny=2\n", {Gap("2", "y")});
}

void AddSections()
{
    AddRow("one section overwritten, others filled", "[A]\nx=1\n[B]\nx=2\ny=3\n[C]\nx=4\n", "[A]\nx=9\n\n[B]\nx=8\n",
           "B", "[A]\nx=9\n\n[B]\nx=2\ny=3\n\n[C]\nx=4\n",
           {Over("2", "x", "B"), Over("3", "y", "B"), Gap("4", "x", "C")});
    AddRow("sections that differ in case", "[a]\nx=1\n", "[A]\nx=9\n", "A", "[A]\nx=9\n\n[a]\nx=1\n",
           {Gap("1", "x", "a")});
    AddRow("keys that differ in case", "[A]\nX=1\n", "[A]\nx=9\n", "", "[A]\nX=1\nx=9\n", {Gap("1", "X")});
    AddRow("what only the target has is kept", "[A]\nx=1\n", "top=0\n[A]\nz=3\n[B]\nx=2\n", "A",
           "[General]\ntop=0\n\n[A]\nx=1\nz=3\n\n[B]\nx=2\n", {Over("1", "x")});
    AddRow("nested keys beside direct ones", "[A]\nB\\x=1\ny=2\n", "[A]\nx=9\n", "A", "[A]\nx=9\ny=2\n",
           {Over("2", "y")});
    AddRow("section that is really called General", "top=0\n[%General]\nx=1\n", "top=9\n", "General",
           "[General]\ntop=9\n\n[%General]\nx=1\n", {Over("1", "x", "General")});
    AddRow("names with blanks and templates", "[S%20%251]\na%20%252=1\n", kNoFile, "", "[S%20%251]\na%20%252=1\n",
           {Gap("1", "a %2", "S %1")});
    AddRow("section twice", "[A]\nx=1\n[B]\ny=2\n[A]\nx=3\n", kNoFile, "", "[A]\nx=3\n\n[B]\ny=2\n",
           {Gap("3", "x"), Gap("2", "y", "B")});
}

void AddValues()
{
    const QByteArray real = "@Variant(\\0\\0\\0\\x6@\\f\\0\\0\\0\\0\\0\\0)";
    AddRow("target's empty text kept", "[A]\nx=1\n", "[A]\nx=\n", "", "[A]\nx=\n", {});
    AddRow("target's empty bytes kept", "[A]\nx=1\n", "[A]\nx=@ByteArray(a)\n", "", "[A]\nx=@ByteArray(a)\n", {});
    AddRow("target's empty text overwritten", "[A]\nx=1\n", "[A]\nx=\n", "A", "[A]\nx=1\n", {Over("1", "x")});
    AddRow("target without a value", "[A]\nx=1\n", "[A]\nx=@Invalid()\n", "", "[A]\nx=1\n", {Gap("1", "x")});
    AddRow("target's size of nothing", "[A]\nx=1\n", "[A]\nx=@Size(0 0)\n", "", "[A]\nx=1\n", {Gap("1", "x")});
    AddRow("source without a value", "[A]\nx=@Invalid()\n", kNoFile, "", "[A]\nx=@Invalid()\n", {Gap("", "x")});
    AddRow("list", "[A]\nx=a, b\n", kNoFile, "", "[A]\nx=a, b\n", {Gap("a b", "x")});
    AddRow("floating point", "[A]\nx=" + real + "\n", kNoFile, "", "[A]\nx=3.5\n", {Gap("", "x")});
    AddRow("template", "[A]\nx=%1 %2 %3\n", kNoFile, "", "[A]\nx=%1 %2 %3\n", {Gap("%1 %2 %3", "x")});
}

void AddBadFiles()
{
    AddRow("malformed source", "[A\nno sense\nx=1\n", "[A]\ny=9\n", "", "[A]\nx=1\ny=9\n", {Gap("1", "x")});
    AddRow("source of bytes", QByteArray("\x01\xff\x02\x00\x03", 5), "[A]\nx=9\n", "A", "[A]\nx=9\n", {});
    AddRow("section without a name", "x=1\n[]\ny=2\n", "[A]\nx=9\n", "", "[A]\nx=9\n", {});
    AddRow("key without a name", "[A]\n=1\n", kNoFile, "", kNoFile, {});
    AddRow("missing target", "[A]\nx=1\n", kNoFile, "A", "[A]\nx=1\n", {Over("1", "x")});
    AddRow("empty target", "[A]\nx=1\n", "", "", "[A]\nx=1\n", {Gap("1", "x")});
}

} // namespace

class tst_Merge : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void cases_data()
    {
        QTest::addColumn<QByteArray>("source");
        QTest::addColumn<QByteArray>("target");
        QTest::addColumn<QString>("section");
        QTest::addColumn<QByteArray>("after");
        QTest::addColumn<Lines>("lines");
        AddListedCases();
        AddSections();
        AddValues();
        AddBadFiles();
    }
    void cases()
    {
        QFETCH(QByteArray, source);
        QFETCH(QByteArray, target);
        QFETCH(QString, section);
        QFETCH(QByteArray, after);
        QFETCH(Lines, lines);
        const QString sourcePath = NewFile(source);
        const QString targetPath = NewFile(target);
        const QDateTime sourceTime = QFileInfo(sourcePath).lastModified();
        {
            IniFile ini(targetPath);
            LogScenario::Captured log(kAllButTrace);
            QCOMPARE(ini.Merge(sourcePath, section), !lines.isEmpty());
            QCOMPARE(log.Lines(), Lines{FileLine(sourcePath)} + lines);
            QCOMPARE(ini.GetFileName(), targetPath);
            QCOMPARE(Read(targetPath), target);
        }
        QCOMPARE(Read(targetPath), after);
        QCOMPARE(Read(sourcePath), source);
        QCOMPARE(QFileInfo(sourcePath).lastModified(), sourceTime);
    }

    void aSecondMergeFindsNothingToDo()
    {
        const QString source = NewFile("[A]\nx=1\n");
        IniFile ini(NewPath());
        QVERIFY(ini.Merge(source, kNoSection));
        QVERIFY(!ini.Merge(source, kNoSection));
        QVERIFY(ini.Merge(source, QStringLiteral("A")));
    }

    void noSource_data()
    {
        QTest::addColumn<QString>("source");
        QTest::newRow("zero bytes") << NewFile("");
        QTest::newRow("missing") << NewPath();
        QTest::newRow("empty path") << QString(QLatin1String(""));
    }
    void noSource()
    {
        QFETCH(QString, source);
        const QByteArray text = ";a comment\n[A]\nx=9\n";
        const QString target = NewFile(text);
        LogScenario::Captured log;
        {
            IniFile ini(target);
            QVERIFY(!ini.Merge(source, QStringLiteral("A")));
        }
        QCOMPARE(log.Lines(), (Lines{FileLine(source), kEmptyWarning}));
        QCOMPARE(Read(target), text);
    }

    void aFolderAsSource()
    {
        const QString folder = NewPath();
        QVERIFY(QDir().mkpath(folder));
        IniFile ini(NewPath());
        LogScenario::Captured log;
        QVERIFY(!ini.Merge(folder, QStringLiteral("A")));
        // The size of a folder depends on the file system.
        QCOMPARE(log.Lines(), Lines{FileLine(folder)} + (QFile(folder).size() < 1 ? Lines{kEmptyWarning} : Lines()));
        QVERIFY(!QFile::exists(ini.GetFileName()));
    }

    void anUnreadableSource()
    {
        const QString source = NewFile("[A]\nx=1\n");
        OrdinaryUser::Own(source);
        const OrdinaryUser user;
        QVERIFY(QFile::setPermissions(source, QFile::Permissions()));
        IniFile ini(NewPath());
        LogScenario::Captured log;
        QVERIFY(!ini.Merge(source, QStringLiteral("A")));
        QCOMPARE(log.Lines(), Lines{FileLine(source)});
    }

    void levels_data() { LogScenario::AddMasks({LoggerDefs::Debug, LoggerDefs::Warning}); }
    void levels()
    {
        QFETCH(int, mask);
        const QString source = QStringLiteral("s.ini");
        Write(source, "[A]\nd=@Variant(\\0\\0\\0\\x6@\\f\\0\\0\\0\\0\\0\\0)\nx=1\n[B]\ny=2\n");
        IniFile ini(NewPath());
        const auto merge = [&] { ini.Merge(source, QStringLiteral("B")); };
        const QByteArray value = "|25|Trace|IniFile::SettingValue|the return value is ";
        // The texts of the values are made for their lines only.
        Lines lines{Debug("File to merge is s.ini"), Gap("", "d"), Gap("1", "x"), Over("2", "y", "B")};
        if (mask & LoggerDefs::Debug)
            lines = {lines[0],    "|25|Trace|IniFile::SettingValue|type is 6",
                     value,       lines[1],
                     value + "1", lines[2],
                     value + "2", lines[3]};
        QCOMPARE(LogScenario::LoggedBy(merge, mask), LogScenario::Passing(lines, mask));
        Write(source, "");
        QCOMPARE(LogScenario::LoggedBy(merge, mask), LogScenario::Passing({lines[0], kEmptyWarning}, mask));
    }

    void theSameFile_data()
    {
        QTest::addColumn<QString>("section");
        QTest::addColumn<Lines>("lines");
        QTest::newRow("gaps") << "" << Lines();
        QTest::newRow("section overwritten with itself") << "A" << Lines{Over("1", "x"), Over("a b", "y")};
    }
    void theSameFile()
    {
        QFETCH(QString, section);
        QFETCH(Lines, lines);
        const QByteArray text = "[A]\nx=1\ny=a, b\n\n[B]\nz=3\n";
        const QString path = NewFile(text);
        const QString link = NewPath();
        QVERIFY(QFile::link(path, link));
        for (const QString& source : {path, link}) {
            LogScenario::Captured log(kAllButTrace);
            {
                IniFile ini(path);
                QCOMPARE(ini.Merge(source, section), !lines.isEmpty());
            }
            QCOMPARE(log.Lines(), Lines{FileLine(source)} + lines);
            QCOMPARE(Read(path), text);
        }
    }
};

NEROLT_TEST_MAIN(tst_Merge)

#include "tst_Merge.moc"
