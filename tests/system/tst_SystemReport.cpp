#include "DetachedScenario.h"
#include "InstalledHook.h"
#include "PathText.h"
#include "support/LogText.h"
#include "support/OrdinaryUser.h"
#include "system/ReportText.h"

#include <NeroltOrvaneBase/Logger.h>
#include <NeroltOrvaneBase/SystemConfig.h>

#include <QtCore/QFile>
#include <QtCore/QLibraryInfo>
#include <QtCore/QStandardPaths>
#include <QtCore/QTextCodec>
#include <QtTest/QtTest>

#include <algorithm>
#include <cerrno>
#include <fcntl.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

using TestSupport::Scenario;
using namespace PathText;

namespace {

constexpr int kAll = 63;

// The report below a test path.
const Scenario report("report", [](const QStringList& arguments) {
    return Logged(arguments[0].toInt(), [&] {
        SystemConfig::SetTestPath(arguments[1]);
        SystemConfig::ReportSystemDetails();
    });
});

// The report in the user's folder.
const Scenario usersReport("usersReport", [](const QStringList& arguments) {
    return Logged(kAll, [&] {
        SystemConfig::SetDesktopFolders(arguments[0], Text("d"), Text("c"), Text("b"));
        SystemConfig::ReportSystemDetails();
    });
});

// As an ordinary user with real and effective ids: a shell would reset an effective id alone.
const Scenario ordinaryReport("ordinaryReport", [](const QStringList& arguments) {
    QCoreApplication::applicationDirPath(); // while it can be found
    if (OrdinaryUser::IsTestRoot() && (::setgid(65534) != 0 || ::setuid(65534) != 0))
        return 1;
    return Logged(kAll & ~LoggerDefs::Trace, [&] {
        SystemConfig::SetTestPath(arguments[0]);
        SystemConfig::ReportSystemDetails();
    });
});

// Whether the disk is full for scripts, so that they are truncated.
bool gIsFull = false;

const Scenario fullReport("fullReport", [](const QStringList& arguments) {
    gIsFull = true;
    const InstalledHook hook;
    SystemConfig::SetTestPath(arguments[0]);
    SystemConfig::ReportSystemDetails();
    return 0;
});

bool Write(const QString& path, const QByteArray& bytes, QFile::Permissions more = {})
{
    QFile file(path);
    return QDir().mkpath(QFileInfo(path).path()) && file.open(QIODevice::WriteOnly) && file.write(bytes) == bytes.size()
        && file.setPermissions(file.permissions() | more);
}

bool WriteProgram(const QString& path, const QByteArray& body)
{
    const QByteArray shell = QStandardPaths::findExecutable(Text("sh")).toUtf8();
    return Write(path, "#!" + shell + "\n" + body + "\n",
                 QFile::ExeOwner | QFile::ExeUser | QFile::ExeGroup | QFile::ExeOther);
}

QByteArray ProgramPath()
{
    return QCoreApplication::applicationDirPath().toUtf8() + "/qtdiag";
}

QByteArray DiagnosticText(const QByteArray& program, const QByteArray& logs)
{
    return "\"" + program + "\" > \"" + logs + "/qtdiag.log\"";
}

QByteArray GraphicsText(const QByteArray& logs)
{
    return ReportText::LinuxGraphicsScript(QString::fromUtf8(logs) + Text("/graphics.log")).toUtf8();
}

QByteArray Debug(const QByteArray& message)
{
    return "|20|Debug|ReportSystemDetails|" + message;
}

QList<QByteArray> BeginLines(const QByteArray& logs)
{
    return {Debug("output path is " + logs + "/qtdiag.log")};
}

QList<QByteArray> DiagnosticLines(const QByteArray& logs)
{
    return {Debug("program path is " + ProgramPath()), Debug(DiagnosticText(ProgramPath(), logs)),
            Debug("args are " + logs + "/qtdiag.sh")};
}

QList<QByteArray> GraphicsLines(const QByteArray& logs)
{
    return {Debug(GraphicsText(logs)), Debug("args are " + logs + "/graphics.sh")};
}

QList<QByteArray> AllLines(const QByteArray& logs)
{
    return BeginLines(logs) + DiagnosticLines(logs) + GraphicsLines(logs);
}

QStringList Both(const QString& logs)
{
    return {logs + Text("/graphics.sh"), logs + Text("/qtdiag.sh")};
}

// The arguments of each "sh" that was started, sorted.
QList<QStringList> Starts()
{
    QList<QStringList> starts;
    const QStringList names = QDir(Text("starts")).entryList(QDir::Files);
    for (const QString& name : names) {
        QStringList arguments
            = Text(LogText::Read(Text("starts/") + name).replace('\0', '\n')).split(QLatin1Char('\n'));
        arguments.removeLast();
        starts += arguments;
    }
    std::sort(starts.begin(), starts.end());
    return starts;
}

QList<QStringList> StartsOf(const QStringList& scripts)
{
    QList<QStringList> starts;
    for (const QString& script : scripts)
        starts += QStringList{script};
    return starts;
}

// A named pipe in the current folder. Its reader waits for Open, or for the destructor.
class Valve
{
public:
    explicit Valve(const char* name)
        : iFile(::mkfifo(name, 0600) == 0 ? ::open(name, O_RDWR | O_CLOEXEC) : -1)
    {
    }
    ~Valve() { ::close(iFile); }
    bool Open(const QByteArray& line) const
    {
        return ::write(iFile, line.constData(), size_t(line.size())) == line.size();
    }

private:
    Q_DISABLE_COPY(Valve)

    int iFile;
};

QString PathWith(const QString& folder)
{
    return folder + Text(":") + QString::fromLocal8Bit(qgetenv("PATH"));
}

bool IsScript(int file)
{
    char path[4096];
    const QByteArray link = "/proc/self/fd/" + QByteArray::number(file);
    const ssize_t size = ::readlink(link.constData(), path, sizeof path);
    return QByteArray(path, int(std::max<ssize_t>(size, 0))).endsWith(".sh");
}

} // namespace

extern "C" Q_DECL_EXPORT ssize_t write(int file, const void* bytes, size_t size)
{
    constexpr size_t kRoom = 20;
    if (gIsFull && IsScript(file)) {
        if (::lseek(file, 0, SEEK_CUR) > 0) {
            errno = ENOSPC;
            return -1;
        }
        size = std::min(size, kRoom);
    }
    return ::syscall(SYS_write, file, bytes, size);
}

class tst_SystemReport : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase() { QTextCodec::setCodecForLocale(QTextCodec::codecForName("UTF-8")); }

    void init()
    {
        iFolder = TestSupport::EnterFreshFolder();
        iLogs = iFolder + Text("/t/Logs");
    }

    void emptyLogsFolder_data()
    {
        QTest::addColumn<int>("level");
        QTest::addColumn<bool>("isTraced");
        QTest::addColumn<bool>("isDebugged");
        QTest::newRow("all levels") << kAll << true << true;
        QTest::newRow("only trace") << int(LoggerDefs::Trace) << true << false;
        QTest::newRow("only debug") << int(LoggerDefs::Debug) << false << true;
        QTest::newRow("all but these") << (kAll & ~(LoggerDefs::Trace | LoggerDefs::Debug)) << false << false;
        QTest::newRow("no level") << 0 << false << false;
    }
    void emptyLogsFolder()
    {
        QFETCH(int, level);
        QFETCH(bool, isTraced);
        QFETCH(bool, isDebugged);
        QVERIFY(QDir().mkpath(iLogs));
        const auto result = Recorded("report", {QString::number(level), iFolder + Text("/t")});
        QVERIFY2(result.IsOk(), result.Describe().constData());
        QCOMPARE(Tree(iLogs), Texts({"graphics.sh", "qtdiag.sh"}));
        QCOMPARE(LogText::Read(iLogs + Text("/qtdiag.sh")), DiagnosticText(ProgramPath(), iLogs.toUtf8()));
        QCOMPARE(LogText::Read(iLogs + Text("/graphics.sh")), GraphicsText(iLogs.toUtf8()));
        QCOMPARE(Starts(), StartsOf(Both(iLogs)));
        QList<QByteArray> lines;
        if (isTraced)
            lines += QList<QByteArray>{"|25|Trace|ReportSystemDetails|Enter.",
                                       "|25|Trace|SystemConfig::GetPath|The test path is " + iFolder.toUtf8() + "/t"};
        if (isDebugged)
            lines += AllLines(iLogs.toUtf8());
        QCOMPARE(BodiesOf(result), lines);
        QCOMPARE(result.iStdout + result.iStderr, QByteArray());
    }

    void scriptsAreNotExecutable()
    {
        QVERIFY(QDir().mkpath(iLogs));
        QVERIFY(Recorded("report", {Text("0"), iFolder + Text("/t")}).IsOk());
        for (const QString& script : Both(iLogs)) {
            struct stat status = {};
            QCOMPARE(::stat(script.toUtf8().constData(), &status), 0);
            QCOMPARE(int(status.st_mode & 0111), 0);
        }
    }

    void usersFolder_data()
    {
        QTest::addColumn<QByteArray>("folder");
        QTest::addColumn<QByteArray>("logs");
        QTest::newRow("plain") << QByteArray("u") << QByteArray("u/Logs");
        QTest::newRow("separator at the end") << QByteArray("u/") << QByteArray("u/Logs");
        QTest::newRow("blanks") << QByteArray(" u  v ") << QByteArray(" u  v /Logs");
        QTest::newRow("template marks") << QByteArray("%1 %2") << QByteArray("%1 %2/Logs");
        QTest::newRow("quotes") << QByteArray("it's \"$x`y`\\") << QByteArray("it's \"$x`y`\\/Logs");
        QTest::newRow("beyond ASCII") << QByteArray("\xc3\xbc\xe6\x97\xa5\xf0\x9f\x98\x80")
                                      << QByteArray("\xc3\xbc\xe6\x97\xa5\xf0\x9f\x98\x80/Logs");
        QTest::newRow("empty") << QByteArray() << QByteArray("./Logs");
    }
    void usersFolder()
    {
        QFETCH(QByteArray, folder);
        QFETCH(QByteArray, logs);
        const QString path = Text(logs);
        QVERIFY(QDir().mkpath(path));
        const auto result = Recorded("usersReport", {Text(folder)});
        QVERIFY2(result.IsOk(), result.Describe().constData());
        QCOMPARE(LogText::Read(path + Text("/qtdiag.sh")), DiagnosticText(ProgramPath(), logs));
        QCOMPARE(LogText::Read(path + Text("/graphics.sh")), GraphicsText(logs));
        QCOMPARE(Starts(), StartsOf(Both(path)));
        QCOMPARE(BodiesOf(result),
                 (QList<QByteArray>{"|25|Trace|ReportSystemDetails|Enter.",
                                    "|25|Trace|SystemConfig::GetPath|The test path is "}
                  + AllLines(logs)));
    }

    void existingLogs_data()
    {
        QTest::addColumn<QStringList>("existing");
        QTest::addColumn<QStringList>("scripts");
        QTest::newRow("diagnostic") << Texts({"qtdiag.log"}) << Texts({"graphics.sh"});
        QTest::newRow("graphics") << Texts({"graphics.log"}) << Texts({"qtdiag.sh"});
        QTest::newRow("both") << Texts({"graphics.log", "qtdiag.log"}) << QStringList();
        QTest::newRow("diagnostic folder") << Texts({"qtdiag.log/"}) << Texts({"graphics.sh"});
        QTest::newRow("graphics folder") << Texts({"graphics.log/"}) << Texts({"qtdiag.sh"});
        QTest::newRow("other names") << Texts({"GRAPHICS.log", "qtdiag.log1", "qtdiag.txt"})
                                     << Texts({"graphics.sh", "qtdiag.sh"});
    }
    void existingLogs()
    {
        QFETCH(QStringList, existing);
        QFETCH(QStringList, scripts);
        QVERIFY(QDir().mkpath(iLogs));
        for (const QString& name : qAsConst(existing)) {
            const QString path = iLogs + Text("/") + name;
            QVERIFY(name.endsWith(QLatin1Char('/')) ? QDir().mkdir(path) : Write(path, "old"));
        }
        const auto result = Recorded("report", {QString::number(kAll & ~LoggerDefs::Trace), iFolder + Text("/t")});
        QVERIFY2(result.IsOk(), result.Describe().constData());
        QStringList tree = existing + scripts;
        tree.sort();
        QCOMPARE(Tree(iLogs), tree);
        QStringList started;
        for (const QString& script : qAsConst(scripts))
            started += iLogs + Text("/") + script;
        QCOMPARE(Starts(), StartsOf(started));
        QList<QByteArray> lines = BeginLines(iLogs.toUtf8());
        if (scripts.contains(Text("qtdiag.sh")))
            lines += DiagnosticLines(iLogs.toUtf8());
        if (scripts.contains(Text("graphics.sh")))
            lines += GraphicsLines(iLogs.toUtf8());
        QCOMPARE(BodiesOf(result), lines);
        for (const QString& name : qAsConst(existing)) {
            if (!name.endsWith(QLatin1Char('/')))
                QCOMPARE(LogText::Read(iLogs + Text("/") + name), QByteArray("old"));
        }
    }

    void deadLinkIsNoLog()
    {
        QVERIFY(QDir().mkpath(iLogs));
        QVERIFY(QFile::link(Text("nowhere"), iLogs + Text("/qtdiag.log"))
                && QFile::link(Text("nowhere"), iLogs + Text("/graphics.log")));
        QVERIFY(Recorded("report", {Text("0"), iFolder + Text("/t")}).IsOk());
        QCOMPARE(Starts(), StartsOf(Both(iLogs)));
    }

    void existingScriptsAreReplaced_data()
    {
        QTest::addColumn<bool>("isLinked");
        QTest::newRow("files") << false;
        QTest::newRow("links") << true;
    }
    void existingScriptsAreReplaced()
    {
        QFETCH(bool, isLinked);
        QVERIFY(QDir().mkpath(iLogs));
        const QByteArray old(10000, 'x');
        const QStringList scripts = Both(iLogs);
        QStringList kept;
        for (const QString& script : scripts) {
            kept += Text("kept ") + QFileInfo(script).fileName();
            QVERIFY(Write(kept.last(), old, QFile::ExeOwner | QFile::ExeUser));
            const QByteArray from = kept.last().toUtf8();
            const QByteArray to = script.toUtf8();
            QCOMPARE(isLinked ? ::symlink(("../../" + from).constData(), to.constData())
                              : ::link(from.constData(), to.constData()),
                     0);
        }
        const auto result = Recorded("report", {Text("0"), iFolder + Text("/t")});
        QVERIFY2(result.IsOk(), result.Describe().constData());
        QCOMPARE(Tree(iLogs), Texts({"graphics.sh", "qtdiag.sh"}));
        QCOMPARE(LogText::Read(iLogs + Text("/qtdiag.sh")), DiagnosticText(ProgramPath(), iLogs.toUtf8()));
        QCOMPARE(LogText::Read(iLogs + Text("/graphics.sh")), GraphicsText(iLogs.toUtf8()));
        for (int i = 0; i < scripts.size(); ++i) {
            QCOMPARE(LogText::Read(kept[i]), old);
            QVERIFY(!QFileInfo(scripts[i]).isSymLink());
            QVERIFY(!QFileInfo(scripts[i]).isExecutable());
        }
    }

    void folderInTheWayOfAScript()
    {
        QVERIFY(QDir().mkpath(iLogs + Text("/qtdiag.sh/x")));
        const auto result = Recorded("report", {QString::number(kAll & ~LoggerDefs::Trace), iFolder + Text("/t")});
        QVERIFY2(result.IsOk(), result.Describe().constData());
        QCOMPARE(Tree(iLogs), Texts({"graphics.sh", "qtdiag.sh/", "qtdiag.sh/x/"}));
        QCOMPARE(Starts(), StartsOf({iLogs + Text("/graphics.sh")}));
        QCOMPARE(BodiesOf(result), AllLines(iLogs.toUtf8()));
        QCOMPARE(result.iStdout + result.iStderr, QByteArray());
    }

    void noLogsFolder_data()
    {
        QTest::addColumn<QByteArray>("way");
        QTest::addColumn<QStringList>("tree");
        QTest::newRow("missing") << QByteArray("mkdir t") << Texts({"t/"});
        QTest::newRow("missing with its parent") << QByteArray(":") << QStringList();
        QTest::newRow("file") << QByteArray("mkdir t; echo x > t/Logs") << Texts({"t/", "t/Logs"});
        QTest::newRow("dead link") << QByteArray("mkdir t; ln -s nowhere t/Logs") << Texts({"t/", "t/Logs"});
        QTest::newRow("other case") << QByteArray("mkdir -p t/logs") << Texts({"t/", "t/logs/"});
    }
    void noLogsFolder()
    {
        QFETCH(QByteArray, way);
        QFETCH(QStringList, tree);
        QCOMPARE(QProcess::execute(Text("sh"), {Text("-c"), Text(way)}), 0);
        const auto result = Recorded("report", {QString::number(kAll & ~LoggerDefs::Trace), iFolder + Text("/t")});
        QVERIFY2(result.IsOk(), result.Describe().constData());
        QCOMPARE(Starts(), QList<QStringList>());
        QCOMPARE(BodiesOf(result), AllLines(iLogs.toUtf8()));
        QCOMPARE(result.iStdout + result.iStderr, QByteArray());
        QVERIFY(QDir(Text("starts")).removeRecursively() && QDir(Text("record")).removeRecursively());
        QCOMPARE(Tree(iFolder), Texts({"app.log"}) + tree);
    }

    void logsFolderThatCannotBeWritten_data()
    {
        QTest::addColumn<bool>("isOrdinary");
        QTest::newRow("ordinary user") << true;
        if (OrdinaryUser::IsTestRoot())
            QTest::newRow("root") << false;
    }
    void logsFolderThatCannotBeWritten()
    {
        QFETCH(bool, isOrdinary);
        QVERIFY(QDir().mkpath(iLogs));
        QCOMPARE(::chmod(iLogs.toUtf8().constData(), 0555), 0);
        DetachedScenario scenario;
        OrdinaryUser::Own(iLogs);
        OrdinaryUser::Own(iFolder);
        const auto result = isOrdinary ? scenario.Run("ordinaryReport", {iFolder + Text("/t")})
                                       : scenario.Run("report", {Text("32"), iFolder + Text("/t")});
        const bool hasEnded = scenario.WaitForRest();
        const QStringList tree = Tree(iLogs);
        QCOMPARE(::chmod(iLogs.toUtf8().constData(), 0755), 0);
        QVERIFY2(result.IsOk(), result.Describe().constData());
        QVERIFY(hasEnded);
        QCOMPARE(tree, isOrdinary ? QStringList() : Texts({"graphics.log", "graphics.sh", "qtdiag.log", "qtdiag.sh"}));
        QCOMPARE(BodiesOf(result), AllLines(iLogs.toUtf8()));
    }

    void scriptThatOnlyItsFolderLetsReplace()
    {
        QVERIFY(Write(iLogs + Text("/qtdiag.sh"), "old"));
        QCOMPARE(::chmod((iLogs + Text("/qtdiag.sh")).toUtf8().constData(), 0444), 0);
        OrdinaryUser::Own(iLogs);
        OrdinaryUser::Own(iFolder);
        DetachedScenario scenario;
        const auto result = scenario.Run("ordinaryReport", {iFolder + Text("/t")});
        QVERIFY2(result.IsOk(), result.Describe().constData());
        QVERIFY(scenario.WaitForRest());
        QCOMPARE(LogText::Read(iLogs + Text("/qtdiag.sh")), DiagnosticText(ProgramPath(), iLogs.toUtf8()));
    }

    void scriptThatItsFolderDoesNotLetRemoveIsOverwritten()
    {
        const QString script = iLogs + Text("/qtdiag.sh");
        QVERIFY(Write(script, QByteArray(10000, 'x')));
        OrdinaryUser::Own(script);
        OrdinaryUser::Own(iLogs);
        OrdinaryUser::Own(iFolder);
        QCOMPARE(::chmod(iLogs.toUtf8().constData(), 0555), 0);
        DetachedScenario scenario;
        const auto result = scenario.Run("ordinaryReport", {iFolder + Text("/t")});
        const bool hasEnded = scenario.WaitForRest();
        QCOMPARE(::chmod(iLogs.toUtf8().constData(), 0755), 0);
        QVERIFY2(result.IsOk(), result.Describe().constData());
        QVERIFY(hasEnded);
        QCOMPARE(LogText::Read(script), DiagnosticText(ProgramPath(), iLogs.toUtf8()));
    }

    // Files in the script's place that the user cannot remove, in a folder that may be shared.
    void scriptsThatAreNotTheUsersAreNotStarted_data()
    {
        QTest::addColumn<QByteArray>("way");
        QTest::addColumn<int>("mode"); // of the folder
        QTest::newRow("link to the user's file") << QByteArray("ln -s ../../mine t/Logs/qtdiag.sh") << 0555;
        QTest::newRow("link to nowhere") << QByteArray("ln -s ../../none t/Logs/qtdiag.sh") << 0555;
        QTest::newRow("pipe") << QByteArray("mkfifo -m 666 t/Logs/qtdiag.sh") << 0555;
        if (!OrdinaryUser::IsTestRoot())
            return;
        const QByteArray stranger = "cp mine t/Logs/qtdiag.sh; chown 65533 t/Logs/qtdiag.sh; chmod ";
        QTest::newRow("a stranger's") << stranger + "644 t/Logs/qtdiag.sh" << 01777;
        QTest::newRow("a stranger's, open to all") << stranger + "666 t/Logs/qtdiag.sh" << 01777;
    }
    void scriptsThatAreNotTheUsersAreNotStarted()
    {
        QFETCH(QByteArray, way);
        QFETCH(int, mode);
        const QByteArray old("old");
        QVERIFY(QDir().mkpath(iLogs) && Write(Text("mine"), old));
        QCOMPARE(QProcess::execute(Text("sh"), {Text("-c"), Text(way)}), 0);
        OrdinaryUser::Own(iFolder + Text("/mine"));
        OrdinaryUser::Own(iFolder);
        if (mode == 0555)
            OrdinaryUser::Own(iLogs);
        QCOMPARE(::chmod(iLogs.toUtf8().constData(), mode_t(mode)), 0);
        const auto result = Recorded("ordinaryReport", {iFolder + Text("/t")});
        const QStringList tree = Tree(iFolder);
        QCOMPARE(::chmod(iLogs.toUtf8().constData(), 0755), 0);
        QVERIFY2(result.IsOk(), result.Describe().constData());
        QStringList expected;
        if (mode != 0555)
            expected += iLogs + Text("/graphics.sh");
        QCOMPARE(Starts(), StartsOf(expected));
        QCOMPARE(LogText::Read(Text("mine")), old);
        QVERIFY(!QFile::exists(Text("none")));
        if (QFileInfo(iLogs + Text("/qtdiag.sh")).isFile())
            QCOMPARE(LogText::Read(iLogs + Text("/qtdiag.sh")), old);
    }

    void scriptsThatWereCutShortAreNotStarted()
    {
        QVERIFY(QDir().mkpath(iLogs));
        const auto result = Recorded("fullReport", {iFolder + Text("/t")});
        QVERIFY2(result.IsOk(), result.Describe().constData());
        QCOMPARE(Starts(), QList<QStringList>());
        QCOMPARE(LogText::Read(iLogs + Text("/qtdiag.sh")).size(), 20);
    }

    void wholeLife_data()
    {
        QTest::addColumn<QString>("folder");
        QTest::newRow("plain") << Text("p");
        QTest::newRow("blanks") << Text(" p  q ");
        QTest::newRow("template marks") << Text("%1 %2 %L1");
        QTest::newRow("signs of the shell") << Text("it's;a&b|c>d(e)*?[f]#~");
        QTest::newRow("line break") << Text("a\nb");
        QTest::newRow("beyond ASCII") << Text("\xc3\xbc \xe6\x97\xa5 \xf0\x9f\x98\x80");
    }
    void wholeLife()
    {
        QFETCH(QString, folder);
        const QString program = CopiedProgram(folder);
        QVERIFY(!program.isEmpty());
        const QString user = iFolder + Text("/") + folder + Text("/t");
        const QString logs = user + Text("/Logs");
        QVERIFY(QDir().mkpath(logs));
        QVERIFY(WriteProgram(folder + Text("/qtdiag"), "echo \"Build $#\"; echo Theme; echo x; echo 'GPU y'"));
        QVERIFY(MakeTools());

        DetachedScenario scenario;
        scenario.SetProgram(program);
        scenario.SetVariable("PATH", PathWith(iFolder + Text("/tools")));
        const auto result = scenario.Run("report", {Text("0"), user});
        QVERIFY2(result.IsOk(), result.Describe().constData());
        QVERIFY(scenario.WaitForRest());
        QCOMPARE(LogText::Read(logs + Text("/qtdiag.log")), QByteArray("Build 0\nTheme\nx\nGPU y\n"));

        const InstalledHook hook;
        SystemConfig::SetTestPath(user);
        QVERIFY(SystemConfig::SystemDetailsExist());
        QCOMPARE(SystemConfig::GetQtDialogData(), Text("Build 0\r\nGPU y\r\n"));
        QCOMPARE(SystemConfig::GetQMacSystemProfilertData(), Text("lspci -nnk -d ::03xx\n\nadapter\n\n"));
        SystemConfig::RemoveShFiles();
        QCOMPARE(Tree(logs), Texts({"graphics.log", "qtdiag.log"}));
    }

    void diagnosticProgramIsMissingOrFails_data()
    {
        QTest::addColumn<QByteArray>("body");
        QTest::addColumn<QString>("data");
        QTest::newRow("missing") << QByteArray() << QString();
        QTest::newRow("fails") << QByteArray("exit 1") << QString();
        QTest::newRow("crashes having spoken") << QByteArray("echo a; kill -KILL $$") << Text("a\r\n");
        QTest::newRow("errors are not collected") << QByteArray("echo a >&2; echo b") << Text("b\r\n");
    }
    void diagnosticProgramIsMissingOrFails()
    {
        QFETCH(QByteArray, body);
        QFETCH(QString, data);
        const QString program = CopiedProgram(Text("p"));
        QVERIFY(!program.isEmpty());
        QVERIFY(QDir().mkpath(iLogs) && MakeTools());
        QVERIFY(body.isEmpty() || WriteProgram(Text("p/qtdiag"), body));
        DetachedScenario scenario;
        scenario.SetProgram(program);
        scenario.SetVariable("PATH", PathWith(iFolder + Text("/tools")));
        const auto result = scenario.Run("report", {Text("0"), iFolder + Text("/t")});
        QVERIFY2(result.IsOk(), result.Describe().constData());
        QVERIFY(scenario.WaitForRest());
        const InstalledHook hook;
        SystemConfig::SetTestPath(iFolder + Text("/t"));
        QVERIFY(SystemConfig::SystemDetailsExist());
        QCOMPARE(SystemConfig::GetQtDialogData(), data);
        QCOMPARE(SystemConfig::GetQMacSystemProfilertData(), Text("lspci -nnk -d ::03xx\n\nadapter\n\n"));
    }

    // Both tools wait until someone writes to them. The caller has ended long before.
    void returnsWhileTheToolsHang()
    {
        const QString program = CopiedProgram(Text("p"));
        QVERIFY(!program.isEmpty());
        QVERIFY(QDir().mkpath(iLogs) && QDir().mkpath(Text("tools")));
        const Valve diagnostic("free-diagnostic");
        const Valve graphics("free-graphics");
        const QByteArray here = iFolder.toUtf8();
        QVERIFY(WriteProgram(Text("p/qtdiag"), "echo GPU; read end < " + here + "/free-diagnostic; echo $end"));
        QVERIFY(WriteProgram(Text("tools/timeout"),
                             "[ $4 = lspci ] || exit 1; read end < " + here + "/free-graphics; echo $end"));
        DetachedScenario scenario;
        scenario.SetProgram(program);
        scenario.SetVariable("PATH", PathWith(iFolder + Text("/tools")));
        const auto result = scenario.Run("report", {Text("0"), iFolder + Text("/t")});
        QVERIFY2(result.IsOk(), result.Describe().constData());
        QVERIFY(scenario.HasLeft());

        const InstalledHook hook;
        SystemConfig::SetTestPath(iFolder + Text("/t"));
        // The shell creates the logs before the tools print anything.
        QTRY_VERIFY_WITH_TIMEOUT(SystemConfig::SystemDetailsExist(), 60000);
        QCOMPARE(SystemConfig::GetQMacSystemProfilertData(), QString());
        QVERIFY(diagnostic.Open("done\n") && graphics.Open("done\n"));
        QVERIFY(scenario.WaitForRest());
        QCOMPARE(SystemConfig::GetQtDialogData(), Text("GPU\r\ndone\r\n"));
        QCOMPARE(SystemConfig::GetQMacSystemProfilertData(), Text("lspci -nnk -d ::03xx\n\ndone\n\n"));
    }

    void secondReportStartsNothing()
    {
        QVERIFY(Write(iLogs + Text("/qtdiag.log"), "") && Write(iLogs + Text("/graphics.log"), ""));
        QVERIFY(Recorded("report", {Text("0"), iFolder + Text("/t")}).IsOk());
        QCOMPARE(Starts(), QList<QStringList>());
        QCOMPARE(Tree(iLogs), Texts({"graphics.log", "qtdiag.log"}));
    }

    // The framework's own program, and the tools of this machine.
    void realPrograms()
    {
        const QString qtdiag = QLibraryInfo::location(QLibraryInfo::BinariesPath) + Text("/qtdiag");
        QVERIFY2(QFile::exists(qtdiag), qPrintable(qtdiag));
        const QString program = CopiedProgram(Text("p q"));
        QVERIFY(!program.isEmpty());
        QVERIFY(QDir().mkpath(iLogs) && QFile::link(qtdiag, Text("p q/qtdiag")));
        DetachedScenario scenario;
        scenario.SetProgram(program);
        scenario.SetVariable("QT_QPA_PLATFORM", Text("offscreen"));
        const auto result = scenario.Run("report", {Text("0"), iFolder + Text("/t")});
        QVERIFY2(result.IsOk(), result.Describe().constData());
        QVERIFY(scenario.WaitForRest());

        const InstalledHook hook;
        SystemConfig::SetTestPath(iFolder + Text("/t"));
        QVERIFY(SystemConfig::SystemDetailsExist());
        const QByteArray whole = LogText::Read(iLogs + Text("/qtdiag.log"));
        const QList<QByteArray> lines = LogText::Lines(SystemConfig::GetQtDialogData().toUtf8());
        QVERIFY2(whole.contains("\nLibrary info:") && whole.contains("\nPalette:"), whole.constData());
        QVERIFY2(lines.value(0).startsWith("Qt "), whole.constData());
        for (const char* const heading :
             {"Architecture: ", "Features:", "Network:", "Platform capabilities:", "Screens:"})
            QCOMPARE(
                int(std::count_if(lines.begin(), lines.end(), [&](const auto& l) { return l.startsWith(heading); })),
                1);
        for (const QByteArray& line : lines) {
            QVERIFY2(line.endsWith('\r'), line.constData());
            QVERIFY2(whole.contains(line.chopped(1) + "\n"), line.constData());
            for (const char* const heading :
                 {"Library info", "Standard paths", "Style hints", "Theme:", "Fonts:", "Palette:"})
                QVERIFY2(!line.startsWith(heading), line.constData());
        }
        const QString graphics = SystemConfig::GetQMacSystemProfilertData();
        QVERIFY(!graphics.isEmpty());
        QCOMPARE(graphics.toUtf8(), LogText::Read(iLogs + Text("/graphics.log")));
    }

private:
    // With a "sh" that records its arguments and does nothing.
    TestSupport::ScenarioResult Recorded(const char* name, const QStringList& arguments)
    {
        TestSupport::ScenarioResult none;
        if (!QDir().mkdir(Text("starts")) || ::chmod("starts", 0777) != 0
            || !WriteProgram(Text("record/sh"), "printf '%s\\0' \"$@\" > " + iFolder.toUtf8() + "/starts/$$"))
            return none;
        DetachedScenario scenario;
        scenario.SetVariable("PATH", PathWith(iFolder + Text("/record")));
        const auto result = scenario.Run(name, arguments);
        return scenario.WaitForRest() ? result : none;
    }

    // This program in another folder: the diagnostic program is looked for beside it.
    static QString CopiedProgram(const QString& folder)
    {
        const QString program = QDir::currentPath() + Text("/") + folder + Text("/program");
        return QDir().mkdir(folder) && QFile::copy(QCoreApplication::applicationFilePath(), program) ? program
                                                                                                     : QString();
    }

    // Only the first of the tools prints anything.
    static bool MakeTools()
    {
        bool isMade = WriteProgram(Text("tools/lspci"), "echo adapter");
        for (const char* const name : {"lshw", "glxinfo", "xrandr"})
            isMade = isMade && WriteProgram(Text("tools/") + Text(name), ":");
        return isMade;
    }

    QString iFolder;
    QString iLogs;
};

NEROLT_TEST_MAIN(tst_SystemReport)

#include "tst_SystemReport.moc"
