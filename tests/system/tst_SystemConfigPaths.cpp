#include "InstalledHook.h"
#include "PathText.h"
#include "support/LogScenario.h"

#include <NeroltOrvaneBase/SystemConfig.h>

#include <QtCore/QFile>
#include <QtCore/QProcess>
#include <QtTest/QtTest>

#include <cstdio>
#include <memory>

using Getter = QString (*)();
Q_DECLARE_METATYPE(Getter)

using TestSupport::Scenario;
using namespace PathText;

namespace {

QByteArray PathLine(const QByteArray& testPath)
{
    return "|25|Trace|SystemConfig::GetPath|The test path is " + testPath;
}

const Scenario applicationPaths("applicationPaths", [](const QStringList& arguments) {
    InstalledHook hook;
    SystemConfig::SetTestPath(arguments[0]);
    for (const QString& path :
         {SystemConfig::GetApplicationPath(), SystemConfig::GetResourcesPath(), SystemConfig::GetApplicationIniPath(),
          SystemConfig::GetPluginsPath(), SystemConfig::GetPluginPath(QStringLiteral("Foo"))})
        std::puts(path.toUtf8().constData());
    return 0;
});

} // namespace

class tst_SystemConfigPaths : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    // A fresh instance, and a fresh folder as the current one.
    void init()
    {
        iHook.reset();
        iHook = std::make_unique<InstalledHook>();
        iFolder = TestSupport::EnterFreshFolder();
    }

    void cleanup() { iHook.reset(); }

    // "%" at the beginning means the test's folder and "@" the program's.
    void folderTable_data()
    {
        QTest::addColumn<Getter>("getter");
        QTest::addColumn<QStringList>("paths"); // as set, under a test path, not set
        QTest::addColumn<QStringList>("created");
        const auto row = [](const char* name, Getter getter, const QStringList& paths,
                            const QStringList& created = {QString(), QString(), QString()}) {
            QTest::newRow(name) << getter << paths << created;
        };
        row("user data", SystemConfig::GetUserDataPath, Texts({"%/data", "%/test", ""}));
        row("documents", SystemConfig::GetUserDocumentsPath, Texts({"%/documents", "%/test/Documents", ""}));
        row("pictures", SystemConfig::GetPicturesPath, Texts({"", "%/test/Documents", ""}));
        row("music", SystemConfig::GetMusicPath, Texts({"", "%/test/Documents", ""}));
        row("cache", SystemConfig::GetUserCachePath, Texts({"%/cache", "%/test/cache", ""}));
        row("download URLs", SystemConfig::GetDownloadUrlsXMLPath,
            Texts({"%/cache/downloadUrls.xml", "%/test/cache/downloadUrls.xml", "./downloadUrls.xml"}));
        row("preferences", SystemConfig::GetPrefsIniPath,
            Texts({"%/data/prefs.ini", "%/test/prefs.ini", "./prefs.ini"}));
        row("configuration", SystemConfig::GetConfigurationFileName,
            Texts({"%/data/Configuration.xml", "%/test/Configuration.xml", "./Configuration.xml"}));
        row("updates", SystemConfig::GetUsersUpdatePath, Texts({"%/data/Updates", "%/test/Updates", "./Updates"}),
            Texts({"data/Updates/", "test/Updates/", "Updates/"}));
        row("downloads", SystemConfig::GetUsersDownloadsPath,
            Texts({"%/base/Downloads", "%/base/Downloads", "./Downloads"}),
            Texts({"base/Downloads/", "base/Downloads/", "Downloads/"}));
        row("application", SystemConfig::GetApplicationPath, Texts({"@", "@", "@"}));
        row("resources", SystemConfig::GetResourcesPath, Texts({"@/Resources", "%/test/Resources", "@/Resources"}));
        row("application settings", SystemConfig::GetApplicationIniPath,
            Texts({"@/Resources/application.ini", "%/test/Resources/application.ini", "@/Resources/application.ini"}));
        row("plug-ins", SystemConfig::GetPluginsPath, Texts({"@/PlugIns", "@/PlugIns", "@/PlugIns"}));
        row(
            "plug-in", [] { return SystemConfig::GetPluginPath(QStringLiteral("Foo")); },
            Texts({"@/PlugIns/libFoo.dylib", "@/PlugIns/libFoo.dylib", "@/PlugIns/libFoo.dylib"}));
        row(
            "translation", [] { return SystemConfig::GetUserLocalePath(QStringLiteral("de"), true, true, true); },
            Texts({"%/data/NeroltOrvane_de.qm", "%/test/NeroltOrvane_de.qm", "./NeroltOrvane_de.qm"}));
    }
    void folderTable()
    {
        QFETCH(Getter, getter);
        QFETCH(QStringList, paths);
        QFETCH(QStringList, created);
        for (int i = 0; i < 3; ++i) {
            init();
            for (const char* const name : {"data", "base", "test"})
                QVERIFY(QDir().mkdir(Text(name)));
            const auto in = [this](const char* name) { return iFolder + QLatin1Char('/') + Text(name); };
            if (i != 2)
                SystemConfig::SetDesktopFolders(in("data"), in("documents"), in("cache"), in("base"));
            if (i == 1)
                SystemConfig::SetTestPath(in("test"));
            QString path = paths.at(i);
            path.replace(QLatin1Char('%'), iFolder).replace(QLatin1Char('@'), QCoreApplication::applicationDirPath());
            QStringList tree = Texts({"base/", "data/", "test/"});
            if (!created.at(i).isEmpty())
                tree += created.at(i);
            tree.sort();
            for (int times = 0; times < 2; ++times) {
                QCOMPARE(getter(), path);
                QCOMPARE(Tree(iFolder), tree);
            }
        }
    }

    void foldersAreJoinedAsTheyAre_data()
    {
        QTest::addColumn<QString>("folder");
        QTest::newRow("separator at the end") << Text("/u/");
        QTest::newRow("separators within") << Text("/u//v");
        QTest::newRow("parent") << Text("/u/../v");
        QTest::newRow("blanks") << Text(" u ");
        QTest::newRow("beyond ASCII") << Text("/\xc3\xbc/\xf0\x9f\x98\x80");
        QTest::newRow("template marks") << Text("/%1");
    }
    void foldersAreJoinedAsTheyAre()
    {
        QFETCH(QString, folder);
        SystemConfig::SetDesktopFolders(folder, folder, folder, folder);
        QCOMPARE(SystemConfig::GetUserDataPath(), folder);
        QCOMPARE(SystemConfig::GetUserDocumentsPath(), folder);
        QCOMPARE(SystemConfig::GetUserCachePath(), folder);
        QCOMPARE(SystemConfig::GetPrefsIniPath(),
                 folder + (folder.endsWith(QLatin1Char('/')) ? Text("prefs.ini") : Text("/prefs.ini")));
    }

    void path_data()
    {
        QTest::addColumn<QString>("testPath");
        QTest::addColumn<QString>("folder");
        QTest::addColumn<QByteArray>("subfolder");
        QTest::addColumn<QString>("path");
        const QByteArray none;
        QTest::newRow("neither") << Text("") << Text("/f") << none << Text("/f");
        QTest::newRow("only a subfolder") << Text("") << Text("/f") << QByteArray("s") << Text("/f");
        QTest::newRow("folder unchanged") << Text("") << Text("f\\//.. /") << none << Text("f\\//.. /");
        QTest::newRow("no folder") << Text("") << Text("") << QByteArray("s") << Text("");
        QTest::newRow("test path") << Text("/t") << Text("/f") << none << Text("/t");
        QTest::newRow("test path, subfolder") << Text("/t") << Text("/f") << QByteArray("s") << Text("/t/s");
        QTest::newRow("no folder under a test path") << Text("/t") << Text("") << QByteArray("s") << Text("/t/s");
        QTest::newRow("absolute subfolder") << Text("/t") << Text("/f") << QByteArray("/s") << Text("/s");
        QTest::newRow("separator left") << Text("/t//") << Text("/f") << QByteArray("s") << Text("/t/s");
        QTest::newRow("subfolder beyond ASCII")
            << Text("/t") << Text("/f") << QByteArray("\xc3\xbc") << Text("/t/\xc3\xbc");
    }
    void path()
    {
        QFETCH(QString, testPath);
        QFETCH(QString, folder);
        QFETCH(QByteArray, subfolder);
        QFETCH(QString, path);
        SystemConfig::SetTestPath(testPath);
        QCOMPARE(SystemConfig::GetPath(folder, subfolder.isNull() ? nullptr : subfolder.constData()), path);
    }

    void testPath_data()
    {
        QTest::addColumn<QString>("given");
        QTest::addColumn<QString>("kept");
        QTest::newRow("plain") << Text("/tmp/t") << Text("/tmp/t");
        QTest::newRow("separator at the end") << Text("/tmp/t/") << Text("/tmp/t");
        QTest::newRow("two") << Text("/t//") << Text("/t/");
        QTest::newRow("root") << Text("/") << Text("");
        QTest::newRow("blanks around a separator at the end") << Text(" /t/ ") << Text("/t");
        QTest::newRow("blank before the separator") << Text("/t /") << Text("/t ");
        QTest::newRow("all kinds of blanks") << Text("\t\n\v\f\r /t\xc2\xa0\xe3\x80\x80") << Text("/t");
        QTest::newRow("empty") << Text("") << Text("");
        QTest::newRow("relative") << Text("t/") << Text("t");
        QTest::newRow("not normalised") << Text("/t/../u//v") << Text("/t/../u//v");
        QTest::newRow("backslash at the end") << Text("/t\\") << Text("/t\\");
    }
    void testPath()
    {
        QFETCH(QString, given);
        QFETCH(QString, kept);
        SystemConfig::SetDesktopFolders(Text("/u"), QString(), QString(), QString());
        SystemConfig::SetTestPath(Text("/before"));
        SystemConfig::SetTestPath(given);
        QCOMPARE(SystemConfig::GetTestPath(), kept);
        QCOMPARE(SystemConfig::GetUserDataPath(), kept.isEmpty() ? Text("/u") : kept);
    }

    void testPathIsAReference()
    {
        const QString& testPath = SystemConfig::GetTestPath();
        SystemConfig::SetTestPath(Text("/u//"));
        QCOMPARE(testPath, Text("/u/"));
        SystemConfig::SetTestPath(testPath);
        QCOMPARE(testPath, Text("/u"));
    }

    void pluginPath_data()
    {
        QTest::addColumn<QString>("name");
        QTest::addColumn<QString>("file");
        QTest::newRow("plain") << Text("Foo") << Text("libFoo.dylib");
        QTest::newRow("empty") << Text("") << Text("lib.dylib");
        QTest::newRow("template marks") << Text("%1%2") << Text("lib%1%2.dylib");
        QTest::newRow("with both already") << Text("libFoo.dylib") << Text("liblibFoo.dylib.dylib");
    }
    void pluginPath()
    {
        QFETCH(QString, name);
        QFETCH(QString, file);
        QCOMPARE(SystemConfig::GetPluginPath(name), SystemConfig::GetPluginsPath() + QLatin1Char('/') + file);
    }

    void localePath_data()
    {
        QTest::addColumn<bool>("inUserDataFolder");
        QTest::addColumn<bool>("withExtension");
        QTest::addColumn<bool>("ownPrefix");
        QTest::addColumn<QString>("path");
        QTest::newRow("---") << false << false << false << Text("UIContentHost_fr");
        QTest::newRow("--o") << false << false << true << Text("NeroltOrvane_fr");
        QTest::newRow("-e-") << false << true << false << Text("UIContentHost_fr.qm");
        QTest::newRow("-eo") << false << true << true << Text("NeroltOrvane_fr.qm");
        QTest::newRow("u--") << true << false << false << Text("/u/UIContentHost_fr");
        QTest::newRow("u-o") << true << false << true << Text("/u/NeroltOrvane_fr");
        QTest::newRow("ue-") << true << true << false << Text("/u/UIContentHost_fr.qm");
        QTest::newRow("ueo") << true << true << true << Text("/u/NeroltOrvane_fr.qm");
    }
    void localePath()
    {
        QFETCH(bool, inUserDataFolder);
        QFETCH(bool, withExtension);
        QFETCH(bool, ownPrefix);
        QFETCH(QString, path);
        const QString locale = Text("fr");
        SystemConfig::SetDesktopFolders(Text("/u"), Text("/d"), Text("/c"), Text("/b"));
        QCOMPARE(SystemConfig::GetUserLocalePath(locale, inUserDataFolder, withExtension, ownPrefix), path);
        SystemConfig::SetTestPath(Text("/t"));
        QCOMPARE(SystemConfig::GetUserLocalePath(locale, inUserDataFolder, withExtension, ownPrefix),
                 path.replace(Text("/u/"), Text("/t/")));
    }

    void pathIsTraced_data() { LogScenario::AddMasks({LoggerDefs::Trace, LoggerDefs::Debug}); }
    void pathIsTraced()
    {
        QFETCH(int, mask);
        SystemConfig::SetTestPath(Text("/%1/%2/"));
        const QByteArray debug = "|20|Debug|SystemConfig::GetResourcesPath|resource path is "
            + QCoreApplication::applicationDirPath().toUtf8() + "/Resources";
        const QByteArray trace = PathLine("/%1/%2");
        const auto calls = [] {
            SystemConfig::GetPath(QStringLiteral("/folder"), nullptr);
            SystemConfig::GetPath(QStringLiteral("/folder"), "sub");
            SystemConfig::GetResourcesPath();
        };
        QCOMPARE(LogScenario::LoggedBy(calls, mask), LogScenario::Passing({trace, trace, debug, trace}, mask));
    }

    void whoLogs()
    {
        const QByteArray resources = "|20|Debug|SystemConfig::GetResourcesPath|resource path is "
            + QCoreApplication::applicationDirPath().toUtf8() + "/Resources";
        const Getter traced[] = {SystemConfig::GetUserDataPath,         SystemConfig::GetUserDocumentsPath,
                                 SystemConfig::GetPicturesPath,         SystemConfig::GetMusicPath,
                                 SystemConfig::GetUserCachePath,        SystemConfig::GetUsersUpdatePath,
                                 SystemConfig::GetPrefsIniPath,         SystemConfig::GetDownloadUrlsXMLPath,
                                 SystemConfig::GetConfigurationFileName};
        for (const Getter getter : traced)
            QCOMPARE(LogScenario::LoggedBy(getter), QList<QByteArray>{PathLine("")});
        QCOMPARE(LogScenario::LoggedBy(SystemConfig::GetApplicationIniPath),
                 (QList<QByteArray>{resources, PathLine("")}));
        QCOMPARE(LogScenario::LoggedBy(SystemConfig::CreateUserProfile), QList<QByteArray>{PathLine("")});
        const auto others = [] {
            SystemConfig::GetUsersDownloadsPath();
            SystemConfig::GetApplicationPath();
            SystemConfig::GetPluginPath(QStringLiteral("x"));
            SystemConfig::SetDesktopFolders(QString(), QString(), QString(), QString());
            SystemConfig::SetTestPath(QString());
            SystemConfig::GetTestPath();
            SystemConfig::ApplicationShortName();
            SystemConfig::GetUserLocalePath(QStringLiteral("x"), false, true, true);
            SystemConfig::CreateFolder(QStringLiteral("a"));
        };
        QCOMPARE(LogScenario::LoggedBy(others), QList<QByteArray>());
    }

    void bundle_data()
    {
        QTest::addColumn<QString>("programs");
        QTest::addColumn<QString>("application");
        QTest::addColumn<QString>("resources");
        const auto row = [](const char* name, const char* programs, const char* application, const char* below) {
            QTest::newRow(name) << Text(programs) << Text(application) << Text(below);
        };
        row("bundle", "A.app/Contents/MacOS", "A.app/Contents/", "A.app/Contents");
        row("none", "usr/bin", "usr/bin", "usr/bin");
        row("at the beginning of a name", "MacOSX/bin", "MacOS", "MacOS");
        row("in a folder above", "MacOS/programs", "MacOS/pro", "MacOS/pro");
        row("folder below the bundle's", "A.app/Contents/MacOS/x", "A.app/Contents/Ma", "A.app/Contents/Ma");
    }
    void bundle()
    {
        QFETCH(QString, programs);
        QFETCH(QString, application);
        QFETCH(QString, resources);
        const QDir folder(QFileInfo(iFolder).canonicalFilePath());
        QVERIFY(folder.mkpath(programs));
        const QString program = folder.filePath(programs) + QStringLiteral("/program");
        QVERIFY(QFile::copy(QCoreApplication::applicationFilePath(), program));

        const QByteArray below = folder.filePath(resources).toUtf8();
        const QByteArray first = folder.filePath(application).toUtf8() + '\n';
        const QByteArray last = below + "/PlugIns\n" + below + "/PlugIns/libFoo.dylib\n";
        QCOMPARE(OutputOf(program, QString()),
                 first + below + "/Resources\n" + below + "/Resources/application.ini\n" + last);
        QCOMPARE(OutputOf(program, Text("/t")), first + "/t/Resources\n/t/Resources/application.ini\n" + last);
        QVERIFY(QFile::remove(program));
    }

private:
    static QByteArray OutputOf(const QString& program, const QString& testPath)
    {
        QProcess process;
        TestSupport::StartScenario(process, "applicationPaths", {testPath}, program);
        const bool isDone = process.waitForFinished(60000);
        if (!isDone)
            process.kill();
        return isDone && process.exitStatus() == QProcess::NormalExit && process.exitCode() == 0
            ? process.readAllStandardOutput()
            : "failed: " + process.readAllStandardError();
    }

    std::unique_ptr<InstalledHook> iHook;
    QString iFolder;
};

NEROLT_TEST_MAIN(tst_SystemConfigPaths)

#include "tst_SystemConfigPaths.moc"
