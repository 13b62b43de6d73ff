#include "IniFiles.h"

#include <NeroltOrvaneBase/IniFile.h>

#include <QtCore/QDateTime>
#include <QtCore/QFile>
#include <QtCore/QFileInfo>
#include <QtCore/QLockFile>
#include <QtCore/QProcess>
#include <QtTest/QtTest>

#include <csignal>
#include <cstdio>
#include <fcntl.h>
#include <iostream>
#include <string>
#include <sys/file.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>

using namespace IniFiles;
using TestSupport::Scenario;

namespace {

constexpr int kAnswerTimeoutMs = 60000;

void Say(const QString& text)
{
    std::printf("%s\n", qPrintable(text));
    std::fflush(stdout);
}

// Reads commands from stdin, one per line, executes them on one object, and answers each with a line.
const Scenario obey("obey", [](const QStringList& arguments) {
    IniFile ini(arguments.value(0));
    for (std::string line; std::getline(std::cin, line);) {
        const QStringList words = QString::fromStdString(line).split(QLatin1Char(' '));
        const QString& verb = words.first();
        if (verb == QLatin1String("set"))
            ini.SetKeyValue(kGroup, words.value(1), words.value(2));
        else if (verb == QLatin1String("remove"))
            ini.RemoveKey(kGroup, words.value(1));
        Say(Get(ini, kGroup, words.value(1)));
    }
    return 0;
});

// A text that contains its number and shows whether it is complete. All have the same size.
QString State(int number)
{
    return QStringLiteral("%1-").arg(number, 2, 10, QLatin1Char('0')).repeated(500);
}

// The number of the file's version, or -1 if it is none.
int StateOf(const QByteArray& text)
{
    const QByteArray head = "[A]\nk=";
    const int number = text.mid(head.size(), text.indexOf('-') - head.size()).toInt();
    return text == head + State(number).toLatin1() + "\n" ? number : -1;
}

// Writes one version after the other and reports each.
const Scenario writeStates("writeStates", [](const QStringList& arguments) {
    IniFile ini(arguments.value(0));
    for (int number = 1; number <= arguments.value(1).toInt(); ++number) {
        ini.SetKeyValue(kGroup, kKey, State(number));
        Say(QString::number(number));
    }
    return 0;
});

// Dies while it holds the lock of the file.
const Scenario dieWithTheLock("dieWithTheLock", [](const QStringList& arguments) {
    QLockFile lock(arguments.value(0) + QStringLiteral(".lock"));
    if (!lock.lock())
        return 1;
    ::kill(::getpid(), SIGKILL);
    return 2;
});

// This program as another process that runs a scenario beside the test.
class Process
{
public:
    explicit Process(const char* scenario, const QStringList& arguments)
    {
        iProcess.setProcessChannelMode(QProcess::ForwardedErrorChannel);
        TestSupport::StartScenario(iProcess, scenario, arguments);
    }
    ~Process()
    {
        iProcess.kill();
        iProcess.waitForFinished(kAnswerTimeoutMs);
    }

    void Tell(const QByteArray& command) { iProcess.write(command + '\n'); }
    QString Answer()
    {
        while (!iProcess.canReadLine()) {
            if (!iProcess.waitForReadyRead(kAnswerTimeoutMs))
                return QStringLiteral("<no answer>");
        }
        return QString::fromLocal8Bit(iProcess.readLine()).chopped(1);
    }
    QString Do(const QByteArray& command)
    {
        Tell(command);
        return Answer();
    }
    bool IsSilentFor(int msecs) { return !iProcess.canReadLine() && !iProcess.waitForReadyRead(msecs); }
    bool Ends()
    {
        iProcess.closeWriteChannel();
        return (iProcess.state() == QProcess::NotRunning || iProcess.waitForFinished(kAnswerTimeoutMs))
            && iProcess.exitStatus() == QProcess::NormalExit && iProcess.exitCode() == 0;
    }
    bool IsRunning() { return iProcess.state() == QProcess::Running && !iProcess.waitForFinished(0); }

private:
    QProcess iProcess;
};

QString LockOf(const QString& path)
{
    return path + QStringLiteral(".lock");
}

void MakeOlder(const QString& path, int secs)
{
    SetTime(path, QDateTime::currentDateTime().addSecs(-secs));
}

QString KeyOf(char process, int round)
{
    return QLatin1Char(process) + QStringLiteral("%1").arg(round);
}

} // namespace

class tst_IniFileProcesses : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void changesOfAnotherProcessAreSeen()
    {
        const QString path = NewPath();
        IniFile ini(path);
        Process other("obey", {path});
        QCOMPARE(Get(ini), QStringLiteral("<none>"));
        QCOMPARE(other.Do("set k 1"), QStringLiteral("1"));
        QCOMPARE(Get(ini), QStringLiteral("1"));
        ini.SetKeyValue(kGroup, kKey, 22);
        QCOMPARE(other.Do("get k"), QStringLiteral("22"));
        QCOMPARE(other.Do("remove k"), QStringLiteral("<none>"));
        QCOMPARE(Get(ini), QStringLiteral("<none>"));
        QVERIFY(other.Ends());
    }

    // Of different keys, at the same moment.
    void changesOfTwoProcessesAllSurvive()
    {
        constexpr int kRounds = 20;
        const QString path = NewPath();
        Process first("obey", {path});
        Process second("obey", {path});
        for (int round = 0; round < kRounds; ++round) {
            first.Tell("set " + KeyOf('a', round).toLatin1() + " x");
            second.Tell("set " + KeyOf('b', round).toLatin1() + " y");
            QCOMPARE(first.Answer(), QStringLiteral("x"));
            QCOMPARE(second.Answer(), QStringLiteral("y"));
        }
        first.Tell("remove " + KeyOf('b', 0).toLatin1());
        second.Tell("set k 1");
        QCOMPARE(first.Answer(), QStringLiteral("<none>"));
        QCOMPARE(second.Answer(), QStringLiteral("1"));
        QVERIFY(first.Ends() && second.Ends());
        const IniFile ini(path);
        QCOMPARE(Get(ini), QStringLiteral("1"));
        for (int round = 0; round < kRounds; ++round) {
            QCOMPARE(Get(ini, kGroup, KeyOf('a', round)), QStringLiteral("x"));
            QCOMPARE(Get(ini, kGroup, KeyOf('b', round)), round > 0 ? QStringLiteral("y") : QStringLiteral("<none>"));
        }
    }

    void newKeysOfTwoThreadsAllSurvive()
    {
        constexpr int kRounds = 25;
        const QString path = NewPath();
        IniFile ini(path);
        ini.SetKeyValue(kGroup, kKey, 0);
        const auto run = [&path](char letter) {
            IniFile own(path);
            for (int round = 0; round < kRounds; ++round)
                own.SetKeyValue(kGroup, KeyOf(letter, round), round);
        };
        std::thread other(run, 'a');
        run('b');
        other.join();
        for (int round = 0; round < kRounds; ++round) {
            QCOMPARE(Get(ini, kGroup, KeyOf('a', round)), QString::number(round));
            QCOMPARE(Get(ini, kGroup, KeyOf('b', round)), QString::number(round));
        }
    }

    // However old it is. A reader does not wait.
    void aWriterWaitsForTheLock()
    {
        const QString path = NewPath();
        IniFile ini(path);
        ini.SetKeyValue(kGroup, kKey, 1);
        Process other("obey", {path});
        QLockFile lock(LockOf(path));
        QVERIFY(lock.lock());
        MakeOlder(LockOf(path), 3600);
        QCOMPARE(other.Do("get k"), QStringLiteral("1"));
        other.Tell("set x 2");
        QVERIFY(other.IsSilentFor(300));
        QCOMPARE(Read(path), QByteArray("[A]\nk=1\n"));
        Write(path, "[A]\nk=1\nmeanwhile=3\n");
        lock.unlock();
        QCOMPARE(other.Answer(), QStringLiteral("2"));
        QVERIFY(other.Ends());
        QCOMPARE(Read(path), QByteArray("[A]\nk=1\nmeanwhile=3\nx=2\n"));
    }

    // Also if the process forks meanwhile: the child has the folder open, too.
    void aWriterLocksTheFolderForItself()
    {
        const QString path = NewPath();
        QLockFile lock(LockOf(path));
        QVERIFY(lock.lock());
        std::thread writer([&path] { IniFile(path).SetKeyValue(kGroup, kKey, 1); });
        const auto isLocked = [&path] { return !CanLockFolder(path, LOCK_SH); };
        const bool wasLocked = QTest::qWaitFor(isLocked, kAnswerTimeoutMs);
        const pid_t child = ::fork();
        if (child == 0) {
            ::sleep(60);
            ::_exit(0);
        }
        lock.unlock();
        writer.join();
        const bool isFree = CanLockFolder(path, LOCK_EX);
        QVERIFY(child > 0);
        ::kill(child, SIGKILL);
        ::waitpid(child, nullptr, 0);
        QVERIFY(wasLocked && isFree);
    }

    void theLockOfADeadProcessIsBroken()
    {
        const QString path = NewPath();
        const TestSupport::ScenarioResult result = TestSupport::RunScenario("dieWithTheLock", {path});
        QVERIFY2(result.iCrashed, result.Describe());
        QVERIFY(QFile::exists(LockOf(path)));
        IniFile(path).SetKeyValue(kGroup, kKey, 1);
        QCOMPARE(Read(path), QByteArray("[A]\nk=1\n"));
        QVERIFY(!QFile::exists(LockOf(path)));
    }

    // If a process died before it wrote its id into the lock, nobody knows that it is dead.
    void aLockOfNobodyIsBrokenWhenItIsOld()
    {
        const QString path = NewPath();
        Write(LockOf(path), "");
        MakeOlder(LockOf(path), 20);
        Process other("obey", {path});
        other.Tell("set k 1");
        QVERIFY(other.IsSilentFor(300));
        QVERIFY(!QFile::exists(path));
        MakeOlder(LockOf(path), 31);
        QCOMPARE(other.Answer(), QStringLiteral("1"));
        QVERIFY(other.Ends());
        QCOMPARE(Read(path), QByteArray("[A]\nk=1\n"));
    }

    void aReaderFindsWholeStates()
    {
        constexpr int kStates = 40;
        const QString path = NewPath();
        const IniFile ini(path);
        Process writer("writeStates", {path, QString::number(kStates)});
        QCOMPARE(writer.Answer(), QStringLiteral("1"));
        int last = 1;
        while (writer.IsRunning()) {
            const int state = StateOf(Read(path));
            QVERIFY2(state >= last, qPrintable(QStringLiteral("%1 after %2").arg(state).arg(last)));
            last = state;
            const QString value = Get(ini);
            const int found = value.section(QLatin1Char('-'), 0, 0).toInt();
            QCOMPARE(value, State(found));
            QVERIFY2(found >= state, qPrintable(QStringLiteral("%1 in a file of %2").arg(found).arg(state)));
        }
        QVERIFY(writer.Ends());
        QCOMPARE(StateOf(Read(path)), kStates);
        QCOMPARE(Get(ini), State(kStates));
    }
};

NEROLT_TEST_MAIN(tst_IniFileProcesses)

#include "tst_IniFileProcesses.moc"
