#include "InstalledHook.h"
#include "PathText.h"
#include "support/LogScenario.h"

#include <NeroltOrvaneBase/SystemConfig.h>

#include <QtCore/QStandardPaths>
#include <QtTest/QtTest>

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <poll.h>
#include <sys/syscall.h>
#include <sys/utsname.h>
#include <sys/wait.h>
#include <unistd.h>

using namespace PathText;

namespace {

// What uname reports about the machine, if the test overrides it. Null means that it fails.
bool gForgedMachine = false;
const char* gMachine = nullptr;
// How often nothing comes from the program "file" until the time is over, once this file of its own shows that it
// hangs. The test does not wait for that.
int gSilences = 0;
QString gSign;
QByteArray gWaits; // in seconds, rounded up

// Arguments: the path where the program "file" writes its process id, and how long it does not react to its end: 1 for
// an end at once, after which neither a process nor a zombie may be left, 3 for a process that is blocked in the
// kernel: nobody waits a third time.
const TestSupport::Scenario hanging("hanging", [](const QStringList& arguments) {
    gSign = arguments[0];
    gSilences = arguments[1].toInt();
    const QByteArray word = SystemConfig::getApplicationBuildArch().toUtf8();
    const pid_t id = LogText::Read(gSign).trimmed().toInt();
    const bool isGone = id > 0 && ::kill(id, 0) != 0 && errno == ESRCH;
    const bool hasChild = ::waitpid(-1, nullptr, WNOHANG) != -1 || errno != ECHILD;
    std::puts((word + gWaits + (isGone && !hasChild ? "gone" : "left")).constData());
    std::fflush(stdout);
    ::_exit(0);
    return 0;
});

} // namespace

// With which the framework waits for a process.
extern "C" Q_DECL_EXPORT int ppoll(pollfd* files, nfds_t count, const timespec* timeout, const sigset_t* mask)
{
    if (gSilences == 0 || !timeout || LogText::Read(gSign).isEmpty())
        return int(::syscall(SYS_ppoll, files, count, timeout, mask, _NSIG / 8));
    gWaits += QByteArray::number(qlonglong(timeout->tv_sec + (timeout->tv_nsec > 0 ? 1 : 0))) + ' ';
    --gSilences;
    return 0;
}

extern "C" Q_DECL_EXPORT int uname(struct utsname* names) noexcept
{
    if (gForgedMachine && !gMachine) {
        errno = EFAULT;
        return -1;
    }
    const int result = int(::syscall(SYS_uname, names));
    if (gForgedMachine)
        std::strncpy(names->machine, gMachine, sizeof names->machine - 1);
    return result;
}

class tst_Architecture : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase() { iPath = qgetenv("PATH"); }

    void init() { iFile = TestSupport::EnterFreshFolder() + Text("/file"); }

    void cleanup()
    {
        gForgedMachine = false;
        qputenv("PATH", iPath);
    }

    void processor_data()
    {
        QTest::addColumn<QByteArray>("machine");
        QTest::addColumn<QString>("word");
        const auto row = [](const char* machine, const char* word) {
            QTest::addRow("%s", machine ? machine : "no answer") << QByteArray(machine) << Text(word);
        };
        row("x86_64", "x86_64");
        row("aarch64", "arm64");
        row("arm64", "arm64");
        row("arm", "arm");
        row("armv7l", "arm");
        row("i686", "Unknown");
        row("X86_64", "Unknown");
        row("x86_64v3", "Unknown");
        row("alarm", "Unknown");
        row("", "Unknown");
        row(nullptr, "Unknown");
    }
    void processor()
    {
        QFETCH(QByteArray, machine);
        QFETCH(QString, word);
        gForgedMachine = true;
        gMachine = machine.isNull() ? nullptr : machine.constData();
        QCOMPARE(SystemConfig::getCPUArchitecture(), word);
    }

    // What the machine's own program says about libraries for several processors, without their path.
    void library_data()
    {
        QTest::addColumn<QString>("word");
        QTest::newRow("mac-universal") << Text("Universal");
        QTest::newRow("mac-x86_64") << Text("intelx64");
        QTest::newRow("mac-arm64") << Text("arm64");
        QTest::newRow("mac-arm64e") << Text("arm64");
        QTest::newRow("elf-x86_64") << Text("intelx64");
        QTest::newRow("elf-aarch64") << Text("arm64");
        QTest::newRow("elf-i686") << Text("");
    }
    void library()
    {
        QFETCH(QString, word);
        const QByteArray program = QStandardPaths::findExecutable(Text("file")).toUtf8();
        QVERIFY(SetProgram("exec " + program + " --brief '" PLUGINS "/" + QTest::currentDataTag() + "'"));
        QCOMPARE(SystemConfig::getApplicationBuildArch(), word);
    }

    void program_data()
    {
        QTest::addColumn<QByteArray>("script");
        QTest::addColumn<QString>("word");
        const auto row = [](const char* edge, const QByteArray& script, const char* word) {
            QTest::newRow(edge) << script << Text(word);
        };
        const QByteArray flood = "head -c 300000 /dev/zero | tr '\\0' '.'";
        row("says nothing", ":", "");
        row("on each channel one", "echo x86_64; echo arm64 >&2", "intelx64");
        row("killed after its output", "echo x86_64; kill -9 $$", "intelx64");
        row("NUL", "printf 'x86_64\\000arm64'", "intelx64");
        row("bytes that are no text", "printf '\\377\\303 arm64 \\200'", "arm64");
        row("long output", flood + "; " + flood + " >&2; echo arm64", "arm64");
    }
    void program()
    {
        QFETCH(QByteArray, script);
        QFETCH(QString, word);
        QVERIFY(SetProgram(script));
        QCOMPARE(SystemConfig::getApplicationBuildArch(), word);
    }

    void noProgram()
    {
        qputenv("PATH", QDir::currentPath().toUtf8());
        QCOMPARE(SystemConfig::getApplicationBuildArch(), QString());
    }

    // And that neither of the two functions logs.
    void argument()
    {
        const InstalledHook hook;
        QVERIFY(SetProgram("printf '%s' \"$#:$*\" >\"$0.words\""));
        const auto calls = [] {
            SystemConfig::getCPUArchitecture();
            SystemConfig::getApplicationBuildArch();
        };
        QCOMPARE(LogScenario::LoggedBy(calls), QList<QByteArray>());
        QCOMPARE(LogText::Read(iFile + Text(".words")),
                 "1:" + SystemConfig::GetPluginPath(Text("UIContentHost")).toUtf8());
    }

    // The program has printed the word, and ignores SIGTERM.
    void programThatHangs()
    {
        QVERIFY(SetProgram("trap '' TERM; echo $$ >\"$0.id\"; echo arm64; exec sleep 600"));
        const auto impatient = TestSupport::RunScenario("hanging", {iFile + Text(".id"), Text("1")});
        QVERIFY2(impatient.IsOk(), impatient.Describe().constData());
        QCOMPARE(impatient.iStdout, QByteArray("5 gone\n"));
        QVERIFY(QFile::remove(iFile + Text(".id")));
        const auto deaf = TestSupport::RunScenario("hanging", {iFile + Text(".id"), Text("3")});
        QVERIFY2(deaf.IsOk(), deaf.Describe().constData());
        QVERIFY2(deaf.iStdout == "5 1 left\n" || deaf.iStdout == "5 1 gone\n", deaf.Describe().constData());
    }

private:
    // A program "file" that is found before that of the system.
    bool SetProgram(const QByteArray& body) const
    {
        qputenv("PATH", PathWith(QDir::currentPath()).toLocal8Bit());
        return WriteProgram(iFile, body);
    }

    QByteArray iPath;
    QString iFile;
};

NEROLT_TEST_MAIN(tst_Architecture)

#include "tst_Architecture.moc"
