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

    void createFolder_data()
    {
        QTest::addColumn<QString>("path");
        QTest::addColumn<QStringList>("things"); // that are there
        QTest::addColumn<bool>("succeeds");
        QTest::addColumn<QStringList>("made");
        const auto row = [](const char* path, std::initializer_list<const char*> things, bool succeeds,
                            std::initializer_list<const char*> made = {}) {
            QTest::newRow(path) << Text(path) << Texts(things) << succeeds << Texts(made);
        };
        row("", {}, false);
        row("a", {}, true, {"a/"});
        row("a/b/c", {"a/"}, true, {"a/b/", "a/b/c/"});
        row("a/b", {"a/b/"}, true);
        row("abc", {"ab/"}, true, {"abc/"});
        row("a//b//c/", {"a/"}, true, {"a/b/", "a/b/c/"});
        row(".", {}, true);
        row("a/../b/c", {"a/"}, true, {"b/", "b/c/"});
        row("x/../b", {}, true, {"b/"});
        row("a b/ c\\d", {}, true, {"a b/", "a b/ c\\d/"});
        row("\xc3\xbc/\xe6\x97\xa5", {"\xc3\xbc/"}, true, {"\xc3\xbc/\xe6\x97\xa5/"});
        row("f", {"f"}, true); // at the end of the path a file counts as the folder
        row("f/", {"f"}, true);
        row("f/b/c", {"f"}, false);
        row("alive", {"a/", "alive -> a"}, true);
        row("alive/b", {"a/", "alive -> a"}, true, {"a/b/"});
        row("dead", {"dead -> a"}, false);
        row("dead/b", {"dead -> a"}, false);
        QTest::newRow("name too long") << QString(256, QLatin1Char('a')) << QStringList() << false << QStringList();
    }
    void createFolder()
    {
        QFETCH(QStringList, things);
        QFETCH(QString, path);
        QFETCH(bool, succeeds);
        QFETCH(QStringList, made);
        for (const bool isAbsolute : {false, true}) {
            if (isAbsolute && (path.isEmpty() || path.startsWith(QLatin1Char('.'))))
                return;
            iFolder = TestSupport::EnterFreshFolder();
            for (const QString& thing : qAsConst(things))
                QVERIFY(Make(thing));
            QStringList tree = Tree(iFolder) + made;
            tree.sort();
            QVERIFY(!isAbsolute || QDir::setCurrent(TestSupport::Scratch()));
            for (int times = 0; times < 2; ++times) {
                QCOMPARE(SystemConfig::CreateFolder(isAbsolute ? iFolder + QLatin1Char('/') + path : path), succeeds);
                QCOMPARE(Tree(iFolder), tree);
            }
        }
    }

    void createFolderAtTheRoot()
    {
        const std::pair<const char*, QList<QByteArray>> cases[] = {
            {"/", {}}, {"//", {}}, {"/..", {}}, {"/no-such-folder/a/", {"/no-such-folder/a"}}, {"/~", {"/~"}},
        };
        for (const auto& [path, asked] : cases) {
            gRefuseFolders = true;
            gRefused.clear();
            const bool succeeds = SystemConfig::CreateFolder(Text(path));
            gRefuseFolders = false;
            QCOMPARE(succeeds, asked.isEmpty());
            QCOMPARE(gRefused, asked);
        }
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
        QVERIFY(Make(Text("f")));
        SystemConfig::SetTestPath(Text("f/x"));
        QVERIFY(!SystemConfig::CreateUserProfile());
    }

    void failedCreation_data() { LogScenario::AddMasks({LoggerDefs::Warning}); }
    void failedCreation()
    {
        QFETCH(int, mask);
        for (const char* const thing : {"%1 locked/", "fine/", "there/Updates/", "there/Downloads/"})
            QVERIFY(Make(Text(thing)));
        QVERIFY(Write(Text("file/Updates"), "") && Write(Text("file/Downloads"), ""));
        QCOMPARE(::chmod("%1 locked", 0555), 0);
        OrdinaryUser::Own(iFolder);
        OrdinaryUser::Own(iFolder + Text("/fine"));
        const OrdinaryUser user;
        for (const char* const folder : {"missing", "file", "%1 locked", "fine", "there"}) {
            SystemConfig::SetDesktopFolders(Text(folder) + Text("/"), QString(), QString(), Text(folder));
            const auto create = [folder] {
                QCOMPARE(SystemConfig::GetUsersUpdatePath(), Text(folder) + Text("/Updates"));
                QCOMPARE(SystemConfig::GetUsersDownloadsPath(), Text(folder) + Text("/Downloads"));
            };
            const bool fails = !QByteArrayList{"fine", "there"}.contains(folder);
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
