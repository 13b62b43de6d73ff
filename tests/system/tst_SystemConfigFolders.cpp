#include "InstalledHook.h"
#include "PathText.h"
#include "support/Framework.h"
#include "support/LogScenario.h"
#include "support/OrdinaryUser.h"

#include <NeroltOrvaneBase/SystemConfig.h>

#include <QtCore/QFile>
#include <QtTest/QtTest>

#include <cerrno>
#include <fcntl.h>
#include <memory>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

using namespace PathText;

namespace {

// The folders that the process asks the system to create, if they are not to be created.
bool gRefuseFolders = false;
QList<QByteArray> gRefused;

bool Touch(const QString& path)
{
    return QFile(path).open(QIODevice::WriteOnly);
}

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
    void initTestCase() { TestSupport::SetLocalCodec("UTF-8"); }

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
        QTest::newRow("one level") << none << Text("a") << true << Texts({"a/"});
        QTest::newRow("two below one") << Texts({"a"}) << Text("a/b/c") << true << Texts({"a/", "a/b/", "a/b/c/"});
        QTest::newRow("all there") << Texts({"a/b"}) << Text("a/b") << true << Texts({"a/", "a/b/"});
        QTest::newRow("names that begin alike") << Texts({"ab"}) << Text("abc") << true << Texts({"ab/", "abc/"});
        QTest::newRow("separator at the end") << none << Text("a/b/") << true << Texts({"a/", "a/b/"});
        QTest::newRow("separators within")
            << Texts({"a"}) << Text("a//b//c") << true << Texts({"a/", "a/b/", "a/b/c/"});
        QTest::newRow("current folder") << none << Text(".") << true << none;
        QTest::newRow("up and down") << Texts({"a"}) << Text("a/../b/c") << true << Texts({"a/", "b/", "b/c/"});
        QTest::newRow("up from what is missing") << none << Text("x/../b") << true << Texts({"b/"});
        QTest::newRow("blanks in names") << none << Text("a b/ c") << true << Texts({"a b/", "a b/ c/"});
        QTest::newRow("backslash") << none << Text("a\\b") << true << Texts({"a\\b/"});
        QTest::newRow("beyond ASCII") << Texts({"\xc3\xbc"}) << Text("\xc3\xbc/\xe6\x97\xa5/\xf0\x9f\x98\x80") << true
                                      << Texts({"\xc3\xbc/", "\xc3\xbc/\xe6\x97\xa5/",
                                                "\xc3\xbc/\xe6\x97\xa5/\xf0\x9f\x98\x80/"});
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

    void failedCreation_data() { LogScenario::AddMasks({LoggerDefs::Warning}); }
    void failedCreation()
    {
        QFETCH(int, mask);
        QVERIFY(QDir().mkdir(Text("%1 locked")) && QDir().mkdir(Text("file")) && QDir().mkdir(Text("fine")));
        QVERIFY(Touch(Text("file/Updates")) && Touch(Text("file/Downloads")));
        QCOMPARE(::chmod("%1 locked", 0555), 0);
        OrdinaryUser::Own(iFolder);
        const OrdinaryUser user;
        for (const char* const folder : {"missing", "file", "%1 locked", "fine"}) {
            SystemConfig::SetDesktopFolders(Text(folder) + Text("/"), QString(), QString(), Text(folder));
            const auto create = [folder] {
                QCOMPARE(SystemConfig::GetUsersUpdatePath(), Text(folder) + Text("/Updates"));
                QCOMPARE(SystemConfig::GetUsersDownloadsPath(), Text(folder) + Text("/Downloads"));
            };
            const bool fails = QByteArray(folder) != "fine" || !QFileInfo(Text(folder)).isWritable();
            QList<QByteArray> lines{"|25|Trace|SystemConfig::GetPath|The test path is "};
            if (fails)
                lines += "|30|Warning|SystemConfig::GetUsersUpdatePath|failed to create folder " + QByteArray(folder)
                    + "/Updates";
            QCOMPARE(LogScenario::LoggedBy(create, mask), LogScenario::Passing(lines, mask));
            QCOMPARE(QFileInfo(Text(folder) + Text("/Downloads")).isDir(), !fails);
        }
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
