#include "InstalledHook.h"
#include "PathText.h"
#include "support/LogText.h"
#include "support/TestMain.h"

#include <NeroltOrvaneBase/SystemConfig.h>

#include <QtCore/QElapsedTimer>
#include <QtCore/QFile>
#include <QtCore/QProcess>
#include <QtCore/QProcessEnvironment>
#include <QtTest/QtTest>

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/utsname.h>
#include <sys/wait.h>
#include <unistd.h>

using TestSupport::Scenario;
using namespace PathText;

namespace {

constexpr int kAll = 63;
constexpr int kPatienceMSecs = 5000;
const char* const kBundle = "A.app/Contents";
const char* const kPlugin = "PlugIns/libUIContentHost.dylib";

// What uname reports about the machine, if the test overrides it.
const char* gMachine = nullptr;
int gNamesError = 0;
bool gIsDeaf = false;

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

const Scenario silence("silence", [](const QStringList&) {
    return Logged(kAll, [] {
        SystemConfig::getCPUArchitecture();
        PutBuildArch();
    });
});

// Argument: the path where the program "file" writes its process id. Neither a process nor a zombie may be left.
const Scenario impatience("impatience", [](const QStringList& arguments) {
    QElapsedTimer timer;
    timer.start();
    PutBuildArch();
    std::printf("%lld\n", timer.elapsed());
    const pid_t id = LogText::Read(arguments[0]).trimmed().toInt();
    const bool isGone = id > 0 && ::kill(id, 0) != 0 && errno == ESRCH;
    const bool hasChild = ::waitpid(-1, nullptr, WNOHANG) != -1 || errno != ECHILD;
    std::puts(isGone && !hasChild ? "gone" : "left");
    return 0;
});

// A process that is blocked in the kernel does not react.
const Scenario deafness("deafness", [](const QStringList&) {
    gIsDeaf = true;
    QElapsedTimer timer;
    timer.start();
    PutBuildArch();
    std::printf("%lld\n", timer.elapsed());
    std::fflush(stdout);
    ::_exit(0);
    return 0;
});

QByteArray Shell(const QByteArray& script)
{
    return "#!/bin/sh\n" + script + '\n';
}

bool WriteProgram(const QString& path, const QByteArray& text)
{
    QFile file(path);
    return file.open(QIODevice::WriteOnly) && file.write(text) == text.size()
        && file.setPermissions(QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
}

} // namespace

extern "C" Q_DECL_EXPORT int kill(pid_t id, int signal) noexcept
{
    return gIsDeaf ? 0 : int(::syscall(SYS_kill, id, signal));
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
    }

    void processorWithoutAnAnswer()
    {
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
        QTest::newRow("ELF, ARM with 32 bits") << Text("elf-armv7a") << QByteArray();
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
        QTest::newRow("text") << QByteArray("echo x >\"$0\"");
        QTest::newRow("empty") << QByteArray(": >\"$0\"");
        QTest::newRow("folder") << QByteArray("mkdir \"$0\"");
        QTest::newRow("link to nothing") << QByteArray("ln -s nothing \"$0\"");
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

    // Everything that the program prints counts, and it prints the path that it examines.
    void folderNamesCount()
    {
        const QString program = MakeBundle(Text("arm64/A.app/Contents/MacOS"));
        const QDir contents(QFileInfo(program).path() + Text("/.."));
        QCOMPARE(Output(program, "buildArch"), QByteArray("arm64\n"));
        QVERIFY(contents.mkdir(Text("PlugIns")));
        QVERIFY(QFile::copy(Text(PLUGINS "/mac-x86_64"), contents.filePath(Text(kPlugin))));
        QCOMPARE(Output(program, "buildArch"), QByteArray("Universal\n"));
        QVERIFY(QDir(iScratch + Text("/arm64")).removeRecursively());
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
        row("says both in two lines", "echo arm64; echo x86_64", "Universal");
        row("says nothing", ":", "");
        row("says blanks", "printf ' \\n\\t\\n '", "");
        row("blanks around", "printf ' \\n\\tarm64\\n \\n'", "arm64");
        row("says it on the other channel", "echo 'x86_64 arm64' >&2", "");
        row("on each channel one", "echo x86_64; echo arm64 >&2", "intelx64");
        row("fails silently", "exit 1", "");
        row("fails with output", "echo arm64; exit 3", "arm64");
        row("killed after its output", "echo x86_64; kill -9 $$", "intelx64");
        row("NUL", "printf 'x86_64\\000arm64'", "intelx64");
        row("NUL first", "printf '\\000x86_64 arm64'", "");
        row("NUL within a word", "printf 'x86_64 arm\\00064'", "intelx64");
        row("NUL behind", "printf 'arm64\\000'", "arm64");
        row("bytes that are no text", "printf '\\377\\303 arm64 \\200'", "arm64");
        row("other case", "echo X86_64 Arm64", "");
        row("long output", flood + "; echo arm64", "arm64");
        row("long output on the other channel", flood + " >&2; echo arm64", "arm64");
        row("output in pieces", "printf arm; sleep 0.2; printf 64", "arm64");
        row("takes its time", "sleep 1.5; echo x86_64", "intelx64");
    }
    void program()
    {
        QFETCH(QByteArray, script);
        QFETCH(QByteArray, word);
        QVERIFY(SetProgram(script));
        QCOMPARE(BuildArch(), word);
    }

    void programThatCannotRun_data()
    {
        QTest::addColumn<QByteArray>("text");
        QTest::newRow("no interpreter") << QByteArray("#!/no/such/program\necho arm64\n");
        QTest::newRow("no program") << QByteArray("\177ELF");
    }
    void programThatCannotRun()
    {
        QFETCH(QByteArray, text);
        QVERIFY(SetProgram(text));
        QCOMPARE(BuildArch(), QByteArray());
    }

    void argument()
    {
        QVERIFY(SetProgram(Shell("printf '%s' \"$#:$*\" >\"$0.words\"")));
        QCOMPARE(BuildArch(), QByteArray());
        const QByteArray words = LogText::Read(iScratch + Text("/bin/file.words"));
        QCOMPARE(words, "1:" + QDir::cleanPath(iPlugin).toUtf8());
    }

    // This tests the wait. The program has printed the word, and ignores SIGTERM.
    void programThatHangs()
    {
        QVERIFY(SetProgram(Shell("trap '' TERM; echo $$ >\"$0.id\"; echo arm64; exec sleep 600")));
        const QByteArray output = Output(iProgram, "impatience", {iScratch + Text("/bin/file.id")});
        const QList<QByteArray> lines = LogText::Lines(output);
        QCOMPARE(lines.size(), 3);
        QCOMPARE(lines[0], QByteArray());
        QVERIFY2(lines[1].toInt() >= kPatienceMSecs - 50 && lines[1].toInt() < 4 * kPatienceMSecs,
                 lines[1].constData());
        QCOMPARE(lines[2], QByteArray("gone"));
    }

    void programThatCannotBeEnded()
    {
        QVERIFY(SetProgram(Shell("exec sleep 40")));
        const QList<QByteArray> lines = LogText::Lines(Output(iProgram, "deafness"));
        QCOMPARE(lines.size(), 2);
        QCOMPARE(lines[0], QByteArray());
        QVERIFY2(lines[1].toInt() < 4 * kPatienceMSecs, lines[1].constData());
    }

    void neitherLogs()
    {
        const auto result = TestSupport::RunScenario("silence");
        QVERIFY2(result.IsOk(), result.Describe().constData());
        QCOMPARE(result.iStderr, QByteArray());
        QCOMPARE(BodiesOf(result), QList<QByteArray>());
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
        return WriteProgram(folder + Text("/file"), text);
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
        process.start(program, QStringList{Text("--scenario"), Text(scenario)} + arguments);
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
