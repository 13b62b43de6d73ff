#include "DetachedScenario.h"
#include "InstalledHook.h"
#include "PathText.h"
#include "support/Framework.h"
#include "support/LogScenario.h"
#include "support/OrdinaryUser.h"
#include "system/ReportText.h"

#include <NeroltOrvaneBase/SystemConfig.h>

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

// As an ordinary user with real and effective ids: a shell would reset an effective id alone.
const Scenario ordinaryReport("ordinaryReport", [](const QStringList& arguments) {
    QCoreApplication::applicationDirPath(); // while it can be found
    if (OrdinaryUser::IsTestRoot() && (::setgid(65534) != 0 || ::setuid(65534) != 0))
        return 1;
    return Logged(arguments[0].toInt(), [&] {
        SystemConfig::SetTestPath(arguments[1]);
        SystemConfig::ReportSystemDetails();
    });
});

// Whether the disk is full for scripts, so that they are truncated.
bool gIsFull = false;

const Scenario fullReport("fullReport", [](const QStringList& arguments) {
    gIsFull = true;
    const InstalledHook hook;
    SystemConfig::SetTestPath(arguments[1]);
    SystemConfig::ReportSystemDetails();
    return 0;
});

QByteArray ProgramPath()
{
    return QCoreApplication::applicationDirPath().toUtf8() + "/qtdiag";
}

QByteArray DiagnosticText(const QByteArray& program, const QByteArray& logs)
{
    return "\"" + program + "\" > \"" + logs + "/qtdiag.log\"";
}

// Tested by tst_GraphicsScript.
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

// The arguments of each "sh" that was started, with NULs between them, sorted.
QStringList Starts()
{
    QStringList starts;
    for (const QString& name : QDir(Text("starts")).entryList(QDir::Files))
        starts += QString::fromUtf8(LogText::Read(Text("starts/") + name).chopped(1));
    starts.sort();
    return starts;
}

bool IsScript(int file)
{
    char path[4096];
    const QByteArray link = "/proc/self/fd/" + QByteArray::number(file);
    const ssize_t size = ::readlink(link.constData(), path, sizeof path);
    return QByteArray(path, int(std::max<ssize_t>(size, 0))).endsWith(".sh");
}

// The removed files, in order.
QList<QByteArray> gRemoved;

} // namespace

// The only function with which Qt removes files.
extern "C" Q_DECL_EXPORT int unlink(const char* path) noexcept
{
    gRemoved += path;
    return int(::syscall(SYS_unlinkat, AT_FDCWD, path, 0));
}

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
    void initTestCase() { TestSupport::SetLocalCodec("UTF-8"); }

    void init()
    {
        iFolder = TestSupport::EnterFreshFolder();
        iUser = iFolder + Text("/it's %1 %2 $HOME `t`");
        iLogs = iUser + Text("/Logs");
    }

    void emptyLogsFolder_data() { LogScenario::AddMasks({LoggerDefs::Trace, LoggerDefs::Debug}); }
    void emptyLogsFolder()
    {
        QFETCH(int, mask);
        QVERIFY(QDir().mkpath(iLogs));
        const auto result = Recorded("report", mask);
        QVERIFY2(result.IsOk(), result.Describe().constData());
        QCOMPARE(Tree(iLogs), Texts({"graphics.sh", "qtdiag.sh"}));
        QCOMPARE(LogText::Read(iLogs + Text("/qtdiag.sh")), DiagnosticText(ProgramPath(), iLogs.toUtf8()));
        QCOMPARE(LogText::Read(iLogs + Text("/graphics.sh")), GraphicsText(iLogs.toUtf8()));
        QCOMPARE(Starts(), Both(iLogs));
        const QList<QByteArray> traces{"|25|Trace|ReportSystemDetails|Enter.",
                                       "|25|Trace|SystemConfig::GetPath|The test path is " + iUser.toUtf8()};
        QCOMPARE(LogScenario::LeftBy(result), LogScenario::Passing(traces + AllLines(iLogs.toUtf8()), mask));
        for (const QString& script : Both(iLogs))
            QVERIFY(!QFileInfo(script).isExecutable());
    }

    void existingLogs_data()
    {
        QTest::addColumn<bool>("hasDiagnostic");
        QTest::addColumn<bool>("hasGraphics");
        QTest::newRow("diagnostic") << true << false;
        QTest::newRow("graphics") << false << true;
        QTest::newRow("both") << true << true;
    }
    void existingLogs()
    {
        QFETCH(bool, hasDiagnostic);
        QFETCH(bool, hasGraphics);
        const QByteArray logs = iLogs.toUtf8();
        const QString diagnostic = hasDiagnostic ? Text("qtdiag.log") : Text("qtdiag.sh");
        const QString graphics = hasGraphics ? Text("graphics.log") : Text("graphics.sh");
        QVERIFY(QDir().mkpath(iLogs));
        QVERIFY(!hasDiagnostic || Write(iLogs + Text("/qtdiag.log"), "old"));
        QVERIFY(!hasGraphics || Write(iLogs + Text("/graphics.log"), "old"));
        const auto result = Recorded("report");
        QVERIFY2(result.IsOk(), result.Describe().constData());
        QCOMPARE(Tree(iLogs), (QStringList{graphics, diagnostic}));
        QStringList starts = Both(iLogs);
        QList<QByteArray> lines = BeginLines(logs);
        if (hasGraphics)
            starts.removeFirst();
        if (hasDiagnostic)
            starts.removeLast();
        else
            lines += DiagnosticLines(logs);
        if (!hasGraphics)
            lines += GraphicsLines(logs);
        QCOMPARE(Starts(), starts);
        QCOMPARE(LogScenario::LeftBy(result), lines);
        QVERIFY(!hasDiagnostic || LogText::Read(iLogs + Text("/qtdiag.log")) == "old");
        QVERIFY(!hasGraphics || LogText::Read(iLogs + Text("/graphics.log")) == "old");
    }

    // What they were links to stays.
    void existingScriptsAreReplaced()
    {
        QVERIFY(QDir().mkpath(iLogs));
        const QByteArray old(10000, 'x');
        QVERIFY(Write(Text("kept"), old, QFile::ExeOwner | QFile::ExeUser));
        QCOMPARE(::symlink("../../kept", (iLogs + Text("/qtdiag.sh")).toUtf8().constData()), 0);
        QCOMPARE(::link("kept", (iLogs + Text("/graphics.sh")).toUtf8().constData()), 0);
        const auto result = Recorded("report");
        QVERIFY2(result.IsOk(), result.Describe().constData());
        QCOMPARE(LogText::Read(iLogs + Text("/qtdiag.sh")), DiagnosticText(ProgramPath(), iLogs.toUtf8()));
        QCOMPARE(LogText::Read(iLogs + Text("/graphics.sh")), GraphicsText(iLogs.toUtf8()));
        QCOMPARE(LogText::Read(Text("kept")), old);
        for (const QString& script : Both(iLogs))
            QVERIFY(!QFileInfo(script).isSymLink() && !QFileInfo(script).isExecutable());
    }

    // One that only its folder lets replace, and one that its folder does not let remove.
    void scriptIsReplacedOrOverwritten_data()
    {
        QTest::addColumn<int>("mode");
        QTest::addColumn<int>("modeOfFolder");
        QTest::newRow("replaced") << 0444 << 0755;
        QTest::newRow("overwritten") << 0644 << 0555;
    }
    void scriptIsReplacedOrOverwritten()
    {
        QFETCH(int, mode);
        QFETCH(int, modeOfFolder);
        const QString script = iLogs + Text("/qtdiag.sh");
        QVERIFY(Write(script, QByteArray(10000, 'x')));
        QCOMPARE(::chmod(script.toUtf8().constData(), mode_t(mode)), 0);
        for (const QString& path : {script, iLogs, iFolder})
            OrdinaryUser::Own(path);
        QCOMPARE(::chmod(iLogs.toUtf8().constData(), mode_t(modeOfFolder)), 0);
        const auto result = Recorded("ordinaryReport");
        QCOMPARE(::chmod(iLogs.toUtf8().constData(), 0755), 0);
        QVERIFY2(result.IsOk(), result.Describe().constData());
        QCOMPARE(LogText::Read(script), DiagnosticText(ProgramPath(), iLogs.toUtf8()));
        QVERIFY(Starts().contains(script));
    }

    // What is in a script's place and cannot be removed, in a folder that may be shared. Failures are silent.
    void scriptsThatAreNotTheUsersAreNotStarted_data()
    {
        QTest::addColumn<QByteArray>("way");
        QTest::addColumn<int>("mode"); // of the folder
        QTest::addColumn<bool>("startsGraphics");
        QTest::newRow("no folder") << QByteArray("rmdir Logs") << 0755 << false;
        QTest::newRow("file in place of the folder") << QByteArray("rmdir Logs; echo x > Logs") << 0644 << false;
        QTest::newRow("dead link in place of the folder") << QByteArray("rmdir Logs; ln -s none Logs") << 0755 << false;
        QTest::newRow("folder that cannot be written") << QByteArray(":") << 0555 << false;
        QTest::newRow("folder in the way") << QByteArray("mkdir -p Logs/qtdiag.sh/x") << 01777 << true;
        QTest::newRow("link to the user's file") << QByteArray("ln -s ../../mine Logs/qtdiag.sh") << 0555 << false;
        QTest::newRow("link to nowhere") << QByteArray("ln -s ../../none Logs/qtdiag.sh") << 0555 << false;
        QTest::newRow("pipe") << QByteArray("mkfifo -m 666 Logs/qtdiag.sh") << 0555 << false;
        if (!OrdinaryUser::IsTestRoot())
            return;
        const QByteArray stranger = "cp ../mine Logs/qtdiag.sh; chown 65533 Logs/qtdiag.sh; chmod ";
        QTest::newRow("a stranger's") << stranger + "644 Logs/qtdiag.sh" << 01777 << true;
        QTest::newRow("a stranger's, open to all") << stranger + "666 Logs/qtdiag.sh" << 01777 << true;
    }
    void scriptsThatAreNotTheUsersAreNotStarted()
    {
        QFETCH(QByteArray, way);
        QFETCH(int, mode);
        QFETCH(bool, startsGraphics);
        const QByteArray old("old");
        QVERIFY(QDir().mkpath(iLogs) && Write(Text("mine"), old) && QDir::setCurrent(iUser));
        QCOMPARE(QProcess::execute(Text("sh"), {Text("-c"), Text(way)}), 0);
        QVERIFY(QDir::setCurrent(iFolder));
        for (const QString& path : {iFolder + Text("/mine"), iUser, iFolder})
            OrdinaryUser::Own(path);
        ::chmod(iLogs.toUtf8().constData(), mode_t(mode)); // if it is there
        const auto result = Recorded("ordinaryReport");
        ::chmod(iLogs.toUtf8().constData(), 0755);
        QVERIFY2(result.IsOk(), result.Describe().constData());
        QCOMPARE(Starts(), startsGraphics ? QStringList{iLogs + Text("/graphics.sh")} : QStringList());
        QCOMPARE(LogScenario::LeftBy(result), AllLines(iLogs.toUtf8()));
        QCOMPARE(LogText::Read(Text("mine")), old);
        QVERIFY(!QFile::exists(Text("none")) && !QFile::exists(iUser + Text("/none")));
        if (QFileInfo(iLogs + Text("/qtdiag.sh")).isFile())
            QCOMPARE(LogText::Read(iLogs + Text("/qtdiag.sh")), old);
    }

    void scriptsThatWereCutShortAreNotStarted()
    {
        QVERIFY(QDir().mkpath(iLogs));
        const auto result = Recorded("fullReport");
        QVERIFY2(result.IsOk(), result.Describe().constData());
        QCOMPARE(Starts(), QStringList());
        QCOMPARE(LogText::Read(iLogs + Text("/qtdiag.sh")).size(), 20);
    }

    void diagnosticScriptIsRemovedFirst()
    {
        const InstalledHook hook;
        SystemConfig::SetTestPath(iUser);
        QVERIFY(Write(iLogs + Text("/graphics.sh"), "") && Write(iLogs + Text("/qtdiag.sh"), ""));
        const QByteArray logs = iLogs.toUtf8();
        gRemoved.clear();
        SystemConfig::RemoveShFiles();
        QCOMPARE(gRemoved, (QList<QByteArray>{logs + "/qtdiag.sh", logs + "/graphics.sh"}));
    }

private:
    // With a "sh" that records its arguments and does nothing.
    TestSupport::ScenarioResult Recorded(const char* name, int mask = LogScenario::kAllLevels ^ LoggerDefs::Trace) const
    {
        TestSupport::ScenarioResult none;
        if (!QDir().mkdir(Text("starts")) || ::chmod("starts", 0777) != 0
            || !WriteProgram(Text("record/sh"), "printf '%s\\0' \"$@\" > " + iFolder.toUtf8() + "/starts/$$"))
            return none;
        DetachedScenario scenario;
        scenario.SetVariable("PATH", PathWith(iFolder + Text("/record")));
        const auto result = scenario.Run(name, {QString::number(mask), iUser});
        return scenario.WaitForRest() ? result : none;
    }

    QString iFolder;
    QString iUser;
    QString iLogs;
};

NEROLT_TEST_MAIN(tst_SystemReport)

#include "tst_SystemReport.moc"
