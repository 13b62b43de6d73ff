#include "InstalledHook.h"
#include "PathText.h"
#include "support/LogScenario.h"

#include <NeroltOrvaneBase/SystemConfig.h>

#include <QtCore/QFile>
#include <QtTest/QtTest>

#include <cstdio>
#include <memory>

using Getter = QString (*)();
Q_DECLARE_METATYPE(Getter)

using namespace PathText;

namespace {

const TestSupport::Scenario applicationPaths("applicationPaths", [](const QStringList& arguments) {
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
        QTest::addColumn<int>("lines"); // in the log
        QTest::addColumn<bool>("isCreated");
        const auto row = [](const char* name, Getter getter, const char* set, const char* underTestPath,
                            const char* notSet, int lines, bool isCreated = false) {
            QTest::newRow(name) << getter << Texts({set, underTestPath, notSet}) << lines << isCreated;
        };
        const auto plugin = [] { return SystemConfig::GetPluginPath(QStringLiteral("Foo")); };
        const auto translation = [] { return SystemConfig::GetUserLocalePath(QStringLiteral("de"), true, true, true); };
        row("UserDataPath", SystemConfig::GetUserDataPath, "%/data", "%/test", "", 1);
        row("UserDocumentsPath", SystemConfig::GetUserDocumentsPath, "%/documents", "%/test/Documents", "", 1);
        row("PicturesPath", SystemConfig::GetPicturesPath, "", "%/test/Documents", "", 1);
        row("MusicPath", SystemConfig::GetMusicPath, "", "%/test/Documents", "", 1);
        row("UserCachePath", SystemConfig::GetUserCachePath, "%/cache", "%/test/cache", "", 1);
        row("DownloadUrlsXMLPath", SystemConfig::GetDownloadUrlsXMLPath, "%/cache/downloadUrls.xml",
            "%/test/cache/downloadUrls.xml", "./downloadUrls.xml", 1);
        row("PrefsIniPath", SystemConfig::GetPrefsIniPath, "%/data/prefs.ini", "%/test/prefs.ini", "./prefs.ini", 1);
        row("ConfigurationFileName", SystemConfig::GetConfigurationFileName, "%/data/Configuration.xml",
            "%/test/Configuration.xml", "./Configuration.xml", 1);
        row("UsersUpdatePath", SystemConfig::GetUsersUpdatePath, "%/data/Updates", "%/test/Updates", "./Updates", 1,
            true);
        row("UsersDownloadsPath", SystemConfig::GetUsersDownloadsPath, "%/base/Downloads", "%/base/Downloads",
            "./Downloads", 0, true);
        row("ApplicationPath", SystemConfig::GetApplicationPath, "@", "@", "@", 0);
        row("ResourcesPath", SystemConfig::GetResourcesPath, "@/Resources", "%/test/Resources", "@/Resources", 2);
        row("ApplicationIniPath", SystemConfig::GetApplicationIniPath, "@/Resources/application.ini",
            "%/test/Resources/application.ini", "@/Resources/application.ini", 2);
        row("PluginsPath", SystemConfig::GetPluginsPath, "@/PlugIns", "@/PlugIns", "@/PlugIns", 0);
        row("plugin", plugin, "@/PlugIns/libFoo.dylib", "@/PlugIns/libFoo.dylib", "@/PlugIns/libFoo.dylib", 0);
        row("translation", translation, "%/data/NeroltOrvane_de.qm", "%/test/NeroltOrvane_de.qm",
            "./NeroltOrvane_de.qm", 1);
    }
    void folderTable()
    {
        QFETCH(Getter, getter);
        QFETCH(QStringList, paths);
        QFETCH(int, lines);
        QFETCH(bool, isCreated);
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
            if (isCreated)
                tree += QDir(iFolder).relativeFilePath(path) + QLatin1Char('/');
            tree.sort();
            for (int times = 0; times < 2; ++times) {
                const auto call = [&] { QCOMPARE(getter(), path); };
                QCOMPARE(LogScenario::LoggedBy(call).size(), lines);
                QCOMPARE(Tree(iFolder), tree);
            }
        }
    }

    void othersSayNothing()
    {
        const auto others = [] {
            SystemConfig::SetDesktopFolders(QString(), QString(), QString(), QString());
            SystemConfig::SetTestPath(QString());
            SystemConfig::GetTestPath();
            SystemConfig::ApplicationShortName();
            SystemConfig::GetUserLocalePath(QStringLiteral("x"), false, true, true);
            SystemConfig::CreateFolder(QStringLiteral("a"));
        };
        QCOMPARE(LogScenario::LoggedBy(others), QList<QByteArray>());
    }

    void foldersAreJoinedAsTheyAre()
    {
        for (const char* const name : {"/u/", " /u//v/../\xc3\xbc %1 /"}) {
            const QString folder = Text(name);
            SystemConfig::SetDesktopFolders(folder, folder, folder, folder);
            QCOMPARE(SystemConfig::GetUserDataPath(), folder);
            QCOMPARE(SystemConfig::GetUserDocumentsPath(), folder);
            QCOMPARE(SystemConfig::GetUserCachePath(), folder);
            QCOMPARE(SystemConfig::GetPrefsIniPath(), folder + Text("prefs.ini"));
        }
    }

    void path()
    {
        QCOMPARE(SystemConfig::GetPath(Text("f\\//.. /"), nullptr), Text("f\\//.. /"));
        QCOMPARE(SystemConfig::GetPath(Text("f\\//.. /"), "s"), Text("f\\//.. /"));
        SystemConfig::SetTestPath(Text("/t//"));
        QCOMPARE(SystemConfig::GetPath(Text("/f"), nullptr), Text("/t/"));
        QCOMPARE(SystemConfig::GetPath(Text("/f"), "\xc3\xbc"), Text("/t/\xc3\xbc"));
        QCOMPARE(SystemConfig::GetPath(QString(), "s"), Text("/t/s"));
        QCOMPARE(SystemConfig::GetPath(Text("/f"), "/s"), Text("/s"));
    }

    void testPath()
    {
        const std::pair<const char*, const char*> cases[] = {
            {"/tmp/t/", "/tmp/t"}, {"/t//", "/t/"}, {"/", ""},   {"\t\n\v\f\r /t/\xc2\xa0\xe3\x80\x80", "/t"},
            {"/t /", "/t "},       {" ", ""},       {"t/", "t"}, {"/t/../u//v", "/t/../u//v"},
            {"/t\\", "/t\\"},
        };
        SystemConfig::SetDesktopFolders(Text("/u"), QString(), QString(), QString());
        for (const auto& [given, kept] : cases) {
            SystemConfig::SetTestPath(Text("/before"));
            SystemConfig::SetTestPath(Text(given));
            QCOMPARE(SystemConfig::GetTestPath(), Text(kept));
            QCOMPARE(SystemConfig::GetUserDataPath(), Text(*kept ? kept : "/u"));
        }
    }

    void testPathIsAReference()
    {
        const QString& testPath = SystemConfig::GetTestPath();
        SystemConfig::SetTestPath(Text("/u//"));
        QCOMPARE(testPath, Text("/u/"));
        SystemConfig::SetTestPath(testPath);
        QCOMPARE(testPath, Text("/u"));
    }

    void pluginPath()
    {
        for (const char* const name : {"", "%1%2", "libFoo.dylib"})
            QCOMPARE(SystemConfig::GetPluginPath(Text(name)),
                     SystemConfig::GetPluginsPath() + Text("/lib") + Text(name) + Text(".dylib"));
    }

    void localePath()
    {
        const QString fr = Text("fr");
        SystemConfig::SetDesktopFolders(Text("/u"), Text("/d"), Text("/c"), Text("/b"));
        QCOMPARE(SystemConfig::GetUserLocalePath(fr, false, false, false), Text("UIContentHost_fr"));
        QCOMPARE(SystemConfig::GetUserLocalePath(fr, false, false, true), Text("NeroltOrvane_fr"));
        QCOMPARE(SystemConfig::GetUserLocalePath(fr, false, true, false), Text("UIContentHost_fr.qm"));
        QCOMPARE(SystemConfig::GetUserLocalePath(fr, false, true, true), Text("NeroltOrvane_fr.qm"));
        QCOMPARE(SystemConfig::GetUserLocalePath(fr, true, false, false), Text("/u/UIContentHost_fr"));
        QCOMPARE(SystemConfig::GetUserLocalePath(fr, true, false, true), Text("/u/NeroltOrvane_fr"));
        QCOMPARE(SystemConfig::GetUserLocalePath(fr, true, true, false), Text("/u/UIContentHost_fr.qm"));
        QCOMPARE(SystemConfig::GetUserLocalePath(fr, true, true, true), Text("/u/NeroltOrvane_fr.qm"));
        SystemConfig::SetTestPath(Text("/t"));
        QCOMPARE(SystemConfig::GetUserLocalePath(fr, false, true, true), Text("NeroltOrvane_fr.qm"));
    }

    void pathIsTraced_data() { LogScenario::AddMasks({LoggerDefs::Trace, LoggerDefs::Debug}); }
    void pathIsTraced()
    {
        QFETCH(int, mask);
        SystemConfig::SetTestPath(Text("/%1/%2/"));
        const QByteArray debug = "|20|Debug|SystemConfig::GetResourcesPath|resource path is "
            + QCoreApplication::applicationDirPath().toUtf8() + "/Resources";
        const QByteArray trace = "|25|Trace|SystemConfig::GetPath|The test path is /%1/%2";
        const auto calls = [] {
            SystemConfig::GetPath(QStringLiteral("/folder"), nullptr);
            SystemConfig::GetPath(QStringLiteral("/folder"), "sub");
            SystemConfig::GetResourcesPath();
        };
        QCOMPARE(LogScenario::LoggedBy(calls, mask), LogScenario::Passing({trace, trace, debug, trace}, mask));
    }

    void bundle_data()
    {
        QTest::addColumn<QString>("application");
        QTest::addColumn<QString>("below");
        QTest::newRow("A.app/Contents/MacOS") << Text("A.app/Contents/") << Text("A.app/Contents");
        QTest::newRow("usr/macos") << Text("usr/macos") << Text("usr/macos");
        QTest::newRow("MacOSX/bin") << Text("MacOS") << Text("MacOS");
        QTest::newRow("A.app/Contents/MacOS/x") << Text("A.app/Contents/Ma") << Text("A.app/Contents/Ma");
    }
    void bundle()
    {
        QFETCH(QString, application);
        QFETCH(QString, below);
        const QDir folder(QFileInfo(iFolder).canonicalFilePath());
        const QString program = folder.filePath(Text(QTest::currentDataTag())) + QStringLiteral("/program");
        QVERIFY(folder.mkpath(QFileInfo(program).path()));
        QVERIFY(QFile::copy(QCoreApplication::applicationFilePath(), program));
        const QString base = folder.filePath(below);
        for (const QString& testPath : {QString(), Text("/t")}) {
            const auto result = TestSupport::RunScenario("applicationPaths", {testPath}, program);
            QVERIFY2(result.IsOk(), result.Describe().constData());
            const QString resources = (testPath.isEmpty() ? base : testPath) + Text("/Resources");
            const QStringList expected{folder.filePath(application),         resources,
                                       resources + Text("/application.ini"), base + Text("/PlugIns"),
                                       base + Text("/PlugIns/libFoo.dylib"), QString()};
            QCOMPARE(QString::fromUtf8(result.iStdout).split(QLatin1Char('\n')), expected);
        }
        QVERIFY(QFile::remove(program));
    }

private:
    std::unique_ptr<InstalledHook> iHook;
    QString iFolder;
};

NEROLT_TEST_MAIN(tst_SystemConfigPaths)

#include "tst_SystemConfigPaths.moc"
