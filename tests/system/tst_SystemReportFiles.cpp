#include "InstalledHook.h"
#include "PathText.h"
#include "support/Framework.h"
#include "support/LogScenario.h"
#include "support/OrdinaryUser.h"

#include <NeroltOrvaneBase/SystemConfig.h>

#include <QtCore/QFile>
#include <QtTest/QtTest>

#include <fcntl.h>
#include <memory>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

using TestSupport::Scenario;
using namespace PathText;

using Getter = QString (*)();
Q_DECLARE_METATYPE(Getter)

namespace {

// The removed files, in order.
QList<QByteArray> gRemoved;

const Scenario withoutHook("withoutHook", [](const QStringList&) {
    return SystemConfig::GetLastCrashLog().isEmpty() && SystemConfig::GetDxDialogData().isEmpty() ? 0 : 1;
});

} // namespace

// The only function with which Qt removes files.
extern "C" Q_DECL_EXPORT int unlink(const char* path) noexcept
{
    gRemoved += path;
    return int(::syscall(SYS_unlinkat, AT_FDCWD, path, 0));
}

class tst_SystemReportFiles : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase() { TestSupport::SetLocalCodec("UTF-8"); }

    // A fresh instance, and a fresh folder as the current one, the user's, with logs.
    void init()
    {
        iHook = std::make_unique<InstalledHook>();
        iFolder = TestSupport::EnterFreshFolder();
        QVERIFY(QDir().mkdir(Text("Logs")));
        SystemConfig::SetTestPath(iFolder);
        gRemoved.clear();
    }

    void cleanup() { iHook.reset(); }

    void detailsExist_data()
    {
        QTest::addColumn<QStringList>("things");
        QTest::addColumn<bool>("exist");
        QTest::newRow("neither") << QStringList() << false;
        QTest::newRow("diagnostic") << Texts({"Logs/qtdiag.log"}) << false;
        QTest::newRow("graphics") << Texts({"Logs/graphics.log"}) << false;
        QTest::newRow("both") << Texts({"Logs/qtdiag.log", "Logs/graphics.log"}) << true;
        QTest::newRow("scripts") << Texts({"Logs/qtdiag.sh", "Logs/graphics.sh"}) << false;
        QTest::newRow("links to files") << Texts({"a", "Logs/qtdiag.log -> ../a", "Logs/graphics.log -> ../a"}) << true;
        QTest::newRow("dead link, diagnostic") << Texts({"Logs/qtdiag.log -> ../a", "Logs/graphics.log"}) << false;
    }
    void detailsExist()
    {
        QFETCH(QStringList, things);
        QFETCH(bool, exist);
        for (const QString& thing : qAsConst(things))
            QVERIFY(Make(thing));
        const QStringList before = Tree(iFolder);
        QCOMPARE(SystemConfig::SystemDetailsExist(), exist);
        QCOMPARE(Tree(iFolder), before);
    }

    void detailsExistWhereTheUsersFolderIs()
    {
        QVERIFY(Make(Text("Logs/qtdiag.log")) && Make(Text("Logs/graphics.log")));
        SystemConfig::SetTestPath(QString());
        SystemConfig::SetDesktopFolders(iFolder, Text("d"), Text("c"), Text("b"));
        QVERIFY(SystemConfig::SystemDetailsExist());
        QCOMPARE(SystemConfig::GetQtDialogData(), Text("text\r\n"));
        QCOMPARE(SystemConfig::GetQMacSystemProfilertData(), Text("text\n"));
        SystemConfig::SetTestPath(iFolder + Text("/other"));
        QVERIFY(!SystemConfig::SystemDetailsExist());
        QVERIFY(QDir().mkdir(Text("other")) && Make(Text("other/Logs -> ../Logs")));
        QVERIFY(SystemConfig::SystemDetailsExist());
    }

    void nothingExistsWithoutAFolder()
    {
        for (const char* const name : {"missing", "file"}) {
            SystemConfig::SetTestPath(iFolder + Text("/") + Text(name));
            QVERIFY(Write(Text("file"), "text\n"));
            QVERIFY(!SystemConfig::SystemDetailsExist());
            QCOMPARE(SystemConfig::GetQtDialogData(), QString());
            QCOMPARE(SystemConfig::GetQMacSystemProfilertData(), QString());
            SystemConfig::RemoveShFiles();
        }
        QCOMPARE(Tree(iFolder), Texts({"Logs/", "file"}));
    }

    void diagnosticData_data()
    {
        QTest::addColumn<QByteArray>("output");
        QTest::addColumn<QString>("data");
        QTest::newRow("empty") << QByteArray() << QString();
        QTest::newRow("the example") << QByteArray("Architecture: x\nBuild: y\nLibrary info:\nz\nScreens:\nw\n")
                                     << Text("Architecture: x\r\nBuild: y\r\nScreens:\r\nw\r\n");
        QTest::newRow("CR LF, no end") << QByteArray("a\r\nFonts\r\nGPU") << Text("a\r\nGPU\r\n");
        QTest::newRow("beyond ASCII") << QByteArray("\xc3\xbc\n\xe6\x97\xa5\n") << Text("\xc3\xbc\r\n\xe6\x97\xa5\r\n");
        QTest::newRow("byte order mark") << QByteArray("\xef\xbb\xbf"
                                                       "a\n")
                                         << Text("a\r\n");
        QTest::newRow("bytes that are no text")
            << QByteArray("a\xff\n") << Text("a") + QChar(QChar::ReplacementCharacter) + Text("\r\n");
        QTest::newRow("not cut at a NUL") << QByteArray("a\0b\n", 4) << Text("a") + QChar(0) + Text("b\r\n");
    }
    void diagnosticData()
    {
        QFETCH(QByteArray, output);
        QFETCH(QString, data);
        QVERIFY(Write(Text("Logs/qtdiag.log"), output));
        QVERIFY(Write(Text("Logs/graphics.log"), "another"));
        QCOMPARE(SystemConfig::GetQtDialogData(), data);
        QCOMPARE(LogText::Read(Text("Logs/qtdiag.log")), output);
    }

    void graphicsData_data()
    {
        QTest::addColumn<QByteArray>("output");
        QTest::addColumn<QString>("data");
        QTest::newRow("empty") << QByteArray() << QString();
        QTest::newRow("as it is") << QByteArray(" a\r\nFonts\n\n") << Text(" a\r\nFonts\n\n");
        QTest::newRow("beyond ASCII") << QByteArray("\xc3\xbc\xe6\x97\xa5") << Text("\xc3\xbc\xe6\x97\xa5");
        QTest::newRow("cut at a NUL") << QByteArray("a\n\0b\0c", 6) << Text("a\n");
        QTest::newRow("long") << QByteArray(1000000, 'x') << QString(1000000, QLatin1Char('x'));
    }
    void graphicsData()
    {
        QFETCH(QByteArray, output);
        QFETCH(QString, data);
        QVERIFY(Write(Text("Logs/qtdiag.log"), "another"));
        QVERIFY(Write(Text("Logs/graphics.log"), output));
        QCOMPARE(SystemConfig::GetQMacSystemProfilertData(), data);
        QCOMPARE(LogText::Read(Text("Logs/graphics.log")), output);
    }

    void dataThatCannotBeRead_data()
    {
        QTest::addColumn<QString>("name");
        QTest::addColumn<Getter>("getter");
        QTest::newRow("diagnostic") << Text("Logs/qtdiag.log") << Getter(SystemConfig::GetQtDialogData);
        QTest::newRow("graphics") << Text("Logs/graphics.log") << Getter(SystemConfig::GetQMacSystemProfilertData);
    }
    void dataThatCannotBeRead()
    {
        QFETCH(QString, name);
        QFETCH(Getter, getter);
        QCOMPARE(getter(), QString());
        QVERIFY(Make(name + Text(" -> nowhere")));
        QCOMPARE(getter(), QString());
        QVERIFY(QFile::remove(name) && QDir().mkdir(name));
        QCOMPARE(getter(), QString());
        QVERIFY(QDir().rmdir(name) && Make(name));
        OrdinaryUser::Own(iFolder + Text("/") + name);
        QCOMPARE(::chmod(name.toUtf8().constData(), 0), 0);
        {
            const OrdinaryUser user;
            QCOMPARE(getter(), QString());
        }
        QCOMPARE(::chmod(name.toUtf8().constData(), 0600), 0);
        {
            const OrdinaryUser user;
            QVERIFY(!getter().isEmpty());
        }
    }

    void scriptsAreRemoved_data()
    {
        QTest::addColumn<QStringList>("things");
        QTest::addColumn<QStringList>("tree");
        QTest::addColumn<QList<QByteArray>>("removed");
        const QList<QByteArray> none;
        QTest::newRow("nothing there") << QStringList() << Texts({"Logs/"}) << none;
        QTest::newRow("both, diagnostic first") << Texts({"Logs/graphics.sh", "Logs/qtdiag.sh"}) << Texts({"Logs/"})
                                                << QList<QByteArray>{"Logs/qtdiag.sh", "Logs/graphics.sh"};
        QTest::newRow("diagnostic") << Texts({"Logs/qtdiag.sh"}) << Texts({"Logs/"})
                                    << QList<QByteArray>{"Logs/qtdiag.sh"};
        QTest::newRow("graphics") << Texts({"Logs/graphics.sh"}) << Texts({"Logs/"})
                                  << QList<QByteArray>{"Logs/graphics.sh"};
        QTest::newRow("others stay") << Texts(
            {"Logs/graphics.log", "Logs/graphics.sh1", "Logs/qtdiag.SH", "Logs/qtdiag.log", "graphics.sh", "qtdiag.sh"})
                                     << Texts({"Logs/", "Logs/graphics.log", "Logs/graphics.sh1", "Logs/qtdiag.SH",
                                               "Logs/qtdiag.log", "graphics.sh", "qtdiag.sh"})
                                     << none;
        QTest::newRow("links, not what they lead to")
            << Texts({"a", "b/", "Logs/qtdiag.sh -> ../a", "Logs/graphics.sh -> ../b"}) << Texts({"Logs/", "a", "b/"})
            << QList<QByteArray>{"Logs/qtdiag.sh", "Logs/graphics.sh"};
    }
    void scriptsAreRemoved()
    {
        QFETCH(QStringList, things);
        QFETCH(QStringList, tree);
        QFETCH(QList<QByteArray>, removed);
        for (const QString& thing : qAsConst(things))
            QVERIFY(Make(thing));
        SystemConfig::RemoveShFiles();
        QCOMPARE(Tree(iFolder), tree);
        for (QByteArray& path : removed)
            path.prepend(iFolder.toUtf8() + '/');
        QCOMPARE(gRemoved, removed);
        SystemConfig::RemoveShFiles();
        QCOMPARE(Tree(iFolder), tree);
    }

    void folderInPlaceOfAScriptStays()
    {
        QVERIFY(Make(Text("Logs/qtdiag.sh/")) && Make(Text("Logs/graphics.sh")));
        SystemConfig::RemoveShFiles();
        QCOMPARE(Tree(iFolder), Texts({"Logs/", "Logs/qtdiag.sh/"}));
    }

    void scriptsOfAReadOnlyFolderStay()
    {
        QVERIFY(Make(Text("Logs/qtdiag.sh")) && Make(Text("Logs/graphics.sh")));
        OrdinaryUser::Own(iFolder + Text("/Logs"));
        QCOMPARE(::chmod("Logs", 0555), 0);
        {
            const OrdinaryUser user;
            SystemConfig::RemoveShFiles();
        }
        QCOMPARE(::chmod("Logs", 0755), 0);
        QCOMPARE(Tree(iFolder), Texts({"Logs/", "Logs/graphics.sh", "Logs/qtdiag.sh"}));
    }

    void crashLogIsEmpty()
    {
        const QByteArray enter = "|25|Trace|GetLastCrashLog|Enter.";
        for (const int mask : {LogScenario::kAllLevels, int(LoggerDefs::Trace), 55}) {
            const auto call = [] { QCOMPARE(SystemConfig::GetLastCrashLog(), QString()); };
            QCOMPARE(LogScenario::LoggedBy(call, mask), LogScenario::Passing({enter}, mask));
        }
    }

    void emptyAnswersNeedNoHook()
    {
        const auto result = TestSupport::RunScenario("withoutHook");
        QVERIFY2(result.IsOk(), result.Describe().constData());
    }

    void othersSayNothing()
    {
        for (const char* const name : {"qtdiag.log", "graphics.log", "qtdiag.sh", "graphics.sh", "dxdiag.log"})
            QVERIFY(Make(Text("Logs/") + Text(name)));
        const auto calls = [] {
            SystemConfig::SystemDetailsExist();
            SystemConfig::GetQtDialogData();
            SystemConfig::GetQMacSystemProfilertData();
            QCOMPARE(SystemConfig::GetDxDialogData(), QString());
            SystemConfig::RemoveShFiles();
        };
        QCOMPARE(LogScenario::LoggedBy(calls, LogScenario::kAllLevels ^ LoggerDefs::Trace), QList<QByteArray>());
    }

private:
    std::unique_ptr<InstalledHook> iHook;
    QString iFolder;
};

NEROLT_TEST_MAIN(tst_SystemReportFiles)

#include "tst_SystemReportFiles.moc"
