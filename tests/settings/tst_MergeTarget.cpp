#include "IniFiles.h"
#include "support/LogScenario.h"

#include <NeroltOrvaneBase/HookedSingleton.h>
#include <NeroltOrvaneBase/IniFile.h>
#include <NeroltOrvaneBase/SingletonHook.h>
#include <NeroltOrvaneBase/SystemConfig.h>

#include <QtTest/QtTest>

#include <functional>
#include <memory>

using Step = std::function<void(std::unique_ptr<IniFile>&)>;
Q_DECLARE_METATYPE(Step)

using namespace IniFiles;

namespace {

using Lines = QList<QByteArray>;

const QString kNoSection = QStringLiteral("no such section");

QString Get(const IniFile& ini, const char* group, const char* key)
{
    return IniFiles::Get(ini, QLatin1String(group), QLatin1String(key));
}

} // namespace

/// Which file a merge changes, and when.
class tst_MergeTarget : public QObject
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

    void isKeptForAllObjectsWhileTheFileCannotBeWritten()
    {
        const QString folder = NewFile("no folder");
        const QString target = folder + QStringLiteral("/target.ini");
        const IniFile other(target);
        auto ini = std::make_unique<IniFile>(target);
        QVERIFY(ini->Merge(NewFile("[A]\nx=1\n"), kNoSection));
        QCOMPARE(Get(other, "A", "x"), QStringLiteral("1"));
        QCOMPARE(Get(*ini, "A", "x"), QStringLiteral("1"));
        ini.reset();
        QCOMPARE(Get(other, "A", "x"), QStringLiteral("1"));
        QVERIFY(QFile::remove(folder) && QDir().mkdir(folder));
        QCOMPARE(Get(other, "A", "x"), QStringLiteral("1"));
        QCOMPARE(Read(target), QByteArray("[A]\nx=1\n"));
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

    void withoutAFile()
    {
        const QString prefs = NewPrefs();
        Write(prefs, "[A]\nx=9\n");
        const QString source = NewFile("[A]\nx=1\ny=2\n");
        IniFile ini{QString()};
        LogScenario::Captured log;
        QVERIFY(ini.Merge(source, kNoSection));
        const QByteArray merge = "|20|Debug|IniFile::Merge|";
        QCOMPARE(log.Lines(),
                 (Lines{merge + "File to merge is " + source.toUtf8(),
                        "|25|Trace|SystemConfig::GetPath|The test path is " + SystemConfig::GetTestPath().toUtf8(),
                        "|25|Trace|IniFile::SettingValue|the return value is 2",
                        merge + "setting value 2 for key y, section A"}));
        QCOMPARE(ini.GetFileName(), prefs);
        QCOMPARE(Get(ini, "A", "x"), QStringLiteral("9"));
        QCOMPARE(Read(prefs), QByteArray("[A]\nx=9\ny=2\n"));
    }

    void withoutAFileAndASource()
    {
        const QString prefs = NewPrefs();
        IniFile ini{QString()};
        QVERIFY(!ini.Merge(NewFile(""), kNoSection));
        QCOMPARE(ini.GetFileName(), prefs);
        QVERIFY(!QFile::exists(prefs));
        ini.SetKeyValue(QStringLiteral("A"), QStringLiteral("x"), 1);
        QCOMPARE(Read(prefs), QByteArray("[A]\nx=1\n"));
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
};

NEROLT_TEST_MAIN(tst_MergeTarget)

#include "tst_MergeTarget.moc"
