#include "IniFiles.h"
#include "support/LogScenario.h"
#include "support/OrdinaryUser.h"
#include "support/TestMain.h"

#include <NeroltOrvaneBase/HookedSingleton.h>
#include <NeroltOrvaneBase/IniFile.h>
#include <NeroltOrvaneBase/SingletonHook.h>
#include <NeroltOrvaneBase/SystemConfig.h>

#include <QtCore/QDateTime>
#include <QtCore/QFile>
#include <QtCore/QFileInfo>
#include <QtCore/QSettings>
#include <QtTest/QtTest>

#include <functional>
#include <memory>

using Step = std::function<void(std::unique_ptr<IniFile>&)>;
Q_DECLARE_METATYPE(Step)

NEROLT_PRIVATE(IniFile, iSettings, std::unique_ptr<QSettings>)

using namespace IniFiles;

namespace {

using Lines = QList<QByteArray>;

const QString kNoSection = QStringLiteral("no such section");
constexpr int kAllButTrace = LogScenario::kAllLevels & ~LoggerDefs::Trace;

QString Get(const IniFile& ini, const char* group, const char* key)
{
    return IniFiles::Get(ini, QLatin1String(group), QLatin1String(key));
}

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
    AddRow("top level under the empty name", "x=1\n", "[General]\nx=9\n", "", "[General]\nx=9\n", {});
    AddRow("empty section name", source, target, "", "[A]\nx=9\ny=2\n", {Gap("2", "y")});
    AddRow("section name with a blank behind", source, target, "A ", "[A]\nx=9\ny=2\n", {Gap("2", "y")});
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
    AddRow("nested sections", "[A/B]\nx=1\n[C]\nD\\x=2\n", "[A]\nx=9\n", "A/B", "[A]\nx=9\n", {});
    AddRow("nested keys beside direct ones", "[A]\nB\\x=1\ny=2\n", "[A]\nx=9\n", "A", "[A]\nx=9\ny=2\n",
           {Over("2", "y")});
    AddRow("nested key in the place of a value", "[A]\nx=1\n", "[A]\nx\\y=2\n", "", "[A]\nx=1\nx\\y=2\n",
           {Gap("1", "x")});
    AddRow("section that is really called General", "top=0\n[%General]\nx=1\n", "top=9\n", "General",
           "[General]\ntop=9\n\n[%General]\nx=1\n", {Over("1", "x", "General")});
    AddRow("names with blanks and templates", "[S%20%251]\na%20%252=1\n", kNoFile, "", "[S%20%251]\na%20%252=1\n",
           {Gap("1", "a %2", "S %1")});
    AddRow("section without keys", "[A]\n", "[A]\nx=9\n", "A", "[A]\nx=9\n", {});
    AddRow("comments only", ";no setting\n", "[A]\nx=9\n", "A", "[A]\nx=9\n", {});
    AddRow("section twice", "[A]\nx=1\n[B]\ny=2\n[A]\nx=3\n", kNoFile, "", "[A]\nx=3\n\n[B]\ny=2\n",
           {Gap("3", "x"), Gap("2", "y", "B")});
}

void AddValues()
{
    const QByteArray real = "@Variant(\\0\\0\\0\\x6@\\f\\0\\0\\0\\0\\0\\0)";
    AddRow("target's empty text kept", "[A]\nx=1\n", "[A]\nx=\n", "", "[A]\nx=\n", {});
    AddRow("target's quoted empty text kept", "[A]\nx=1\n", "[A]\nx=\"\"\n", "", "[A]\nx=\"\"\n", {});
    AddRow("target's empty bytes kept", "[A]\nx=1\n", "[A]\nx=@ByteArray(a)\n", "", "[A]\nx=@ByteArray(a)\n", {});
    AddRow("target's empty text overwritten", "[A]\nx=1\n", "[A]\nx=\n", "A", "[A]\nx=1\n", {Over("1", "x")});
    AddRow("target without a value", "[A]\nx=1\n", "[A]\nx=@Invalid()\n", "", "[A]\nx=1\n", {Gap("1", "x")});
    AddRow("target's size of nothing", "[A]\nx=1\n", "[A]\nx=@Size(0 0)\n", "", "[A]\nx=1\n", {Gap("1", "x")});
    AddRow("source's empty text", "[A]\nx=\n", "[A]\nx=9\n", "A", "[A]\nx=\n", {Over("", "x")});
    AddRow("source without a value", "[A]\nx=@Invalid()\n", kNoFile, "", "[A]\nx=@Invalid()\n", {Gap("", "x")});
    AddRow("list", "[A]\nx=a, b\n", kNoFile, "", "[A]\nx=a, b\n", {Gap("a b", "x")});
    AddRow("comma in quotes", "[A]\nx=\"a, b\"\n", kNoFile, "", "[A]\nx=\"a, b\"\n", {Gap("a, b", "x")});
    AddRow("size", "[A]\nx=@Size(1 2)\n", kNoFile, "", "[A]\nx=@Size(1 2)\n", {Gap("@Size(1 2)", "x")});
    AddRow("rectangle", "[A]\nx=@Rect(1 2 3 4)\n", kNoFile, "", "[A]\nx=@Rect(1 2 3 4)\n", {Gap("", "x")});
    AddRow("bytes", "[A]\nx=@ByteArray(a\\0)\n", kNoFile, "", "[A]\nx=@ByteArray(a\\0)\n", {Gap("", "x")});
    AddRow("floating point", "[A]\nx=" + real + "\n", kNoFile, "", "[A]\nx=3.5\n", {Gap("", "x")});
    AddRow("template", "[A]\nx=%1 %2 %3\n", kNoFile, "", "[A]\nx=%1 %2 %3\n", {Gap("%1 %2 %3", "x")});
    AddRow("line break", "[A]\nx=a\\nb\n", kNoFile, "", "[A]\nx=a\\nb\n", {Gap("ab", "x")});
    AddRow("beyond ASCII", "[A]\nx=\\xe4\n", kNoFile, "", "[A]\nx=\\xe4\n", {Gap("\xc3\xa4", "x")});
}

void AddBadFiles()
{
    AddRow("malformed source", "[A\nno sense\nx=1\n", "[A]\ny=9\n", "", "[A]\nx=1\ny=9\n", {Gap("1", "x")});
    AddRow("source of bytes", QByteArray("\x01\xff\x02\x00\x03", 5), "[A]\nx=9\n", "A", "[A]\nx=9\n", {});
    AddRow("source of one byte", "\n", "[A]\nx=9\n", "A", "[A]\nx=9\n", {});
    AddRow("section without a name", "x=1\n[]\ny=2\n", "[A]\nx=9\n", "", "[A]\nx=9\n", {});
    AddRow("section without a name over the top level", "x=1\n[]\ny=2\n", "[General]\nx=9\n", "", "[General]\nx=9\n",
           {});
    AddRow("keys that begin with a slash", "/x=1\nx=2\n", "[A]\nx=9\n", "", "[A]\nx=9\n", {});
    AddRow("key without a name", "[A]\n=1\n", kNoFile, "", kNoFile, {});
    AddRow("missing target", "[A]\nx=1\n", kNoFile, "A", "[A]\nx=1\n", {Over("1", "x")});
    AddRow("empty target", "[A]\nx=1\n", "", "", "[A]\nx=1\n", {Gap("1", "x")});
    AddRow("malformed target", "[A]\nx=1\n", "[A\nno sense\ny=9\n", "", "[A]\nx=1\ny=9\n", {Gap("1", "x")});
}

} // namespace

class tst_Merge : public QObject
{
    Q_OBJECT

private:
    SingletonHook iHook;

    // The folder that takes prefs.ini, new for each test.
    static QString NewPrefs()
    {
        const QString folder = NewPath();
        QDir().mkpath(folder);
        SystemConfig::SetTestPath(folder);
        return QDir(folder).filePath(QStringLiteral("prefs.ini"));
    }

private Q_SLOTS:
    void initTestCase() { HookedSingleton::InstallHook(&iHook); }

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
            QCOMPARE((ini.*IniFile_iSettings())->group(), QString());
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

    void aSourceThatChanged()
    {
        const QString source = NewFile("[A]\nx=1\n");
        IniFile ini(NewPath());
        QVERIFY(ini.Merge(source, kNoSection));
        Write(source, "[A]\nx=1\nnew=2\n");
        QVERIFY(ini.Merge(source, kNoSection));
        QCOMPARE(Get(ini, "A", "new"), QStringLiteral("2"));
    }

    // --- Sources that do not exist

    void noSource_data()
    {
        QTest::addColumn<QString>("source");
        QTest::newRow("zero bytes") << NewFile("");
        QTest::newRow("missing") << NewPath();
        QTest::newRow("in a missing folder") << NewPath() + QStringLiteral("/s.ini");
        QTest::newRow("empty path") << QString(QLatin1String(""));
        QTest::newRow("null path") << QString();
    }
    void noSource()
    {
        QFETCH(QString, source);
        const QByteArray text = ";a comment\n[A]\nx=9\n";
        const QString target = NewFile(text);
        LogScenario::Captured log(LogScenario::kAllLevels);
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
        LogScenario::Captured log(LogScenario::kAllLevels);
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
        LogScenario::Captured log(LogScenario::kAllLevels);
        QVERIFY(!ini.Merge(source, QStringLiteral("A")));
        QCOMPARE(log.Lines(), Lines{FileLine(source)});
    }

    // --- Levels

    void levels_data()
    {
        QTest::addColumn<int>("mask");
        QTest::addColumn<Lines>("lines");
        QTest::addColumn<Lines>("emptyLines");
        const QByteArray value = "|25|Trace|IniFile::SettingValue|the return value is ";
        const Lines debug{Debug("File to merge is s.ini"), Gap("", "d"), Gap("1", "x"), Over("2", "y", "B")};
        const Lines all{
            debug[0], "|25|Trace|IniFile::SettingValue|type is 6", value, debug[1], value + "1", debug[2], value + "2",
            debug[3]};
        QTest::newRow("nothing") << 0 << Lines() << Lines();
        QTest::newRow("debug") << int(LoggerDefs::Debug) << debug << Lines{debug[0]};
        QTest::newRow("warning") << int(LoggerDefs::Warning) << Lines() << Lines{kEmptyWarning};
        QTest::newRow("all but warning") << (LogScenario::kAllLevels & ~LoggerDefs::Warning) << all << Lines{debug[0]};
        QTest::newRow("all but debug, trace included")
            << (LogScenario::kAllLevels & ~LoggerDefs::Debug) << Lines() << Lines{kEmptyWarning};
        QTest::newRow("all") << LogScenario::kAllLevels << all << Lines{debug[0], kEmptyWarning};
    }
    void levels()
    {
        QFETCH(int, mask);
        QFETCH(Lines, lines);
        QFETCH(Lines, emptyLines);
        const QString source = QStringLiteral("s.ini");
        Write(source, "[A]\nd=@Variant(\\0\\0\\0\\x6@\\f\\0\\0\\0\\0\\0\\0)\nx=1\n[B]\ny=2\n");
        IniFile ini(NewPath());
        LogScenario::Captured log(mask);
        QVERIFY(ini.Merge(source, QStringLiteral("B")));
        QCOMPARE(log.Lines(), lines);
        Write(source, "");
        QVERIFY(!ini.Merge(source, QStringLiteral("B")));
        QCOMPARE(log.Lines(), emptyLines);
    }

    // --- The preference file

    void withoutAFile()
    {
        const QString prefs = NewPrefs();
        Write(prefs, "[A]\nx=9\n");
        const QString source = NewFile("[A]\nx=1\ny=2\n");
        IniFile ini{QString()};
        LogScenario::Captured log(LogScenario::kAllLevels);
        QVERIFY(ini.Merge(source, kNoSection));
        QCOMPARE(log.Lines(),
                 (Lines{FileLine(source),
                        "|25|Trace|SystemConfig::GetPath|The test path is " + SystemConfig::GetTestPath().toUtf8(),
                        "|25|Trace|IniFile::SettingValue|the return value is 2", Gap("2", "y")}));
        QCOMPARE(ini.GetFileName(), prefs);
        QCOMPARE((ini.*IniFile_iSettings())->format(), QSettings::IniFormat);
        QCOMPARE(Get(ini, "A", "x"), QStringLiteral("9"));
        QCOMPARE(Read(prefs), QByteArray("[A]\nx=9\ny=2\n"));
    }

    void withoutAFileAndASource()
    {
        const QString prefs = NewPrefs();
        IniFile ini{QString()};
        LogScenario::Captured log(kAllButTrace);
        QVERIFY(!ini.Merge(NewFile(""), kNoSection));
        QVERIFY(log.Lines().contains(kEmptyWarning));
        QCOMPARE(ini.GetFileName(), prefs);
        QVERIFY(!QFile::exists(prefs));
        ini.SetKeyValue(QStringLiteral("A"), QStringLiteral("x"), 1);
        QCOMPARE(Read(prefs), QByteArray("[A]\nx=1\n"));
    }

    void theBindingStays()
    {
        const QString prefs = NewPrefs();
        IniFile ini{QString()};
        ini.Merge(QString(), kNoSection);
        NewPrefs();
        ini.Merge(QString(), kNoSection);
        QCOMPARE(ini.GetFileName(), prefs);
    }

    void aCopyOfNoneIsBoundByItself()
    {
        const QString prefs = NewPrefs();
        const IniFile none{QString()};
        IniFile copy(none);
        QVERIFY(copy.Merge(NewFile("[A]\nx=1\n"), kNoSection));
        QCOMPARE(copy.GetFileName(), prefs);
        QCOMPARE(none.GetFileName(), QString());
    }

    void withAFileThePreferencesAreLeftAlone()
    {
        const QString prefs = NewPrefs();
        const QString target = NewPath();
        IniFile ini{QString()};
        ini.SetFilePath(target);
        LogScenario::Captured log(LoggerDefs::Trace);
        QVERIFY(ini.Merge(NewFile("[A]\nx=1\n"), kNoSection));
        QCOMPARE(log.Lines(), Lines());
        QCOMPARE(ini.GetFileName(), target);
        QVERIFY(!QFile::exists(prefs));
    }

    // An empty path that was set counts as a file.
    void withAnEmptyPathThatWasSet()
    {
        NewPrefs();
        IniFile ini{QString()};
        ini.SetFilePath(QString());
        QVERIFY(!ini.Merge(QString(), kNoSection));
        QCOMPARE(ini.GetFileName(), QString());
    }

    void thePreferencesAsSource()
    {
        const QString prefs = NewPrefs();
        Write(prefs, "[A]\nx=9\n");
        IniFile ini{QString()};
        QVERIFY(!ini.Merge(prefs, kNoSection));
        QCOMPARE(Read(prefs), QByteArray("[A]\nx=9\n"));
    }

    // --- One file as source and target

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

    // --- When the values reach the disk

    void reachesTheDisk_data()
    {
        QTest::addColumn<Step>("step");
        QTest::addColumn<QByteArray>("after");
        const QString a = QStringLiteral("A");
        const QString other = QStringLiteral("other");
        const QByteArray merged = "[A]\nx=1\n";
        QTest::newRow("get") << Step([](auto& ini) { Get(*ini, "A", "other"); }) << merged;
        QTest::newRow("set") << Step([=](auto& ini) { ini->SetKeyValue(a, other, 2); })
                             << QByteArray("[A]\nother=2\nx=1\n");
        QTest::newRow("remove") << Step([=](auto& ini) { ini->RemoveKey(a, other); }) << merged;
        QTest::newRow("destroy") << Step([](auto& ini) { ini.reset(); }) << merged;
        QTest::newRow("another file") << Step([](auto& ini) { ini->SetFilePath(NewPath()); }) << merged;
        QTest::newRow("assign") << Step([](auto& ini) { *ini = IniFile(NewPath()); }) << merged;
        QTest::newRow("assign none") << Step([](auto& ini) { *ini = IniFile(QString()); }) << merged;
        QTest::newRow("get through a copy") << Step([](auto& ini) { Get(IniFile(*ini), "A", "other"); }) << merged;
        QTest::newRow("event loop") << Step([](auto&) { QCoreApplication::sendPostedEvents(); }) << merged;
    }
    void reachesTheDisk()
    {
        QFETCH(Step, step);
        QFETCH(QByteArray, after);
        const QString target = NewPath();
        auto ini = std::make_unique<IniFile>(target);
        QVERIFY(ini->Merge(NewFile("[A]\nx=1\n"), kNoSection));
        QCOMPARE(Read(target), kNoFile);
        step(ini);
        QCOMPARE(Read(target), after);
    }

    // The new object finds in the file what the old one had not written yet, even under another name of the file.
    void theOldFileIsWrittenBeforeTheNewIsOpened_data()
    {
        QTest::addColumn<bool>("isAssigned");
        QTest::newRow("another path") << false;
        QTest::newRow("assignment") << true;
    }
    void theOldFileIsWrittenBeforeTheNewIsOpened()
    {
        QFETCH(bool, isAssigned);
        const QString target = NewFile("[A]\ny=2\n");
        const QString link = NewPath();
        QVERIFY(QFile::link(target, link));
        IniFile ini(target);
        const IniFile other(link);
        QVERIFY(ini.Merge(NewFile("[A]\nx=1\n"), kNoSection));
        if (isAssigned)
            ini = other;
        else
            ini.SetFilePath(link);
        QCOMPARE(ini.GetFileName(), link);
        QVERIFY(!ini.Merge(NewFile("[A]\nx=5\n"), kNoSection));
        QCOMPARE(Get(ini, "A", "x"), QStringLiteral("1"));
    }

    void anObjectOnTheSameFileSeesItAtOnce()
    {
        const QString target = NewPath();
        const IniFile other(target);
        IniFile ini(target);
        QVERIFY(ini.Merge(NewFile("[A]\nx=1\n"), kNoSection));
        QCOMPARE(Read(target), kNoFile);
        QCOMPARE(Get(other, "A", "x"), QStringLiteral("1"));
    }

    // A merge does not read the file first: docs/settings.md says what to do.
    void goesByWhatItsObjectSawLast()
    {
        const QString source = NewFile("[A]\nx=1\n");
        const QString target = NewFile("[A]\ny=2\n");
        IniFile ini(target);
        Write(target, "[A]\nx=99\ny=2\n");
        QVERIFY(ini.Merge(source, kNoSection));
        QCOMPARE(Get(ini, "A", "x"), QStringLiteral("1"));
        Write(target, "[A]\nx=999\ny=2\n");
        Get(ini, "A", "y");
        QVERIFY(!ini.Merge(source, kNoSection));
        QCOMPARE(Get(ini, "A", "x"), QStringLiteral("999"));
    }

    void aTargetThatMayNotBeWritten()
    {
        const QString folder = NewPath();
        QVERIFY(QDir().mkpath(folder));
        const QString target = QDir(folder).filePath(QStringLiteral("t.ini"));
        Write(target, "[A]\nx=9\n");
        const QString source = NewFile("[A]\nx=1\ny=2\n");
        OrdinaryUser::Own(target);
        OrdinaryUser::Own(folder);
        const OrdinaryUser user;
        QVERIFY(QFile::setPermissions(target, QFile::ReadOwner));
        LogScenario::Captured log(kAllButTrace);
        IniFile ini(target);
        QVERIFY(ini.Merge(source, kNoSection));
        QCOMPARE(Get(ini, "A", "y"), QStringLiteral("2"));
        QCOMPARE(log.Lines(), (Lines{FileLine(source), Gap("2", "y")}));
        QCOMPARE(Read(target), QByteArray("[A]\nx=9\n"));
        ini.RemoveKey(QStringLiteral("A"), QStringLiteral("y"));
    }
};

NEROLT_TEST_MAIN(tst_Merge)

#include "tst_Merge.moc"
