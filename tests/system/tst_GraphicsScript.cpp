#include "PathText.h"
#include "support/Framework.h"
#include "support/LogText.h"
#include "support/TestMain.h"
#include "system/ReportText.h"

#include <QtCore/QFile>
#include <QtCore/QProcess>
#include <QtCore/QStandardPaths>
#include <QtTest/QtTest>

using namespace PathText;

using Files = QMap<QString, QByteArray>;
Q_DECLARE_METATYPE(Files)

namespace {

const QByteArray kNothing("No display and no graphics adapter was found.\n");
const QByteArray kPci("lspci -nnk -d ::03xx");
const QByteArray kHardware("lshw -C display");
const QByteArray kGl("glxinfo -B");
const QByteArray kServer("xrandr --query");
const char* const kTools[] = {"lspci", "lshw", "glxinfo", "xrandr"};

QString Program(const char* name)
{
    return QStandardPaths::findExecutable(Text(name));
}

QByteArray Said(const QByteArray& what, const QByteArray& text)
{
    return what + "\n\n" + text + "\n\n";
}

// All shells of the machine that are, or could be, "sh".
QList<QStringList> Shells()
{
    QList<QStringList> shells;
    for (const char* const name : {"sh", "dash", "bash", "mksh", "ksh"}) {
        if (!Program(name).isEmpty())
            shells += QStringList{Program(name)};
    }
    if (!Program("busybox").isEmpty())
        shells += QStringList{Program("busybox"), Text("sh")};
    return shells;
}

QString Here(const char* name)
{
    return QDir::current().filePath(Text(name));
}

// Runs a script. Returns what it did beside its work, if it did not just succeed.
QByteArray Complaint(const QStringList& shell, const QString& script)
{
    if (!Write(Text("it.sh"), script.toUtf8()))
        return "cannot write it";
    QProcess process;
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert(Text("PATH"), Here("tools"));
    environment.insert(Text("LC_ALL"), Text("C.UTF-8"));
    process.setProcessEnvironment(environment);
    process.setProcessChannelMode(QProcess::MergedChannels);
    process.setStandardInputFile(QProcess::nullDevice());
    process.start(shell[0], shell.mid(1) + QStringList{Text("it.sh")});
    if (!process.waitForFinished(60000) || process.exitStatus() != QProcess::NormalExit || process.exitCode() != 0)
        return "failed: " + process.readAll();
    return process.readAll();
}

// The kernel's folder is "drm" in the current one here.
QString ScriptFor(const QString& output)
{
    return ReportText::LinuxGraphicsScript(output).replace(Text("/sys/class/drm"), Text("drm"));
}

bool MakeTools(const Files& tools)
{
    bool isMade = QDir().mkdir(Text("tools"));
    for (const char* const name : {"cat", "printf", "timeout"}) // not every shell has a builtin printf
        isMade = isMade && QFile::link(Program(name), Text("tools/") + Text(name));
    for (auto it = tools.begin(); it != tools.end(); ++it)
        isMade = isMade && WriteProgram(Text("tools/") + it.key(), it.value());
    return isMade;
}

Files Each(const QByteArray& body)
{
    Files tools;
    for (const char* const tool : kTools)
        tools.insert(Text(tool), body);
    return tools;
}

// A "timeout" that records its arguments and waits only briefly for tools that hang.
bool MakeImpatient(const QByteArray& hanging)
{
    return QFile::remove(Text("tools/timeout"))
        && WriteProgram(Text("tools/timeout"),
                        "echo \"$*\" >> asked\n"
                        "case \" "
                            + hanging
                            + " \" in *\" $4 \"*) shift 3; set -- -k 1 0.3 \"$@\";; esac\n"
                              "exec "
                            + Program("timeout").toUtf8() + " \"$@\"");
}

} // namespace

class tst_GraphicsScript : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase()
    {
        TestSupport::SetLocalCodec("UTF-8");
        for (const char* const name : {"sh", "cat", "printf", "timeout", "sleep", "touch"})
            QVERIFY2(!Program(name).isEmpty(), name);
    }

    void init() { TestSupport::EnterFreshFolder(); }

    // What the other tests replace, and what they cannot see: the path is as it is.
    void text()
    {
        const QString path = Text("/%1 $x/`y`\\.log");
        const QString target = Text(" > \"") + path + Text("\"");
        const QString script = ReportText::LinuxGraphicsScript(path);
        QCOMPARE(script.count(Text("/sys/class/drm/*/")), 3);
        QVERIFY(script.endsWith(Text("} 2>/dev/null") + target));
        QCOMPARE(ReportText::MacGraphicsScript(path), Text("system_profiler SPDisplaysDataType") + target);
    }

    void report_data()
    {
        QTest::addColumn<Files>("tools");
        QTest::addColumn<Files>("kernel");
        QTest::addColumn<QByteArray>("report");
        AddReports();
    }
    void report()
    {
        QFETCH(Files, tools);
        QFETCH(Files, kernel);
        QFETCH(QByteArray, report);
        QVERIFY(MakeTools(tools));
        for (auto it = kernel.begin(); it != kernel.end(); ++it)
            QVERIFY(Write(Text("drm/") + it.key(), it.value()));
        const QList<QStringList> shells = Shells();
        for (const QStringList& shell : IsForAllShells() ? shells : shells.mid(0, 1)) {
            QCOMPARE(Complaint(shell, ScriptFor(Here("graphics.log"))), QByteArray());
            QCOMPARE(LogText::Read(Text("graphics.log")), report);
        }
    }

    // Each is told to end after ten seconds, and ended a second later. The test does not wait so long.
    void toolsThatHang_data()
    {
        QTest::addColumn<QByteArray>("body");
        QTest::addColumn<QByteArray>("said");
        const QByteArray sleep = Program("sleep").toUtf8() + " 600";
        QTest::newRow("with a child") << QByteArray(sleep + "; echo late") << QByteArray();
        QTest::newRow("deaf") << QByteArray("trap '' TERM; " + sleep + "; " + sleep) << QByteArray();
        QTest::newRow("told to end") << QByteArray("trap 'trap \"\" TERM; echo told; exit' TERM; echo begun; " + sleep
                                                   + " & wait")
                                     << QByteArray("begun\ntold");
    }
    void toolsThatHang()
    {
        QFETCH(QByteArray, body);
        QFETCH(QByteArray, said);
        QVERIFY(MakeTools({{Text("lspci"), body}, {Text("lshw"), "echo adapter"}, {Text("glxinfo"), body}}));
        QVERIFY(MakeImpatient("lspci glxinfo"));
        QVERIFY(Write(Text("graphics.log"), QByteArray(1000, 'x'))); // an earlier report is overwritten
        QCOMPARE(Complaint({Program("sh")}, ScriptFor(Here("graphics.log"))), QByteArray());
        const auto text = [&said](const QByteArray& tool) { return said.isEmpty() ? QByteArray() : Said(tool, said); };
        QCOMPARE(LogText::Read(Text("graphics.log")), text(kPci) + Said(kHardware, "adapter") + text(kGl));
        QCOMPARE(
            LogText::Lines(LogText::Read(Text("asked"))),
            (QList<QByteArray>{"-k 1 10 " + kPci, "-k 1 10 " + kHardware, "-k 1 10 " + kGl, "-k 1 10 " + kServer}));
    }

    void withoutAnyProgram()
    {
        for (const QStringList& shell : Shells()) {
            QCOMPARE(Complaint(shell, ReportText::LinuxGraphicsScript(Here("graphics.log"))), QByteArray());
            QCOMPARE(LogText::Read(Text("graphics.log")), kNothing);
            QVERIFY(QFile::remove(Text("graphics.log")));
        }
    }

    void output()
    {
        const QString name = Text("it's 'x' %1\n a;b&c|d>e<f(g)h#i*j?k[l]m~n!{o}=p\\q \xc3\xbc");
        QVERIFY(MakeTools({}) && QDir().mkdir(name));
        const QString log = QDir(Here("")).filePath(name) + Text("/") + name;
        for (const QStringList& shell : Shells()) {
            for (const QString& script : {ScriptFor(log), ReportText::DiagnosticScript(Program("cat"), log)}) {
                QCOMPARE(Complaint(shell, script), QByteArray());
                QVERIFY(QFile::remove(log));
            }
        }
        QStringList left = QDir().entryList(QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot);
        QVERIFY(left.removeOne(name));
        QCOMPARE(left, Texts({"it.sh", "tools"}));
    }

private:
    static void AddReports();
    static bool IsForAllShells() { return QByteArray(QTest::currentDataTag()).startsWith("all shells, "); }
};

void tst_GraphicsScript::AddReports()
{
    const auto row = [](const char* name, const Files& tools, const QByteArray& report, const Files& kernel = {}) {
        QTest::newRow(name) << tools << kernel << report;
    };
    const QByteArray arguments("echo \"$# $*\"");
    const QByteArray all = Said(kPci, "3 -nnk -d ::03xx") + Said(kHardware, "2 -C display") + Said(kGl, "1 -B")
        + Said(kServer, "1 --query");
    row("no tools", {}, kNothing);
    row("xrandr speaks", {{Text("xrandr"), arguments}}, Said(kServer, "1 --query"));
    row("all shells, all speak", Each(arguments), all);
    row("all say blank lines", Each("echo; echo"), kNothing);
    row("all fail having spoken", Each(arguments + "; echo cannot >&2; exit 3"), all);
    row("all crash having spoken", Each(arguments + "; kill -KILL $$"), all);
    row("last fails", {{Text("lspci"), "echo adapter"}, {Text("xrandr"), "exit 3"}}, Said(kPci, "adapter"));
    row("several lines", {{Text("lspci"), "echo; echo ' a'; echo; echo 'b '; echo; echo"}}, Said(kPci, "\n a\n\nb "));
    row("all shells, what a shell or printf could read",
        {{Text("lspci"), "printf '%s' '-n %s \\n \\\\ $x `y` * \"\\c'"}}, Said(kPci, "-n %s \\n \\\\ $x `y` * \"\\c"));
    row("what a test could read",
        {{Text("lspci"), "echo '='"}, {Text("lshw"), "echo '!'"}, {Text("glxinfo"), "echo '('"}},
        Said(kPci, "=") + Said(kHardware, "!") + Said(kGl, "("));
    row("bytes that are no text", {{Text("lspci"), "printf 'a\\377b'"}},
        Said(kPci,
             "a\xff"
             "b"));
    row("NUL is left out", {{Text("lspci"), "printf 'a\\000b'"}}, Said(kPci, "ab"));
    row("kernel is not asked when a tool speaks", {{Text("xrandr"), "echo screen"}}, Said(kServer, "screen"),
        {{Text("card0/status"), "connected\n"}});
    row("kernel speaks for tools that fail", Each("exit 1"), Said("drm/card0/status", "connected"),
        {{Text("card0/status"), "connected\n"}});
    row("all shells, kernel's three files", {},
        Said("drm/a/status", "connected") + Said("drm/b c/status", "disconnected") + Said("drm/a/modes", "1x1\n2x2")
            + Said("drm/a/device/uevent", "DRIVER=x"),
        {{Text("a/status"), "connected\n"},
         {Text("b c/status"), "disconnected\n"},
         {Text("a/modes"), "1x1\n2x2\n"},
         {Text("b c/modes"), ""},
         {Text("a/device/uevent"), "DRIVER=x\n"},
         {Text("version"), "drm 1.1.0\n"}});
    row("kernel has nothing to say", {}, kNothing, {{Text("a/status"), ""}, {Text("a/modes"), "\n"}});
    row("kernel's folder is no file", {}, Said("drm/b/modes", "1x1"),
        {{Text("a/status/x"), "x"}, {Text("b/modes"), "1x1\n"}});
}

NEROLT_TEST_MAIN(tst_GraphicsScript)

#include "tst_GraphicsScript.moc"
