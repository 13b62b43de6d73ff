#include "faults/RunningLog.h"
#include "logging/CrashFormat.h"
#include "support/LogText.h"
#include "support/OrdinaryUser.h"
#include "support/TestMain.h"

#include <NeroltOrvaneBase/Logger.h>

#include <QtCore/QElapsedTimer>
#include <QtCore/QFile>
#include <QtCore/QProcess>
#include <QtTest/QtTest>

#include <csignal>
#include <cstdarg>
#include <cstddef>
#include <cstdlib>
#include <dlfcn.h>
#include <fcntl.h>
#include <stdexcept>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>

using TestSupport::RunScenario;
using TestSupport::Scenario;
using TestSupport::ScenarioResult;

namespace {

constexpr int kAlwaysOn = 63 & ~(LoggerDefs::Debug | LoggerDefs::Trace);
const QString kCrashFile = QStringLiteral("crash");

void (*gBeforeLock)() = nullptr;

void Say(const QString& what)
{
    Logger::LogInformation("f", what);
}

QByteArray Said(const QByteArray& what)
{
    return "|10|Information|f|" + what;
}

QByteArray Recovered(int lines)
{
    return "|10|Information|Logger::SetCrashFile|recovered " + QByteArray::number(lines)
        + " lines of an interrupted run";
}

QByteArray Stopped(const QByteArray& path)
{
    return "|10|Information|Logger::StopLogging|stopping logging file path is " + path;
}

QList<QByteArray> BodiesOf(const QDir& folder, const char* file = "log")
{
    return LogText::Bodies(LogText::Read(folder.filePath(QString::fromLatin1(file))));
}

// In folder `0`, where it stays.
bool Begin(const QStringList& arguments)
{
    QDir::setCurrent(arguments.value(0));
    Logger::GetInstance()->SetLevel(kAlwaysOn);
    return Logger::SetCrashFile(kCrashFile);
}

void Die(const QString& way)
{
    struct rlimit none = {};
    ::setrlimit(RLIMIT_CORE, &none);
    if (way == QLatin1String("SIGKILL"))
        ::raise(SIGKILL);
    if (way == QLatin1String("SIGSEGV")) {
        ::signal(SIGSEGV, SIG_DFL);
        ::raise(SIGSEGV);
    }
    if (way == QLatin1String("abort")) {
        ::signal(SIGABRT, SIG_DFL);
        std::abort();
    }
    if (way == QLatin1String("exception"))
        std::thread([] { throw std::runtime_error("nobody catches it"); }).join();
    if (way == QLatin1String("return"))
        std::exit(0);
    ::_exit(0);
}

// Dies with lines in the buffer: two from before the log had a file, two from after.
const Scenario runThatDies("runThatDies", [](const QStringList& arguments) {
    if (!Begin(arguments))
        return 1;
    Say(QStringLiteral("one"));
    Say(QStringLiteral("two"));
    if (arguments.size() > 2)
        Logger::SetLoggerFileName(arguments.at(2), false);
    Say(QStringLiteral("three \u00e4"));
    Say(QStringLiteral("four"));
    Die(arguments.at(1));
    return 0;
});

const QList<QByteArray> kTheFour = {Said("one"), Said("two"), Said("three \xc3\xa4"), Said("four")};

// The next run. Prints whether it is protected.
const Scenario nextRun("nextRun", [](const QStringList& arguments) {
    const bool isSet = Begin(arguments);
    Say(QStringLiteral("early"));
    Logger::SetLoggerFileName(arguments.value(1, QStringLiteral("log")), false);
    Say(QStringLiteral("late"));
    if (arguments.size() > 2)
        Die(arguments.at(2));
    Logger::StopLogging();
    std::puts(isSet ? "protected" : "not protected");
    return 0;
});

class Folder
{
public:
    Folder()
        : iPath(TestSupport::EnterFreshFolder())
    {
    }

    ScenarioResult Run(const char* scenario, const QStringList& arguments) const
    {
        return RunScenario(scenario, QStringList{iPath.path()} + arguments);
    }
    ScenarioResult LetDie(const QString& way = QStringLiteral("SIGKILL"),
                          const QString& log = QStringLiteral("log")) const
    {
        return Run("runThatDies", {way, log});
    }
    bool NextRun(const QStringList& arguments = {}) const
    {
        const ScenarioResult result = Run("nextRun", arguments);
        return result.IsOk() && result.iStdout == "protected\n";
    }
    QDir Path() const { return iPath; }
    QStringList Files() const { return iPath.entryList(QDir::AllEntries | QDir::NoDotAndDotDot | QDir::System); }

private:
    QDir iPath;
};

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
    void linesSurvive_data()
    {
        QTest::addColumn<bool>("isCrash");
        QTest::newRow("SIGKILL") << true;
        QTest::newRow("SIGSEGV") << true;
        QTest::newRow("abort") << true;
        QTest::newRow("exception") << true;
        QTest::newRow("_exit") << false;
        QTest::newRow("return") << false;
    }

    void linesSurvive()
    {
        QFETCH(bool, isCrash);
        const Folder folder;
        const ScenarioResult died = folder.LetDie(QString::fromLatin1(QTest::currentDataTag()));
        QCOMPARE(died.iCrashed, isCrash);
        QCOMPARE(folder.Files(), QStringList{kCrashFile});
        QVERIFY(folder.NextRun());
        QCOMPARE(BodiesOf(folder.Path()),
                 kTheFour + QList<QByteArray>({Recovered(4), Said("early"), Said("late"), Stopped("log")}));
        QCOMPARE(folder.Files(), QStringList{QStringLiteral("log")});
    }

    void theLogOfTheDeadProcessIsCompleted()
    {
        const Folder folder;
        folder.LetDie();
        QVERIFY(folder.NextRun({QStringLiteral("other")}));
        QCOMPARE(BodiesOf(folder.Path()), kTheFour);
        QCOMPARE(BodiesOf(folder.Path(), "other"),
                 QList<QByteArray>({Recovered(4), Said("early"), Said("late"), Stopped("other")}));
    }

    void linesWithoutALogGoToTheNext()
    {
        const Folder folder;
        folder.Run("runThatDies", {QStringLiteral("SIGKILL")});
        QVERIFY(folder.NextRun());
        QCOMPARE(BodiesOf(folder.Path()).mid(0, 5), kTheFour + QList<QByteArray>{Recovered(4)});
    }

    void anInterruptedRunWithNothingToRecoverIsTold()
    {
        const Folder folder;
        QVERIFY(folder.Run("diesAfterAFlush", {}).iCrashed);
        QVERIFY(folder.NextRun());
        QCOMPARE(BodiesOf(folder.Path()),
                 QList<QByteArray>({Said("flushed"), Recovered(0), Said("early"), Said("late"), Stopped("log")}));
    }

    void theMaskStopsTheLine()
    {
        const Folder folder;
        folder.LetDie();
        QVERIFY(folder.Run("onlyErrors", {}).IsOk());
        QCOMPARE(BodiesOf(folder.Path()), kTheFour + QList<QByteArray>{"|7|Error|f|late"});
    }

    void aLogThatCannotBeOpenedIsCompletedLater()
    {
        const Folder folder;
        QVERIFY(folder.Path().mkdir(QStringLiteral("away")));
        folder.LetDie(QStringLiteral("SIGKILL"), QStringLiteral("away/log"));
        QVERIFY(folder.Path().rmdir(QStringLiteral("away")));
        QVERIFY(folder.NextRun());
        QCOMPARE(folder.Files(), (QStringList{kCrashFile, QStringLiteral("log")}));
        QCOMPARE(BodiesOf(folder.Path()), QList<QByteArray>({Said("early"), Said("late"), Stopped("log")}));
        // This one is protected as well.
        folder.NextRun({QStringLiteral("log"), QStringLiteral("SIGKILL")});
        QVERIFY(QFile::remove(folder.Path().filePath(QStringLiteral("log"))));
        QVERIFY(folder.Path().mkdir(QStringLiteral("away")));
        QVERIFY(folder.NextRun({QStringLiteral("third")}));
        QCOMPARE(BodiesOf(folder.Path(), "away/log"), kTheFour);
        QCOMPARE(BodiesOf(folder.Path()), QList<QByteArray>({Said("early"), Said("late")}));
        QCOMPARE(BodiesOf(folder.Path(), "third"),
                 QList<QByteArray>({Recovered(6), Said("early"), Said("late"), Stopped("third")}));
        QCOMPARE(folder.Files(), (QStringList{QStringLiteral("away"), QStringLiteral("log"), QStringLiteral("third")}));
    }

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
        const ScenarioResult next = folder.Run("nextRun", {});
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

    void aFullDiskIsNoSignal()
    {
        const Folder folder;
        const ScenarioResult result = folder.Run("noRoom", {});
        QVERIFY2(result.IsOk(), result.Describe());
        QCOMPARE(folder.Files(), QStringList{});
    }

    void itIsPrivateAndReserved()
    {
        const Folder folder;
        const mode_t mask = ::umask(0);
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

    void aCopyOfTheProcessDoesNotTouchIt_data()
    {
        QTest::addColumn<QString>("isStarted");
        QTest::newRow("before the log starts") << QString();
        QTest::newRow("later") << QStringLiteral("log");
    }

    void aCopyOfTheProcessDoesNotTouchIt()
    {
        QFETCH(QString, isStarted);
        const Folder folder;
        const ScenarioResult result = folder.Run("makesACopy", {isStarted});
        QVERIFY2(result.iCrashed && result.iStdout == "copy: 0\n", result.Describe());
        QVERIFY(folder.NextRun());
        QCOMPARE(BodiesOf(folder.Path()),
                 QList<QByteArray>(
                     {Said("before"), Said("after"), Recovered(2), Said("early"), Said("late"), Stopped("log")}));
    }

    void anotherFileTakesTheLinesOver()
    {
        const Folder folder;
        QVERIFY(folder.Run("changesTheCrashFile", {}).iCrashed);
        QCOMPARE(folder.Files(), QStringList{kCrashFile});
        QVERIFY(folder.NextRun());
        QCOMPARE(BodiesOf(folder.Path()).mid(0, 3),
                 QList<QByteArray>({Said("in the first"), Said("in the second"), Recovered(2)}));
    }

    // Batches of before, which the writer finishes later, do not count for lines of the file that came in between.
    void theProtectionCanEndAndBeginAgain()
    {
        const Folder folder;
        const ScenarioResult died = folder.Run("setsItAgain", {});
        QCOMPARE(died.iExitCode, 9);
        QVERIFY(folder.NextRun({QStringLiteral("other")}));
        QCOMPARE(BodiesOf(folder.Path()).mid(2), QList<QByteArray>{Said("two")});
        QCOMPARE(BodiesOf(folder.Path(), "other").first(), Recovered(1));
    }

    void whatTheWriterGivesUpIsNotRecovered_data()
    {
        QTest::addColumn<QStringList>("log");
        QTest::newRow("there was no log yet") << QStringList();
        QTest::newRow("it could not be opened") << QStringList{QStringLiteral("none/log")};
    }

    void whatTheWriterGivesUpIsNotRecovered()
    {
        QFETCH(QStringList, log);
        const Folder folder;
        QVERIFY(folder.Run("losesLines", log).iCrashed);
        QVERIFY(folder.Path().mkdir(QStringLiteral("none")));
        QVERIFY(folder.NextRun(log));
        QCOMPARE(BodiesOf(folder.Path(), log.isEmpty() ? "log" : "none/log").mid(0, 2),
                 QList<QByteArray>({Said("kept"), Recovered(1)}));
    }

    void aFileThatSomebodyDamagesIsKept()
    {
        const Folder folder;
        folder.LetDie();
        const ScenarioResult result = folder.Run("isDamagedLater", {});
        QVERIFY2(result.IsOk(), result.Describe());
        QCOMPARE(BodiesOf(folder.Path()), QList<QByteArray>({Said("late"), Stopped("log")}));
        QCOMPARE(folder.Files(), (QStringList{kCrashFile, QStringLiteral("log")}));
    }

    // What was in the buffer goes to both.
    void linesInTheLogAreNotRecovered()
    {
        const Folder folder;
        QVERIFY(folder.Run("changesTheLog", {}).iCrashed);
        QVERIFY(folder.NextRun({QStringLiteral("third")}));
        const QList<QByteArray> before{Said("one"), Said("two"),
                                       "|10|Information|Logger::SetLoggerFileName|Existing path is first",
                                       "|10|Information|Logger::SetLoggerFileName|New path is second"};
        QCOMPARE(BodiesOf(folder.Path(), "first"), before);
        QCOMPARE(BodiesOf(folder.Path(), "second"), before.mid(1) + QList<QByteArray>{Said("three")});
        QCOMPARE(BodiesOf(folder.Path(), "third").first(), Recovered(4));
    }

    void whatHasNoRoomIsCounted()
    {
        const Folder folder;
        const ScenarioResult died = folder.Run("fillsIt", {});
        QCOMPARE(died.iExitCode, 9);
        QVERIFY(folder.NextRun());
        const QList<QByteArray> lines = BodiesOf(folder.Path());
        int said = 0;
        while (lines.value(said) == Said(QByteArray::number(said).rightJustified(1000, '.')))
            ++said;
        const int capacity = int(CrashFormat::kCapacity / 1060);
        QVERIFY2(said > capacity - 200 && said < capacity + 60, QByteArray::number(said));
        QCOMPARE(lines.value(said),
                 Recovered(said) + ", " + QByteArray::number(5000 - said) + " lines were not protected");
    }

    void itIsGoneAfterCleanup()
    {
        const Folder folder;
        const ScenarioResult result = folder.Run("cleansUp", {});
        QVERIFY2(result.IsOk(), result.Describe());
        QCOMPARE(folder.Files(), QStringList{QStringLiteral("log")});
    }

    void aStoppedLogHasNone()
    {
        const Folder folder;
        const ScenarioResult result = folder.Run("isStopped", {});
        QVERIFY2(result.IsOk(), result.Describe());
        QCOMPARE(folder.Files(), QStringList{});
    }
};

namespace {

const Scenario diesAfterAFlush("diesAfterAFlush", [](const QStringList& arguments) {
    if (!Begin(arguments))
        return 1;
    Logger::SetLoggerFileName(QStringLiteral("log"), false);
    Say(QStringLiteral("flushed"));
    if (Logger::Flush())
        ::raise(SIGKILL);
    return 1;
});

const Scenario onlyErrors("onlyErrors", [](const QStringList& arguments) {
    if (!Begin(arguments))
        return 1;
    Logger::GetInstance()->SetLevel(LoggerDefs::Error);
    Logger::SetLoggerFileName(QStringLiteral("log"), false);
    Logger::LogError(7, LoggerDefs::NoExtraInfo, "f", QStringLiteral("late"), 0, 0);
    Logger::StopLogging();
    return 0;
});

const Scenario noRoom("noRoom", [](const QStringList& arguments) {
    struct rlimit limit = {};
    ::getrlimit(RLIMIT_FSIZE, &limit);
    limit.rlim_cur = 1 << 20;
    ::setrlimit(RLIMIT_FSIZE, &limit);
    const bool isSet = Begin(arguments);
    Say(QStringLiteral("goes on"));
    return isSet ? 1 : 0;
});

const Scenario makesACopy("makesACopy", [](const QStringList& arguments) {
    if (!Begin(arguments))
        return 1;
    if (!arguments.value(1).isEmpty())
        Logger::SetLoggerFileName(arguments.at(1), false);
    Say(QStringLiteral("before"));
    const pid_t copy = ::fork();
    if (copy == 0) {
        for (int i = 0; i < 10000; ++i)
            Say(QStringLiteral("of the copy"));
        const bool isSet = Logger::SetCrashFile(kCrashFile);
        Logger::StopLogging();
        ::_exit(isSet ? 1 : 0);
    }
    int status = 0;
    ::waitpid(copy, &status, 0);
    std::printf("copy: %d\n", status);
    std::fflush(stdout);
    Say(QStringLiteral("after"));
    ::raise(SIGKILL);
    return 0;
});

const Scenario changesTheCrashFile("changesTheCrashFile", [](const QStringList& arguments) {
    QDir::setCurrent(arguments.value(0));
    Logger::GetInstance()->SetLevel(kAlwaysOn);
    if (!Logger::SetCrashFile(QStringLiteral("first")))
        return 1;
    Say(QStringLiteral("in the first"));
    if (!Logger::SetCrashFile(kCrashFile))
        return 1;
    Say(QStringLiteral("in the second"));
    ::raise(SIGKILL);
    return 0;
});

const Scenario setsItAgain("setsItAgain", [](const QStringList& arguments) {
    if (!Begin(arguments))
        return 1;
    Logger::SetLoggerFileName(QStringLiteral("log"), false);
    RunningLog::WhileTheWriterStandsStill([] {
        Say(QString(10000, QLatin1Char('.')));
        if (!Logger::SetCrashFile(QString()))
            ::_exit(2);
        Say(QString(10000, QLatin1Char('.')));
        if (!Logger::SetCrashFile(kCrashFile))
            ::_exit(2);
    });
    Say(QStringLiteral("two"));
    ::_exit(9);
    return 1;
});

const Scenario isDamagedLater("isDamagedLater", [](const QStringList& arguments) {
    if (!Begin(arguments))
        return 1;
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

const Scenario losesLines("losesLines", [](const QStringList& arguments) {
    if (!Begin(arguments))
        return 1;
    if (arguments.size() > 1)
        Logger::SetLoggerFileName(arguments.at(1), false);
    Say(QString(6000, QLatin1Char('.')));
    if (Logger::Flush()) // it was lost
        return 1;
    Say(QStringLiteral("kept"));
    ::raise(SIGKILL);
    return 0;
});

const Scenario changesTheLog("changesTheLog", [](const QStringList& arguments) {
    if (!Begin(arguments))
        return 1;
    Logger::SetLoggerFileName(QStringLiteral("first"), false);
    Say(QStringLiteral("one"));
    Logger::Flush();
    Say(QStringLiteral("two"));
    Logger::SetLoggerFileName(QStringLiteral("second"), true);
    Say(QStringLiteral("three"));
    ::raise(SIGKILL);
    return 0;
});

const Scenario fillsIt("fillsIt", [](const QStringList& arguments) {
    if (!Begin(arguments))
        return 1;
    Logger::SetLoggerFileName(QStringLiteral("log"), false);
    RunningLog::WhileTheWriterStandsStill([] {
        for (int i = 0; i < 5000; ++i) {
            QElapsedTimer elapsed;
            elapsed.start();
            Say(QStringLiteral("%1").arg(i, 1000, 10, QLatin1Char('.')));
            if (elapsed.elapsed() > 60000) // once, for a second
                ::_exit(8);
        }
        ::_exit(9);
    });
    return 1;
});

const Scenario cleansUp("cleansUp", [](const QStringList& arguments) {
    if (!Begin(arguments))
        return 1;
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

NEROLT_TEST_MAIN(tst_CrashFile)

#include "tst_CrashFile.moc"
