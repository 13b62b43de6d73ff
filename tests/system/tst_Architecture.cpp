#include "InstalledHook.h"
#include "PathText.h"
#include "support/LogScenario.h"

#include <NeroltOrvaneBase/SystemConfig.h>

#include <QtCore/QFile>
#include <QtCore/QProcess>
#include <QtCore/QProcessEnvironment>
#include <QtTest/QtTest>

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <poll.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/utsname.h>
#include <sys/wait.h>
#include <unistd.h>

using TestSupport::Scenario;
using namespace PathText;

namespace {

const char* const kBundle = "A.app/Contents";
const char* const kPlugin = "PlugIns/libUIContentHost.dylib";

// What uname reports about the machine, if the test overrides it.
const char* gMachine = nullptr;
int gNamesError = 0;
// How often nothing comes from the program "file" until the time is over, once this file of its own shows that it
// hangs. The test does not wait for that.
int gSilences = 0;
QString gSign;
QByteArray gWaits; // in seconds, rounded up

void PutBuildArch()
{
    std::puts(SystemConfig::getApplicationBuildArch().toUtf8().constData());
}

const Scenario buildArch("buildArch", [](const QStringList&) {
    PutBuildArch();
    return 0;
});

const Scenario buildArchUnderATestPath("buildArchUnderATestPath", [](const QStringList& arguments) {
    const InstalledHook hook;
    SystemConfig::SetTestPath(arguments[0]);
    PutBuildArch();
    return 0;
});

// Argument: the path where the program "file" writes its process id. Neither a process nor a zombie may be left.
const Scenario impatience("impatience", [](const QStringList& arguments) {
    gSign = arguments[0];
    gSilences = 1;
    PutBuildArch();
    const pid_t id = LogText::Read(gSign).trimmed().toInt();
    const bool isGone = id > 0 && ::kill(id, 0) != 0 && errno == ESRCH;
    const bool hasChild = ::waitpid(-1, nullptr, WNOHANG) != -1 || errno != ECHILD;
    std::puts((gWaits + (isGone && !hasChild ? "gone" : "left")).constData());
    return 0;
});

// A process that is blocked in the kernel does not react to its end.
const Scenario deafness("deafness", [](const QStringList& arguments) {
    gSign = arguments[0];
    gSilences = 2;
    PutBuildArch();
    std::puts(gWaits.constData());
    std::fflush(stdout);
    ::_exit(0);
    return 0;
});

QByteArray Shell(const QByteArray& script)
{
    return "#!/bin/sh\n" + script + '\n';
}

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
    if (gNamesError != 0) {
        errno = gNamesError;
        return -1;
    }
    const int result = int(::syscall(SYS_uname, names));
    if (gMachine)
        std::strncpy(names->machine, gMachine, sizeof names->machine - 1);
    return result;
}

class tst_Architecture : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    // "file" prints the path that it is given: the words must not be in it.
    void initTestCase()
    {
        iScratch = QFileInfo(TestSupport::Scratch()).canonicalFilePath();
        for (const char* const word : {"x86_64", "x86-64", "arm64", "ARM aarch64"})
            QVERIFY(!iScratch.contains(Text(word)));
        iProgram = MakeBundle(Text(kBundle) + Text("/MacOS"));
    }

    void init()
    {
        const QDir contents(iScratch + QLatin1Char('/') + Text(kBundle));
        QVERIFY(QDir(contents.filePath(Text("PlugIns"))).removeRecursively());
        QVERIFY(contents.mkdir(Text("PlugIns")));
        iPlugin = contents.filePath(Text(kPlugin));
        QVERIFY(QDir(iScratch + Text("/bin")).removeRecursively());
        QVERIFY(QDir(iScratch).mkdir(Text("bin")));
        iEnvironment = QProcessEnvironment::systemEnvironment();
    }

    void cleanup()
    {
        gMachine = nullptr;
        gNamesError = 0;
    }

    void processorHere()
    {
        QProcess uname;
        uname.start(Text("uname"), {Text("-m")});
        QVERIFY(uname.waitForFinished());
        const QByteArray machine = uname.readAllStandardOutput().trimmed();
        const QMap<QByteArray, QString> words = {{"x86_64", Text("x86_64")}, {"aarch64", Text("arm64")}};
        const QString other = Text(machine.startsWith("arm") ? "arm" : "Unknown");
        QCOMPARE(SystemConfig::getCPUArchitecture(), words.value(machine, other));
    }

    void processorsOfOthers_data()
    {
        QTest::addColumn<QByteArray>("machine");
        QTest::addColumn<QString>("word");
        QTest::newRow("Intel") << QByteArray("x86_64") << Text("x86_64");
        QTest::newRow("ARM, 64 bits") << QByteArray("aarch64") << Text("arm64");
        QTest::newRow("ARM, 64 bits, other name") << QByteArray("arm64") << Text("arm64");
        QTest::newRow("ARM, 32 bits") << QByteArray("armv7l") << Text("arm");
        QTest::newRow("Intel, 32 bits") << QByteArray("i686") << Text("Unknown");
        QTest::newRow("no name") << QByteArray("") << Text("Unknown");
    }
    void processorsOfOthers()
    {
        QFETCH(QByteArray, machine);
        QFETCH(QString, word);
        gMachine = machine.constData();
        QCOMPARE(SystemConfig::getCPUArchitecture(), word);
        gNamesError = EFAULT;
        QCOMPARE(SystemConfig::getCPUArchitecture(), Text("Unknown"));
    }

    void plugin_data()
    {
        QTest::addColumn<QString>("library");
        QTest::addColumn<QByteArray>("word");
        QTest::newRow("universal") << Text("mac-universal") << QByteArray("Universal");
        QTest::newRow("Intel") << Text("mac-x86_64") << QByteArray("intelx64");
        QTest::newRow("ARM") << Text("mac-arm64") << QByteArray("arm64");
        QTest::newRow("ARM with pointer authentication") << Text("mac-arm64e") << QByteArray("arm64");
        QTest::newRow("ELF, Intel") << Text("elf-x86_64") << QByteArray("intelx64");
        QTest::newRow("ELF, ARM") << Text("elf-aarch64") << QByteArray("arm64");
        QTest::newRow("ELF, Intel with 32 bits") << Text("elf-i686") << QByteArray();
    }
    void plugin()
    {
        QFETCH(QString, library);
        QFETCH(QByteArray, word);
        QVERIFY(QFile::copy(Text(PLUGINS "/") + library, iPlugin));
        QCOMPARE(BuildArch(), word);
    }

    void noPlugin_data()
    {
        QTest::addColumn<QByteArray>("shell");
        QTest::newRow("missing") << QByteArray(":");
        QTest::newRow("folder") << QByteArray("mkdir \"$0\"");
        QTest::newRow("other name") << QByteArray("cp '" PLUGINS "/mac-arm64' \"${0%.dylib}.so\"");
        QTest::newRow("name with the mark that is taken out")
            << QByteArray("cp '" PLUGINS "/mac-arm64' \"${0%.dylib}_.dylib\"");
    }
    void noPlugin()
    {
        QFETCH(QByteArray, shell);
        QCOMPARE(QProcess::execute(Text("sh"), {Text("-c"), QString::fromUtf8(shell), iPlugin}), 0);
        QCOMPARE(BuildArch(), QByteArray());
    }

    void pluginOfAPlainFolder()
    {
        const QString program = MakeBundle(Text("plain folder/bin"));
        const QString folder = QFileInfo(program).path();
        QVERIFY(QDir(folder).mkdir(Text("PlugIns")));
        QVERIFY(QFile::copy(Text(PLUGINS "/mac-arm64"), folder + QLatin1Char('/') + Text(kPlugin)));
        QCOMPARE(Output(program, "buildArch"), QByteArray("arm64\n"));
        QVERIFY(QDir(iScratch + Text("/plain folder")).removeRecursively());
    }

    void testPathHasNoPlugins()
    {
        const QString testPath = iScratch + Text("/test");
        QVERIFY(QDir(testPath).mkpath(Text("PlugIns")));
        QVERIFY(QFile::copy(Text(PLUGINS "/mac-arm64"), testPath + QLatin1Char('/') + Text(kPlugin)));
        QCOMPARE(Output(iProgram, "buildArchUnderATestPath", {testPath}), QByteArray("\n"));
        QVERIFY(QFile::copy(Text(PLUGINS "/mac-x86_64"), iPlugin));
        QCOMPARE(Output(iProgram, "buildArchUnderATestPath", {testPath}), QByteArray("intelx64\n"));
    }

    void noProgram()
    {
        QVERIFY(QFile::copy(Text(PLUGINS "/mac-arm64"), iPlugin));
        iEnvironment.insert(Text("PATH"), iScratch + Text("/bin"));
        QCOMPARE(BuildArch(), QByteArray());
    }

    void program_data()
    {
        QTest::addColumn<QByteArray>("script");
        QTest::addColumn<QByteArray>("word");
        const auto row = [](const char* edge, const QByteArray& script, const char* word) {
            QTest::newRow(edge) << Shell(script) << QByteArray(word);
        };
        const QByteArray flood = "head -c 300000 /dev/zero | tr '\\0' '.'";
        row("says both", "echo 'x86_64 arm64'", "Universal");
        row("says nothing", ":", "");
        row("blanks around", "printf ' \\n\\tarm64\\n \\n'", "arm64");
        row("says it on the other channel", "echo 'x86_64 arm64' >&2", "");
        row("on each channel one", "echo x86_64; echo arm64 >&2", "intelx64");
        row("killed after its output", "echo x86_64; kill -9 $$", "intelx64");
        row("NUL", "printf 'x86_64\\000arm64'", "intelx64");
        row("NUL within a word", "printf 'x86_64 arm\\00064'", "intelx64");
        row("bytes that are no text", "printf '\\377\\303 arm64 \\200'", "arm64");
        row("long output", flood + "; echo arm64", "arm64");
        row("long output on the other channel", flood + " >&2; echo arm64", "arm64");
    }
    void program()
    {
        QFETCH(QByteArray, script);
        QFETCH(QByteArray, word);
        QVERIFY(SetProgram(script));
        QCOMPARE(BuildArch(), word);
    }

    void programThatCannotRun()
    {
        for (const char* const text : {"#!/no/such/program\necho arm64\n", "\177ELF"}) {
            QVERIFY(SetProgram(text));
            QCOMPARE(BuildArch(), QByteArray());
        }
    }

    void argument()
    {
        QVERIFY(SetProgram(Shell("printf '%s' \"$#:$*\" >\"$0.words\"")));
        QCOMPARE(BuildArch(), QByteArray());
        const QByteArray words = LogText::Read(iScratch + Text("/bin/file.words"));
        QCOMPARE(words, "1:" + QDir::cleanPath(iPlugin).toUtf8());
    }

    // The program has printed the word, and ignores SIGTERM.
    void programThatHangs()
    {
        QVERIFY(SetProgram(Shell("trap '' TERM; echo $$ >\"$0.id\"; echo arm64; exec sleep 600")));
        QCOMPARE(Output(iProgram, "impatience", {iScratch + Text("/bin/file.id")}), QByteArray("\n5 gone\n"));
        QVERIFY(QFile::remove(iScratch + Text("/bin/file.id")));
        QCOMPARE(Output(iProgram, "deafness", {iScratch + Text("/bin/file.id")}), QByteArray("\n5 1 \n"));
    }

    void neitherLogs()
    {
        const InstalledHook hook;
        const auto calls = [] {
            SystemConfig::getCPUArchitecture();
            SystemConfig::getApplicationBuildArch();
        };
        QCOMPARE(LogScenario::LoggedBy(calls), QList<QByteArray>());
    }

private:
    // This program in a folder below the scratch folder.
    QString MakeBundle(const QString& folder) const
    {
        const QString program = iScratch + QLatin1Char('/') + folder + Text("/program");
        if (!QDir(iScratch).mkpath(folder) || !QFile::copy(QCoreApplication::applicationFilePath(), program))
            qFatal("cannot make %s", qPrintable(program));
        return program;
    }

    // A program "file" that is found before that of the system.
    bool SetProgram(const QByteArray& text)
    {
        const QString folder = iScratch + Text("/bin");
        iEnvironment.insert(Text("PATH"), folder + QLatin1Char(':') + iEnvironment.value(Text("PATH")));
        return Write(folder + Text("/file"), text, QFile::ExeOwner | QFile::ExeUser);
    }

    QByteArray BuildArch() const
    {
        const QByteArray output = Output(iProgram, "buildArch");
        return output.endsWith('\n') ? output.chopped(1) : "no line: " + output;
    }

    QByteArray Output(const QString& program, const char* scenario, const QStringList& arguments = {}) const
    {
        QProcess process;
        process.setProcessEnvironment(iEnvironment);
        TestSupport::StartScenario(process, scenario, arguments, program);
        const bool isDone = process.waitForFinished(60000);
        if (!isDone)
            process.kill();
        return isDone && process.exitStatus() == QProcess::NormalExit && process.exitCode() == 0
            ? process.readAllStandardOutput()
            : "failed: " + process.readAllStandardError();
    }

    QString iScratch;
    QString iProgram;
    QString iPlugin;
    QProcessEnvironment iEnvironment;
};

NEROLT_TEST_MAIN(tst_Architecture)

#include "tst_Architecture.moc"
