#include "InstalledHook.h"
#include "PathText.h"
#include "support/OrdinaryUser.h"
#include "support/TestMain.h"

#include <NeroltOrvaneBase/Logger.h>
#include <NeroltOrvaneBase/SystemConfig.h>

#include <QtCore/QFile>
#include <QtCore/QTextCodec>
#include <QtTest/QtTest>

#include <cerrno>
#include <cstdio>
#include <fcntl.h>
#include <memory>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

using TestSupport::Scenario;
using namespace PathText;

namespace {

constexpr int kAll = 63;

// The folders that the process asks the system to create, if they are not to be created.
bool gRefuseFolders = false;
QList<QByteArray> gRefused;

bool Touch(const QString& path)
{
    return QFile(path).open(QIODevice::WriteOnly);
}

const Scenario creation("creation", [](const QStringList& arguments) {
    return Logged(arguments[0].toInt(), [&] {
        SystemConfig::SetDesktopFolders(arguments[1], QString(), QString(), arguments[1]);
        std::puts(SystemConfig::GetUsersUpdatePath().toUtf8().constData());
        std::puts(SystemConfig::GetUsersDownloadsPath().toUtf8().constData());
    });
});

const Scenario fileInTheWay("fileInTheWay", [](const QStringList&) {
    return Logged(kAll & ~LoggerDefs::Trace, [] {
        Touch(QStringLiteral("Updates"));
        Touch(QStringLiteral("Downloads"));
        std::puts(SystemConfig::GetUsersUpdatePath().toUtf8().constData());
        std::puts(SystemConfig::GetUsersDownloadsPath().toUtf8().constData());
    });
});

const Scenario noPermission("noPermission", [](const QStringList&) {
    return Logged(kAll & ~LoggerDefs::Trace, [] {
        QDir().mkdir(QStringLiteral("locked"));
        SystemConfig::SetDesktopFolders(QStringLiteral("locked"), QString(), QString(), QStringLiteral("locked"));
        if (::chmod("locked", 0555) != 0)
            return;
        const OrdinaryUser user;
        std::puts(SystemConfig::GetUsersUpdatePath().toUtf8().constData());
        std::puts(SystemConfig::GetUsersDownloadsPath().toUtf8().constData());
    });
});

} // namespace

// The only function with which Qt creates folders.
extern "C" Q_DECL_EXPORT int mkdir(const char* path, mode_t mode) noexcept
{
    if (!gRefuseFolders)
        return int(::syscall(SYS_mkdirat, AT_FDCWD, path, mode));
    gRefused += path;
    errno = EACCES;
    return -1;
}

class tst_SystemConfigFolders : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase() { QTextCodec::setCodecForLocale(QTextCodec::codecForName("UTF-8")); }

    // A fresh instance, and a fresh folder as the current one.
    void init()
    {
        iHook = std::make_unique<InstalledHook>();
        iFolder = TestSupport::EnterFreshFolder();
    }

    void cleanup() { iHook.reset(); }

    void missingBaseFolderIsNotCreated()
    {
        const QString missing = iFolder + QStringLiteral("/missing");
        SystemConfig::SetDesktopFolders(missing, QString(), QString(), missing);
        QCOMPARE(SystemConfig::GetUsersUpdatePath(), missing + QStringLiteral("/Updates"));
        QCOMPARE(SystemConfig::GetUsersDownloadsPath(), missing + QStringLiteral("/Downloads"));
        SystemConfig::SetTestPath(iFolder + QStringLiteral("/test"));
        QCOMPARE(SystemConfig::GetUsersUpdatePath(), iFolder + QStringLiteral("/test/Updates"));
        QCOMPARE(Tree(iFolder), QStringList());
    }

    void foldersThatExistStay()
    {
        QVERIFY(QDir().mkpath(Text("u/Updates/inside")) && QDir().mkpath(Text("b/Downloads/inside")));
        SystemConfig::SetDesktopFolders(Text("u/"), QString(), QString(), Text("b/"));
        const QStringList before = Tree(iFolder);
        gRefuseFolders = true;
        gRefused.clear();
        const QString updates = SystemConfig::GetUsersUpdatePath();
        const QString downloads = SystemConfig::GetUsersDownloadsPath();
        gRefuseFolders = false;
        QCOMPARE(updates, Text("u/Updates"));
        QCOMPARE(downloads, Text("b/Downloads"));
        QCOMPARE(gRefused, QList<QByteArray>());
        QCOMPARE(Tree(iFolder), before);
    }

    void createFolder_data()
    {
        QTest::addColumn<QStringList>("folders");
        QTest::addColumn<QString>("path");
        QTest::addColumn<bool>("succeeds");
        QTest::addColumn<QStringList>("tree");
        const QStringList none;
        QTest::newRow("empty") << none << Text("") << false << none;
        QTest::newRow("null") << none << QString() << false << none;
        QTest::newRow("one level") << none << Text("a") << true << Texts({"a/"});
        QTest::newRow("one character below one") << Texts({"a"}) << Text("a/b") << true << Texts({"a/", "a/b/"});
        QTest::newRow("two below one") << Texts({"a"}) << Text("a/b/c") << true << Texts({"a/", "a/b/", "a/b/c/"});
        QTest::newRow("long names") << none << Text("first/second") << true << Texts({"first/", "first/second/"});
        QTest::newRow("all there") << Texts({"a/b"}) << Text("a/b") << true << Texts({"a/", "a/b/"});
        QTest::newRow("names that begin alike") << Texts({"ab"}) << Text("abc") << true << Texts({"ab/", "abc/"});
        QTest::newRow("separator at the end") << none << Text("a/b/") << true << Texts({"a/", "a/b/"});
        QTest::newRow("separators at the end") << none << Text("a/b///") << true << Texts({"a/", "a/b/"});
        QTest::newRow("there, with a separator") << Texts({"a"}) << Text("a/") << true << Texts({"a/"});
        QTest::newRow("separators within")
            << Texts({"a"}) << Text("a//b//c") << true << Texts({"a/", "a/b/", "a/b/c/"});
        QTest::newRow("current folder") << none << Text(".") << true << none;
        QTest::newRow("dot within") << none << Text("./a/./b") << true << Texts({"a/", "a/b/"});
        QTest::newRow("parent folder") << none << Text("..") << true << none;
        QTest::newRow("up and down") << Texts({"a"}) << Text("a/../b/c") << true << Texts({"a/", "b/", "b/c/"});
        QTest::newRow("up from what is missing") << none << Text("x/../b") << true << Texts({"b/"});
        QTest::newRow("up to the current folder") << none << Text("x/..") << true << none;
        QTest::newRow("blank") << none << Text(" ") << true << Texts({" /"});
        QTest::newRow("blanks in names") << none << Text("a b/ c") << true << Texts({"a b/", "a b/ c/"});
        QTest::newRow("hidden") << none << Text(".a/.b") << true << Texts({".a/", ".a/.b/"});
        QTest::newRow("backslash") << none << Text("a\\b") << true << Texts({"a\\b/"});
        QTest::newRow("beyond ASCII") << Texts({"\xc3\xbc"}) << Text("\xc3\xbc/\xe6\x97\xa5/\xf0\x9f\x98\x80") << true
                                      << Texts({"\xc3\xbc/", "\xc3\xbc/\xe6\x97\xa5/",
                                                "\xc3\xbc/\xe6\x97\xa5/\xf0\x9f\x98\x80/"});
        QTest::newRow("longest name") << none << QString(255, QLatin1Char('a')) << true
                                      << QStringList{QString(255, QLatin1Char('a')) + QLatin1Char('/')};
        QTest::newRow("name too long") << none << QString(256, QLatin1Char('a')) << false << none;
    }
    void createFolder()
    {
        QFETCH(QStringList, folders);
        QFETCH(QString, path);
        QFETCH(bool, succeeds);
        QFETCH(QStringList, tree);
        for (const QString& folder : qAsConst(folders))
            QVERIFY(QDir().mkpath(folder));
        QCOMPARE(SystemConfig::CreateFolder(path), succeeds);
        QCOMPARE(Tree(iFolder), tree);
        QCOMPARE(SystemConfig::CreateFolder(path), succeeds);
        QCOMPARE(Tree(iFolder), tree);
    }

    void createFolderByAnAbsolutePath()
    {
        QVERIFY(QDir().mkpath(Text("here")) && QDir::setCurrent(Text("here")));
        QVERIFY(SystemConfig::CreateFolder(iFolder + QStringLiteral("/there/a/b/")));
        QVERIFY(SystemConfig::CreateFolder(iFolder + QStringLiteral("/there/../other")));
        QCOMPARE(Tree(iFolder), Texts({"here/", "other/", "there/", "there/a/", "there/a/b/"}));
    }

    void createFolderHasTheNamesOfTheFileSystem()
    {
        QVERIFY(SystemConfig::CreateFolder(Text("\xc3\xbc/\xf0\x9f\x98\x80")));
        struct stat status = {};
        QCOMPARE(::stat("\xc3\xbc/\xf0\x9f\x98\x80", &status), 0);
        QVERIFY(S_ISDIR(status.st_mode));
    }

    void createFolderMeetsAFile()
    {
        QVERIFY(Touch(Text("f")) && QDir().mkdir(Text("a")) && Touch(Text("a/f")));
        // At the end of the path a file counts as the folder.
        QVERIFY(SystemConfig::CreateFolder(Text("f")));
        QVERIFY(SystemConfig::CreateFolder(Text("f/")));
        QVERIFY(SystemConfig::CreateFolder(Text("a/f")));
        QVERIFY(!SystemConfig::CreateFolder(Text("f/b")));
        QVERIFY(!SystemConfig::CreateFolder(Text("a/f/b")));
        QVERIFY(!SystemConfig::CreateFolder(Text("a/f/b/c")));
        QCOMPARE(Tree(iFolder), Texts({"a/", "a/f", "f"}));
    }

    void createFolderMeetsALink()
    {
        QVERIFY(QDir().mkdir(Text("a")));
        QVERIFY(QFile::link(Text("a"), Text("alive")) && QFile::link(Text("missing"), Text("dead")));
        QVERIFY(SystemConfig::CreateFolder(Text("alive")));
        QVERIFY(SystemConfig::CreateFolder(Text("alive/b")));
        QVERIFY(!SystemConfig::CreateFolder(Text("dead")));
        QVERIFY(!SystemConfig::CreateFolder(Text("dead/b")));
        QCOMPARE(Tree(iFolder), Texts({"a/", "a/b/", "alive", "dead"}));
    }

    void createFolderAtTheRoot_data()
    {
        QTest::addColumn<QString>("path");
        QTest::addColumn<bool>("succeeds");
        QTest::addColumn<QList<QByteArray>>("asked");
        const QList<QByteArray> none;
        QTest::newRow("root") << Text("/") << true << none;
        QTest::newRow("root twice") << Text("//") << true << none;
        QTest::newRow("above the root") << Text("/..") << true << none;
        QTest::newRow("below the root") << Text("/no-such-folder") << false << QList<QByteArray>{"/no-such-folder"};
        QTest::newRow("further below") << Text("/no-such-folder/a/") << false << QList<QByteArray>{"/no-such-folder/a"};
        QTest::newRow("one character") << Text("/~") << false << QList<QByteArray>{"/~"};
    }
    void createFolderAtTheRoot()
    {
        QFETCH(QString, path);
        QFETCH(bool, succeeds);
        QFETCH(QList<QByteArray>, asked);
        gRefuseFolders = true;
        gRefused.clear();
        const bool succeeded = SystemConfig::CreateFolder(path);
        gRefuseFolders = false;
        QCOMPARE(succeeded, succeeds);
        QCOMPARE(gRefused, asked);
    }

    void createFolderWithoutPermission()
    {
        QVERIFY(QDir().mkpath(Text("locked/inside")));
        QVERIFY(QDir().mkdir(Text("open")));
        for (const char* const name : {"locked/inside", "locked", "open"})
            OrdinaryUser::Own(iFolder + QLatin1Char('/') + Text(name));
        QVERIFY(::chmod("locked", 0555) == 0);
        {
            const OrdinaryUser user;
            QVERIFY(SystemConfig::CreateFolder(Text("locked")));
            QVERIFY(!SystemConfig::CreateFolder(Text("locked/a/b")));
            QVERIFY(SystemConfig::CreateFolder(Text("locked/inside/a")));
            QVERIFY(SystemConfig::CreateFolder(Text("open/a")));
        }
        QCOMPARE(Tree(iFolder), Texts({"locked/", "locked/inside/", "locked/inside/a/", "open/", "open/a/"}));
        QCOMPARE(::chmod("locked", 0755), 0);
    }

    void createUserProfile()
    {
        QVERIFY(!SystemConfig::CreateUserProfile());
        QCOMPARE(Tree(iFolder), QStringList());
        SystemConfig::SetDesktopFolders(Text("u/v"), Text("d"), Text("c"), Text("b"));
        QVERIFY(SystemConfig::CreateUserProfile());
        QCOMPARE(Tree(iFolder), Texts({"u/", "u/v/"}));
        QVERIFY(SystemConfig::CreateUserProfile());
        SystemConfig::SetTestPath(iFolder + QStringLiteral("/t/w"));
        QVERIFY(SystemConfig::CreateUserProfile());
        QCOMPARE(Tree(iFolder), Texts({"t/", "t/w/", "u/", "u/v/"}));
        QVERIFY(Touch(Text("f")));
        SystemConfig::SetTestPath(Text("f/x"));
        QVERIFY(!SystemConfig::CreateUserProfile());
    }

    void failedCreation_data()
    {
        QTest::addColumn<int>("level");
        QTest::addColumn<QString>("folder");
        QTest::addColumn<QByteArray>("out");
        QTest::addColumn<QList<QByteArray>>("lines");
        const QByteArray warning = "|30|Warning|SystemConfig::GetUsersUpdatePath|failed to create folder ";
        const QByteArray trace = "|25|Trace|SystemConfig::GetPath|The test path is ";
        const QByteArray missing = "missing/Updates\nmissing/Downloads\n";
        QTest::newRow("all levels") << kAll << Text("missing") << missing
                                    << QList<QByteArray>{trace, warning + "missing/Updates"};
        QTest::newRow("only warnings") << int(LoggerDefs::Warning) << Text("missing") << missing
                                       << QList<QByteArray>{warning + "missing/Updates"};
        QTest::newRow("no warnings") << (kAll & ~(LoggerDefs::Warning | LoggerDefs::Trace)) << Text("missing")
                                     << missing << QList<QByteArray>();
        QTest::newRow("no separator twice") << int(LoggerDefs::Warning) << Text("missing/") << missing
                                            << QList<QByteArray>{warning + "missing/Updates"};
        QTest::newRow("template marks") << int(LoggerDefs::Warning) << Text("%1")
                                        << QByteArray("%1/Updates\n%1/Downloads\n")
                                        << QList<QByteArray>{warning + "%1/Updates"};
        QTest::newRow("no failure") << (kAll & ~LoggerDefs::Trace) << Text(".")
                                    << QByteArray("./Updates\n./Downloads\n") << QList<QByteArray>();
    }
    void failedCreation()
    {
        QFETCH(int, level);
        QFETCH(QString, folder);
        QFETCH(QByteArray, out);
        QFETCH(QList<QByteArray>, lines);
        const auto result = TestSupport::RunScenario("creation", {QString::number(level), folder});
        QVERIFY2(result.IsOk(), result.Describe().constData());
        QCOMPARE(result.iStdout, out);
        QCOMPARE(BodiesOf(result), lines);
        const QStringList created = lines.isEmpty() && folder == QLatin1String(".")
            ? Texts({"Downloads/", "Updates/", "app.log"})
            : Texts({"app.log"});
        QCOMPARE(Tree(result.iFolder.path()), created);
    }

    void otherReasonsForAFailedCreation_data()
    {
        QTest::addColumn<QByteArray>("scenario");
        QTest::addColumn<QByteArray>("folder");
        QTest::addColumn<QStringList>("tree");
        QTest::newRow("file in the way") << QByteArray("fileInTheWay") << QByteArray(".")
                                         << Texts({"Downloads", "Updates", "app.log"});
        QTest::newRow("no permission") << QByteArray("noPermission") << QByteArray("locked")
                                       << Texts({"app.log", "locked/"});
    }
    void otherReasonsForAFailedCreation()
    {
        QFETCH(QByteArray, scenario);
        QFETCH(QByteArray, folder);
        QFETCH(QStringList, tree);
        const auto result = TestSupport::RunScenario(scenario.constData());
        QVERIFY2(result.IsOk(), result.Describe().constData());
        QCOMPARE(result.iStdout, folder + "/Updates\n" + folder + "/Downloads\n");
        QCOMPARE(BodiesOf(result),
                 QList<QByteArray>{"|30|Warning|SystemConfig::GetUsersUpdatePath|failed to create folder " + folder
                                   + "/Updates"});
        QCOMPARE(Tree(result.iFolder.path()), tree);
    }

    void createFolderNowhere()
    {
        const QString start = QDir::currentPath();
        QVERIFY(!SystemConfig::CreateFolder(QStringLiteral("a") + QChar(0) + QStringLiteral("b")));
        QVERIFY(QDir().mkdir(QStringLiteral("gone")) && QDir::setCurrent(QStringLiteral("gone")));
        QVERIFY(QDir().rmdir(start + QStringLiteral("/gone")));
        const bool isCreated = SystemConfig::CreateFolder(QStringLiteral("nowhere/at/all"));
        QVERIFY(QDir::setCurrent(start));
        QVERIFY(!isCreated);
        QVERIFY(!QFileInfo::exists(QStringLiteral("/at")) && !QFileInfo::exists(QStringLiteral("/nowhere")));
        QVERIFY(!QFileInfo::exists(QStringLiteral("a")) && !QFileInfo::exists(QStringLiteral("b")));
    }

private:
    std::unique_ptr<InstalledHook> iHook;
    QString iFolder;
};

NEROLT_TEST_MAIN(tst_SystemConfigFolders)

#include "tst_SystemConfigFolders.moc"
