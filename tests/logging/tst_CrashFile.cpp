#include "CrashRun.h"
#include "logging/CrashFormat.h"
#include "support/LogText.h"
#include "support/OrdinaryUser.h"

#include <NeroltOrvaneBase/Logger.h>

#include <QtCore/QFile>
#include <QtCore/QProcess>
#include <QtTest/QtTest>

#include <cstdarg>
#include <cstddef>
#include <dlfcn.h>
#include <fcntl.h>
#include <sys/resource.h>
#include <sys/stat.h>

using CrashRun::BodiesOf;
using CrashRun::Folder;
using CrashRun::kCrashFile;
using CrashRun::Said;
using CrashRun::Say;
using CrashRun::Stopped;
using TestSupport::Scenario;
using TestSupport::ScenarioResult;

namespace {

void (*gBeforeLock)() = nullptr;

const Scenario noRoom("noRoom", [](const QStringList& arguments) {
    struct rlimit limit = {};
    ::getrlimit(RLIMIT_FSIZE, &limit);
    limit.rlim_cur = 1 << 20;
    ::setrlimit(RLIMIT_FSIZE, &limit);
    const bool isSet = CrashRun::IsProtected(arguments);
    Say(QStringLiteral("goes on"));
    return isSet ? 1 : 0;
});

const Scenario isDamagedLater("isDamagedLater", [](const QStringList& arguments) {
    CrashRun::Begin(arguments);
    QFile file(kCrashFile);
    if (!file.open(QIODevice::ReadWrite) || !file.seek((4 << 20) + qint64(offsetof(CrashFormat::Section, iCapacity)))
        || file.write(QByteArray(8, '\xff')) != 8)
        return 1;
    file.close();
    Logger::SetLoggerFileName(QStringLiteral("log"), false);
    Say(QStringLiteral("late"));
    Logger::StopLogging();
    return 0;
});

const Scenario cleansUp("cleansUp", [](const QStringList& arguments) {
    CrashRun::Begin(arguments);
    Logger::SetLoggerFileName(QStringLiteral("log"), false);
    Say(QStringLiteral("one"));
    Logger::Cleanup();
    return 0;
});

const Scenario isStopped("isStopped", [](const QStringList& arguments) {
    QDir::setCurrent(arguments.value(0));
    Logger::StopLogging();
    return Logger::SetCrashFile(kCrashFile) ? 1 : 0;
});

} // namespace

extern "C" Q_DECL_EXPORT int fcntl(int file, int command, ...)
{
    static auto* const original = reinterpret_cast<int (*)(int, int, ...)>(::dlsym(RTLD_NEXT, "fcntl"));
    va_list arguments;
    va_start(arguments, command);
    void* const argument = va_arg(arguments, void*);
    va_end(arguments);
    if (command == F_SETLK && gBeforeLock)
        gBeforeLock();
    return original(file, command, argument);
}

class tst_CrashFile : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void whatIsNoCrashFileStaysAsItIs_data()
    {
        QTest::addColumn<QString>("command");
        QTest::newRow("an empty file") << QStringLiteral("install -m 600 /dev/null crash");
        QTest::newRow("another file") << QStringLiteral("echo text > crash");
        QTest::newRow("a large file") << QStringLiteral("head -c 6000000 /dev/zero > crash; chmod 600 crash");
        QTest::newRow("a folder") << QStringLiteral("mkdir crash");
        QTest::newRow("a pipe") << QStringLiteral("mkfifo -m 600 crash");
        QTest::newRow("a link") << QStringLiteral("ln -s elsewhere crash");
        QTest::newRow("a link to one") << QStringLiteral("mv left there; ln -s there crash");
        QTest::newRow("one with a second name") << QStringLiteral("mv left crash; ln crash there");
        QTest::newRow("one that a group may change") << QStringLiteral("mv left crash; chmod 620 crash");
        QTest::newRow("one that others may change") << QStringLiteral("mv left crash; chmod 602 crash");
        QTest::newRow("one that is cut off") << QStringLiteral("mv left crash; truncate -s 4000000 crash");
        QTest::newRow("one that is too long") << QStringLiteral("mv left crash; echo >> crash");
        QTest::newRow("one of another version")
            << QStringLiteral("mv left crash; printf 2 | dd of=crash bs=1 seek=8 conv=notrunc");
        QTest::newRow("one with a damaged line")
            << QStringLiteral("sed s/three/there/ left > crash; chmod 600 crash; rm left");
        QTest::newRow("an unfinished one of somebody else")
            << QStringLiteral("echo text > crash.new; chmod 620 crash.new");
        if (OrdinaryUser::IsTestRoot())
            QTest::newRow("one of another user") << QStringLiteral("mv left crash; chown 65534 crash");
    }

    void whatIsNoCrashFileStaysAsItIs()
    {
        QFETCH(QString, command);
        const Folder folder;
        folder.LetDie();
        QVERIFY(QFile::rename(kCrashFile, QStringLiteral("left")));
        QProcess::execute(QStringLiteral("sh"), {QStringLiteral("-c"), command});
        const auto content = [] { return QFileInfo(kCrashFile).isFile() ? LogText::Read(kCrashFile) : QByteArray(); };
        const QByteArray before = content();
        const QStringList files = folder.Files();
        const ScenarioResult next = folder.Run("nextRun");
        QVERIFY2(next.iStdout == "not protected\n", next.Describe());
        QCOMPARE(content(), before);
        QCOMPARE(BodiesOf(folder.Path()), QList<QByteArray>({Said("early"), Said("late"), Stopped("log")}));
        QVERIFY(QFile::remove(QStringLiteral("log")));
        QCOMPARE(folder.Files(), files);
    }

    void anUnfinishedFileIsNoObstacle()
    {
        const Folder folder;
        QFile file(kCrashFile + QStringLiteral(".new"));
        QVERIFY(file.open(QIODevice::WriteOnly) && file.setPermissions(QFile::ReadOwner | QFile::WriteOwner));
        QVERIFY(folder.NextRun());
        QCOMPARE(folder.Files(), QStringList{QStringLiteral("log")});
    }

    // Another process that starts as well has taken the unfinished file for a dead process's, and made its own.
    void theUnfinishedFileCanBeLost()
    {
        const Folder folder;
        gBeforeLock = [] {
            gBeforeLock = nullptr;
            QFile::remove(QStringLiteral("crash.new"));
            QFile other(QStringLiteral("crash.new"));
            QVERIFY(other.open(QIODevice::WriteOnly) && ::fchmod(other.handle(), 0620) == 0);
        };
        QVERIFY(!Logger::SetCrashFile(kCrashFile));
        QVERIFY(!gBeforeLock);
        QCOMPARE(folder.Files(), QStringList{kCrashFile + QStringLiteral(".new")});
    }

    void itsProcessCanRemoveItMeanwhile()
    {
        const Folder folder;
        folder.LetDie();
        gBeforeLock = [] {
            gBeforeLock = nullptr;
            QFile::remove(kCrashFile);
        };
        QVERIFY(Logger::SetCrashFile(kCrashFile));
        QCOMPARE(QFileInfo(kCrashFile).size(), qint64(4 << 20)); // nothing was kept
        QVERIFY(Logger::SetCrashFile(QString()));
    }

    void whatStandsInItsPlaceStays()
    {
        const Folder folder;
        QVERIFY(Logger::SetCrashFile(kCrashFile));
        QCOMPARE(::rename("crash", "moved"), 0);
        QVERIFY(QFile(kCrashFile).open(QIODevice::WriteOnly));
        QVERIFY(Logger::SetCrashFile(QString()));
        QCOMPARE(folder.Files(), (QStringList{kCrashFile, QStringLiteral("moved")}));
    }

    void itCannotBeMade_data()
    {
        QTest::addColumn<QString>("path");
        QTest::newRow("no such folder") << QStringLiteral("none/crash");
        QTest::newRow("a NUL") << QStringLiteral("cr") + QChar(0) + QStringLiteral("ash");
        QTest::newRow("too long") << QString(300, QLatin1Char('c'));
    }

    void itCannotBeMade()
    {
        QFETCH(QString, path);
        TestSupport::EnterFreshFolder();
        QVERIFY(!Logger::SetCrashFile(path));
        QVERIFY(QDir().isEmpty());
    }

    void itIsPrivateAndReserved()
    {
        const Folder folder;
        const mode_t mask = ::umask(0777);
        const bool isSet = Logger::SetCrashFile(kCrashFile);
        ::umask(mask);
        QVERIFY(isSet);
        struct stat status = {};
        QCOMPARE(::stat("crash", &status), 0);
        QCOMPARE(int(status.st_mode & 07777), 0600);
        QCOMPARE(qint64(status.st_size), qint64(4 << 20));
        QVERIFY(qint64(status.st_blocks) * 512 >= status.st_size);
        QCOMPARE(folder.Files(), QStringList{kCrashFile});
        QVERIFY(Logger::SetCrashFile(kCrashFile)); // again
        QVERIFY(Logger::SetCrashFile(folder.Path().filePath(kCrashFile)));
        // Programs that are run do not get it.
        QProcess process;
        process.start(QStringLiteral("ls"), {QStringLiteral("-l"), QStringLiteral("/proc/self/fd")});
        QVERIFY(process.waitForFinished());
        QVERIFY(!process.readAllStandardOutput().contains("crash"));
        // Another process does not get it, either.
        QCOMPARE(folder.Run("nextRun", {}).iStdout, QByteArray("not protected\n"));
        QCOMPARE(folder.Files(), (QStringList{kCrashFile, QStringLiteral("log")}));
        QVERIFY(Logger::SetCrashFile(QString()));
        QCOMPARE(folder.Files(), QStringList{QStringLiteral("log")});
        QVERIFY(Logger::SetCrashFile(QString()));
    }

    void aFileThatSomebodyDamagesIsKept()
    {
        const Folder folder;
        folder.LetDie();
        const ScenarioResult result = folder.Run("isDamagedLater");
        QVERIFY2(result.IsOk(), result.Describe());
        QCOMPARE(BodiesOf(folder.Path()), QList<QByteArray>({Said("late"), Stopped("log")}));
        QCOMPARE(folder.Files(), (QStringList{kCrashFile, QStringLiteral("log")}));
    }

    void nothingIsLeft_data()
    {
        QTest::addColumn<QString>("scenario");
        QTest::addColumn<QStringList>("files");
        const QStringList log{QStringLiteral("log")};
        QTest::newRow("full disk, which is no signal") << QStringLiteral("noRoom") << QStringList();
        QTest::newRow("after StopLogging") << QStringLiteral("nextRun") << log;
        QTest::newRow("after Cleanup") << QStringLiteral("cleansUp") << log;
        QTest::newRow("stopped before") << QStringLiteral("isStopped") << QStringList();
    }
    void nothingIsLeft()
    {
        QFETCH(QString, scenario);
        const Folder folder;
        const ScenarioResult result = folder.Run(scenario.toLatin1().constData());
        QVERIFY2(result.IsOk(), result.Describe());
        QTEST(folder.Files(), "files");
    }
};

NEROLT_TEST_MAIN(tst_CrashFile)

#include "tst_CrashFile.moc"
