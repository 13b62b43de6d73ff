#include "InstalledHook.h"
#include "PathText.h"
#include "support/TestMain.h"

#include <NeroltOrvaneBase/Logger.h>
#include <NeroltOrvaneBase/SystemConfig.h>

#include <QtCore/QFile>
#include <QtCore/QProcess>
#include <QtTest/QtTest>

#include <cstdio>
#include <memory>

using Getter = QString (*)();
Q_DECLARE_METATYPE(Getter)

NEROLT_PRIVATE(SystemConfig, iTestPath, QString)

using TestSupport::Scenario;
using namespace PathText;

namespace {

constexpr int kAll = 63;

void Mark(const char* name)
{
    Logger::LogInformation(name, QString());
}

const Scenario pathLines("pathLines", [](const QStringList& arguments) {
    return Logged(arguments[0].toInt(), [&] {
        SystemConfig::SetTestPath(arguments[1]);
        SystemConfig::GetPath(QStringLiteral("/folder"), nullptr);
        SystemConfig::GetPath(QStringLiteral("/folder"), "sub");
    });
});

const Scenario resourceLines("resourceLines", [](const QStringList& arguments) {
    return Logged(arguments[0].toInt(), [&] {
        SystemConfig::SetTestPath(arguments[1]);
        std::puts(SystemConfig::GetResourcesPath().toUtf8().constData());
    });
});

// Which of them log, and how often.
const Scenario everybodysLines("everybodysLines", [](const QStringList&) {
    return Logged(kAll, [] {
        const std::pair<const char*, Getter> getters[] = {
            {"GetUserDataPath", SystemConfig::GetUserDataPath},
            {"GetUserDocumentsPath", SystemConfig::GetUserDocumentsPath},
            {"GetPicturesPath", SystemConfig::GetPicturesPath},
            {"GetMusicPath", SystemConfig::GetMusicPath},
            {"GetUserCachePath", SystemConfig::GetUserCachePath},
            {"GetUsersUpdatePath", SystemConfig::GetUsersUpdatePath},
            {"GetUsersDownloadsPath", SystemConfig::GetUsersDownloadsPath},
            {"GetApplicationPath", SystemConfig::GetApplicationPath},
            {"GetResourcesPath", SystemConfig::GetResourcesPath},
            {"GetApplicationIniPath", SystemConfig::GetApplicationIniPath},
            {"GetPluginsPath", SystemConfig::GetPluginsPath},
            {"GetPrefsIniPath", SystemConfig::GetPrefsIniPath},
            {"GetDownloadUrlsXMLPath", SystemConfig::GetDownloadUrlsXMLPath},
            {"GetConfigurationFileName", SystemConfig::GetConfigurationFileName},
        };
        for (const auto& [name, getter] : getters) {
            Mark(name);
            getter();
        }
        Mark("others");
        SystemConfig::SetDesktopFolders(QString(), QString(), QString(), QString());
        SystemConfig::SetTestPath(QString());
        SystemConfig::GetTestPath();
        SystemConfig::ApplicationShortName();
        SystemConfig::GetPluginPath(QStringLiteral("x"));
        SystemConfig::GetUserLocalePath(QStringLiteral("x"), false, true, true);
        SystemConfig::CreateFolder(QString());
        SystemConfig::CreateFolder(QStringLiteral("a"));
        Mark("GetUserLocalePath");
        SystemConfig::GetUserLocalePath(QStringLiteral("x"), true, true, true);
        Mark("CreateUserProfile");
        SystemConfig::CreateUserProfile();
    });
});

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
        iHook = std::make_unique<InstalledHook>();
        iFolder = TestSupport::EnterFreshFolder();
    }

    void cleanup() { iHook.reset(); }

    void folderTable_data()
    {
        Columns();
        QTest::newRow("user data") << Getter(SystemConfig::GetUserDataPath) << Text("%/data") << Text("");
        QTest::newRow("documents") << Getter(SystemConfig::GetUserDocumentsPath) << Text("%/documents") << Text("");
        QTest::newRow("pictures") << Getter(SystemConfig::GetPicturesPath) << Text("") << Text("");
        QTest::newRow("music") << Getter(SystemConfig::GetMusicPath) << Text("") << Text("");
        QTest::newRow("cache") << Getter(SystemConfig::GetUserCachePath) << Text("%/cache") << Text("");
        QTest::newRow("download URLs") << Getter(SystemConfig::GetDownloadUrlsXMLPath)
                                       << Text("%/cache/downloadUrls.xml") << Text("");
        QTest::newRow("preferences") << Getter(SystemConfig::GetPrefsIniPath) << Text("%/data/prefs.ini") << Text("");
        QTest::newRow("configuration") << Getter(SystemConfig::GetConfigurationFileName)
                                       << Text("%/data/Configuration.xml") << Text("");
        QTest::newRow("updates") << Getter(SystemConfig::GetUsersUpdatePath) << Text("%/data/Updates")
                                 << Text("data/Updates/");
        QTest::newRow("downloads") << Getter(SystemConfig::GetUsersDownloadsPath) << Text("%/base/Downloads")
                                   << Text("base/Downloads/");
        QTest::newRow("application") << Getter(SystemConfig::GetApplicationPath) << Text("@") << Text("");
        QTest::newRow("resources") << Getter(SystemConfig::GetResourcesPath) << Text("@/Resources") << Text("");
        QTest::newRow("application settings")
            << Getter(SystemConfig::GetApplicationIniPath) << Text("@/Resources/application.ini") << Text("");
        QTest::newRow("plug-ins") << Getter(SystemConfig::GetPluginsPath) << Text("@/PlugIns") << Text("");
        QTest::newRow("plug-in") << PluginPath() << Text("@/PlugIns/libFoo.dylib") << Text("");
        QTest::newRow("translation") << LocalePath() << Text("%/data/NeroltOrvane_de_DE.qm") << Text("");
    }
    void folderTable() { CheckRow(QString()); }

    void folderTableUnderATestPath_data()
    {
        Columns();
        QTest::newRow("user data") << Getter(SystemConfig::GetUserDataPath) << Text("%/test") << Text("");
        QTest::newRow("documents") << Getter(SystemConfig::GetUserDocumentsPath) << Text("%/test/Documents")
                                   << Text("");
        QTest::newRow("pictures") << Getter(SystemConfig::GetPicturesPath) << Text("%/test/Documents") << Text("");
        QTest::newRow("music") << Getter(SystemConfig::GetMusicPath) << Text("%/test/Documents") << Text("");
        QTest::newRow("cache") << Getter(SystemConfig::GetUserCachePath) << Text("%/test/cache") << Text("");
        QTest::newRow("download URLs") << Getter(SystemConfig::GetDownloadUrlsXMLPath)
                                       << Text("%/test/cache/downloadUrls.xml") << Text("");
        QTest::newRow("preferences") << Getter(SystemConfig::GetPrefsIniPath) << Text("%/test/prefs.ini") << Text("");
        QTest::newRow("configuration") << Getter(SystemConfig::GetConfigurationFileName)
                                       << Text("%/test/Configuration.xml") << Text("");
        QTest::newRow("updates") << Getter(SystemConfig::GetUsersUpdatePath) << Text("%/test/Updates")
                                 << Text("test/Updates/");
        QTest::newRow("downloads") << Getter(SystemConfig::GetUsersDownloadsPath) << Text("%/base/Downloads")
                                   << Text("base/Downloads/");
        QTest::newRow("application") << Getter(SystemConfig::GetApplicationPath) << Text("@") << Text("");
        QTest::newRow("resources") << Getter(SystemConfig::GetResourcesPath) << Text("%/test/Resources") << Text("");
        QTest::newRow("application settings")
            << Getter(SystemConfig::GetApplicationIniPath) << Text("%/test/Resources/application.ini") << Text("");
        QTest::newRow("plug-ins") << Getter(SystemConfig::GetPluginsPath) << Text("@/PlugIns") << Text("");
        QTest::newRow("plug-in") << PluginPath() << Text("@/PlugIns/libFoo.dylib") << Text("");
        QTest::newRow("translation") << LocalePath() << Text("%/test/NeroltOrvane_de_DE.qm") << Text("");
    }
    void folderTableUnderATestPath() { CheckRow(iFolder + QStringLiteral("/test")); }

    void unsetFolders_data()
    {
        QTest::addColumn<Getter>("getter");
        QTest::addColumn<QString>("path");
        QTest::newRow("user data") << Getter(SystemConfig::GetUserDataPath) << Text("");
        QTest::newRow("documents") << Getter(SystemConfig::GetUserDocumentsPath) << Text("");
        QTest::newRow("pictures") << Getter(SystemConfig::GetPicturesPath) << Text("");
        QTest::newRow("music") << Getter(SystemConfig::GetMusicPath) << Text("");
        QTest::newRow("cache") << Getter(SystemConfig::GetUserCachePath) << Text("");
        QTest::newRow("download URLs") << Getter(SystemConfig::GetDownloadUrlsXMLPath) << Text("./downloadUrls.xml");
        QTest::newRow("preferences") << Getter(SystemConfig::GetPrefsIniPath) << Text("./prefs.ini");
        QTest::newRow("configuration") << Getter(SystemConfig::GetConfigurationFileName) << Text("./Configuration.xml");
        QTest::newRow("updates") << Getter(SystemConfig::GetUsersUpdatePath) << Text("./Updates");
        QTest::newRow("downloads") << Getter(SystemConfig::GetUsersDownloadsPath) << Text("./Downloads");
        QTest::newRow("translation") << LocalePath() << Text("./NeroltOrvane_de_DE.qm");
    }
    void unsetFolders()
    {
        QFETCH(Getter, getter);
        QFETCH(QString, path);
        QCOMPARE(getter(), path);
    }

    void foldersAreJoinedAsTheyAre_data()
    {
        QTest::addColumn<QString>("folder");
        QTest::addColumn<QString>("plain");
        QTest::addColumn<QString>("joined");
        QTest::newRow("separator at the end") << Text("/u/") << Text("/u/") << Text("/u/prefs.ini");
        QTest::newRow("root") << Text("/") << Text("/") << Text("/prefs.ini");
        QTest::newRow("separators within") << Text("/u//v") << Text("/u//v") << Text("/u//v/prefs.ini");
        QTest::newRow("parent") << Text("/u/../v") << Text("/u/../v") << Text("/u/../v/prefs.ini");
        QTest::newRow("relative") << Text("u") << Text("u") << Text("u/prefs.ini");
        QTest::newRow("blanks") << Text(" u ") << Text(" u ") << Text(" u /prefs.ini");
        QTest::newRow("backslashes") << Text("\\u\\") << Text("\\u\\") << Text("\\u\\/prefs.ini");
        QTest::newRow("beyond ASCII") << Text("/\xc3\xbc/\xf0\x9f\x98\x80") << Text("/\xc3\xbc/\xf0\x9f\x98\x80")
                                      << Text("/\xc3\xbc/\xf0\x9f\x98\x80/prefs.ini");
        QTest::newRow("template marks") << Text("/%1") << Text("/%1") << Text("/%1/prefs.ini");
    }
    void foldersAreJoinedAsTheyAre()
    {
        QFETCH(QString, folder);
        QFETCH(QString, plain);
        QFETCH(QString, joined);
        SystemConfig::SetDesktopFolders(folder, folder, folder, folder);
        QCOMPARE(SystemConfig::GetUserDataPath(), plain);
        QCOMPARE(SystemConfig::GetUserDocumentsPath(), plain);
        QCOMPARE(SystemConfig::GetUserCachePath(), plain);
        QCOMPARE(SystemConfig::GetPrefsIniPath(), joined);
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
        QTest::newRow("two levels") << Text("/t") << Text("/f") << QByteArray("s/u") << Text("/t/s/u");
        QTest::newRow("empty subfolder") << Text("/t") << Text("/f") << QByteArray("") << Text("/t");
        QTest::newRow("absolute subfolder") << Text("/t") << Text("/f") << QByteArray("/s") << Text("/s");
        QTest::newRow("separator left") << Text("/t//") << Text("/f") << QByteArray("s") << Text("/t/s");
        QTest::newRow("separator left, no subfolder") << Text("/t//") << Text("/f") << none << Text("/t/");
        QTest::newRow("relative test path") << Text("t") << Text("/f") << QByteArray("s") << Text("t/s");
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
        QTest::newRow("three") << Text("/t///") << Text("/t//");
        QTest::newRow("root") << Text("/") << Text("");
        QTest::newRow("two separators alone") << Text("//") << Text("/");
        QTest::newRow("blanks around") << Text("  /t  ") << Text("/t");
        QTest::newRow("blanks around a separator at the end") << Text(" /t/ ") << Text("/t");
        QTest::newRow("blank before the separator") << Text("/t /") << Text("/t ");
        QTest::newRow("all kinds of blanks") << Text("\t\n\v\f\r /t\xc2\xa0\xe3\x80\x80") << Text("/t");
        QTest::newRow("blank within") << Text("/my t") << Text("/my t");
        QTest::newRow("blank only") << Text(" \t\n") << Text("");
        QTest::newRow("root and blanks") << Text(" / ") << Text("");
        QTest::newRow("empty") << Text("") << Text("");
        QTest::newRow("null") << QString() << Text("");
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
        QCOMPARE(&testPath, &(SystemConfig::GetInstance()->*SystemConfig_iTestPath()));
        SystemConfig::SetTestPath(Text("/t"));
        QCOMPARE(testPath, Text("/t"));
        SystemConfig::SetTestPath(Text("/u//"));
        SystemConfig::SetTestPath(testPath);
        QCOMPARE(testPath, Text("/u"));
    }

    void pluginPath_data()
    {
        QTest::addColumn<QString>("name");
        QTest::addColumn<QString>("file");
        QTest::newRow("plain") << Text("Foo") << Text("libFoo.dylib");
        QTest::newRow("empty") << Text("") << Text("lib.dylib");
        QTest::newRow("beyond ASCII") << Text("\xc3\xbc") << Text("lib\xc3\xbc.dylib");
        QTest::newRow("template marks") << Text("%1%2") << Text("lib%1%2.dylib");
        QTest::newRow("with both already") << Text("libFoo.dylib") << Text("liblibFoo.dylib.dylib");
        QTest::newRow("with a folder") << Text("/a/b") << Text("lib/a/b.dylib");
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

    void localeOfAnyText()
    {
        QCOMPARE(SystemConfig::GetUserLocalePath(QString(), false, true, true), Text("NeroltOrvane_.qm"));
        QCOMPARE(SystemConfig::GetUserLocalePath(Text("%1%2"), false, true, true), Text("NeroltOrvane_%1%2.qm"));
    }

    void pathIsTraced_data()
    {
        QTest::addColumn<int>("level");
        QTest::addColumn<QString>("testPath");
        QTest::addColumn<QByteArray>("line");
        const QByteArray begin = "|25|Trace|SystemConfig::GetPath|The test path is ";
        QTest::newRow("none") << int(LoggerDefs::Trace) << Text("") << begin;
        QTest::newRow("one") << int(LoggerDefs::Trace) << Text("/t/") << begin + "/t";
        QTest::newRow("all levels") << kAll << Text("/t") << begin + "/t";
        QTest::newRow("template marks") << kAll << Text("/%1/%2") << begin + "/%1/%2";
        QTest::newRow("off") << (kAll & ~LoggerDefs::Trace) << Text("/t") << QByteArray();
    }
    void pathIsTraced()
    {
        QFETCH(int, level);
        QFETCH(QString, testPath);
        QFETCH(QByteArray, line);
        const auto result = TestSupport::RunScenario("pathLines", {QString::number(level), testPath});
        QVERIFY2(result.IsOk(), result.Describe().constData());
        QCOMPARE(BodiesOf(result), line.isNull() ? QList<QByteArray>() : (QList<QByteArray>{line, line}));
    }

    void resourcesAreLogged_data()
    {
        QTest::addColumn<int>("level");
        QTest::addColumn<QString>("testPath");
        QTest::addColumn<QList<QByteArray>>("lines");
        const QByteArray path = QCoreApplication::applicationDirPath().toUtf8() + "/Resources";
        const QByteArray debug = "|20|Debug|SystemConfig::GetResourcesPath|resource path is " + path;
        const QByteArray trace = "|25|Trace|SystemConfig::GetPath|The test path is ";
        QTest::newRow("all") << kAll << Text("") << QList<QByteArray>{debug, trace};
        QTest::newRow("all, under a test path") << kAll << Text("/t") << QList<QByteArray>{debug, trace + "/t"};
        QTest::newRow("debug") << int(LoggerDefs::Debug) << Text("/t") << QList<QByteArray>{debug};
        QTest::newRow("no debug") << (kAll & ~LoggerDefs::Debug) << Text("") << QList<QByteArray>{trace};
        QTest::newRow("neither") << (kAll & ~(LoggerDefs::Debug | LoggerDefs::Trace)) << Text("/t")
                                 << QList<QByteArray>();
    }
    void resourcesAreLogged()
    {
        QFETCH(int, level);
        QFETCH(QString, testPath);
        QFETCH(QList<QByteArray>, lines);
        const auto result = TestSupport::RunScenario("resourceLines", {QString::number(level), testPath});
        QVERIFY2(result.IsOk(), result.Describe().constData());
        const QString folder = testPath.isEmpty() ? QCoreApplication::applicationDirPath() : testPath;
        QCOMPARE(result.iStdout, folder.toUtf8() + "/Resources\n");
        QCOMPARE(BodiesOf(result), lines);
    }

    void whoLogs()
    {
        const auto result = TestSupport::RunScenario("everybodysLines");
        QVERIFY2(result.IsOk(), result.Describe().constData());
        const QByteArray resources = QCoreApplication::applicationDirPath().toUtf8() + "/Resources";
        const QByteArray trace = "|25|Trace|SystemConfig::GetPath|The test path is ";
        const QByteArray debug = "|20|Debug|SystemConfig::GetResourcesPath|resource path is " + resources;
        const QList<QByteArray> none;
        const std::pair<const char*, QList<QByteArray>> expected[] = {
            {"GetUserDataPath", {trace}},
            {"GetUserDocumentsPath", {trace}},
            {"GetPicturesPath", {trace}},
            {"GetMusicPath", {trace}},
            {"GetUserCachePath", {trace}},
            {"GetUsersUpdatePath", {trace}},
            {"GetUsersDownloadsPath", none},
            {"GetApplicationPath", none},
            {"GetResourcesPath", {debug, trace}},
            {"GetApplicationIniPath", {debug, trace}},
            {"GetPluginsPath", none},
            {"GetPrefsIniPath", {trace}},
            {"GetDownloadUrlsXMLPath", {trace}},
            {"GetConfigurationFileName", {trace}},
            {"others", none},
            {"GetUserLocalePath", {trace}},
            {"CreateUserProfile", {trace}},
        };
        QList<QByteArray> bodies;
        for (const auto& [name, lines] : expected)
            bodies << "|10|Information|" + QByteArray(name) + '|' << lines;
        QCOMPARE(BodiesOf(result), bodies);
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
        row("bundle with a blank", "My A.app/Contents/MacOS", "My A.app/Contents/", "My A.app/Contents");
        row("none", "usr/bin", "usr/bin", "usr/bin");
        row("only in lower case", "A.app/Contents/macos", "A.app/Contents/macos", "A.app/Contents/macos");
        row("not together", "Mac/OS/bin", "Mac/OS/bin", "Mac/OS/bin");
        row("at the beginning of a name", "MacOSX/bin", "MacOS", "MacOS");
        row("at the end of a name", "myMacOS/bin", "myMacO", "myMacO");
        row("in a folder above", "MacOS/programs", "MacOS/pro", "MacOS/pro");
        row("above and at the end", "MacOS/A.app/Contents/MacOS", "MacOS/A.app/Contents/", "MacOS/A.app/Contents");
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
    static void Columns()
    {
        QTest::addColumn<Getter>("getter");
        QTest::addColumn<QString>("path");
        QTest::addColumn<QString>("created");
    }

    static Getter PluginPath()
    {
        return [] { return SystemConfig::GetPluginPath(QStringLiteral("Foo")); };
    }

    static Getter LocalePath()
    {
        return [] { return SystemConfig::GetUserLocalePath(QStringLiteral("de_DE"), true, true, true); };
    }

    // At the beginning of the expected path "%" means the test's folder and "@" the program's.
    void CheckRow(const QString& testPath)
    {
        QFETCH(Getter, getter);
        QFETCH(QString, path);
        QFETCH(QString, created);
        QVERIFY(QDir().mkdir(Text("data")) && QDir().mkdir(Text("base")) && QDir().mkdir(Text("test")));
        const auto in = [this](const char* name) { return iFolder + QLatin1Char('/') + Text(name); };
        SystemConfig::SetDesktopFolders(in("data"), in("documents"), in("cache"), in("base"));
        SystemConfig::SetTestPath(testPath);
        if (!path.isEmpty())
            path.replace(0, 1, path[0] == QLatin1Char('%') ? iFolder : QCoreApplication::applicationDirPath());
        QStringList tree = Texts({"base/", "data/", "test/"});
        if (!created.isEmpty())
            tree += created;
        tree.sort();
        for (int i = 0; i < 2; ++i) {
            QCOMPARE(getter(), path);
            QCOMPARE(Tree(iFolder), tree);
        }
    }

    static QByteArray OutputOf(const QString& program, const QString& testPath)
    {
        QProcess process;
        process.start(program, {QStringLiteral("--scenario"), QStringLiteral("applicationPaths"), testPath});
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
