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
    return Logged(LogScenario::kAllLevels & ~LoggerDefs::Trace, [&] {
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
    void initTestCase() { TestSupport::SetLocalCodec("UTF-8"); }

    void init()
    {
        iFolder = TestSupport::EnterFreshFolder();
        iLogs = iFolder + Text("/t/Logs");
    }

    void emptyLogsFolder_data() { LogScenario::AddMasks({LoggerDefs::Trace, LoggerDefs::Debug}); }
    void emptyLogsFolder()
    {
        QFETCH(int, mask);
        QVERIFY(QDir().mkpath(iLogs));
        const auto result = Recorded("report", {QString::number(mask), iFolder + Text("/t")});
        QVERIFY2(result.IsOk(), result.Describe().constData());
        QCOMPARE(Tree(iLogs), Texts({"graphics.sh", "qtdiag.sh"}));
        QCOMPARE(LogText::Read(iLogs + Text("/qtdiag.sh")), DiagnosticText(ProgramPath(), iLogs.toUtf8()));
        QCOMPARE(LogText::Read(iLogs + Text("/graphics.sh")), GraphicsText(iLogs.toUtf8()));
        QCOMPARE(Starts(), Both(iLogs));
        const QList<QByteArray> traces{"|25|Trace|ReportSystemDetails|Enter.",
                                       "|25|Trace|SystemConfig::GetPath|The test path is " + iFolder.toUtf8() + "/t"};
        QCOMPARE(BodiesOf(result), LogScenario::Passing(traces + AllLines(iLogs.toUtf8()), mask));
        for (const QString& script : Both(iLogs))
            QVERIFY(!QFileInfo(script).isExecutable());
    }

    void existingLogs_data()
    {
        QTest::addColumn<QStringList>("existing");
        QTest::addColumn<QStringList>("scripts");
        QTest::newRow("diagnostic") << Texts({"qtdiag.log"}) << Texts({"graphics.sh"});
        QTest::newRow("graphics") << Texts({"graphics.log"}) << Texts({"qtdiag.sh"});
        QTest::newRow("both") << Texts({"graphics.log", "qtdiag.log"}) << QStringList();
    }
    void existingLogs()
    {
        QFETCH(QStringList, existing);
        QFETCH(QStringList, scripts);
        QVERIFY(QDir().mkpath(iLogs));
        for (const QString& name : qAsConst(existing))
            QVERIFY(Write(iLogs + Text("/") + name, "old"));
        const auto result
            = Recorded("report", {QString::number(LogScenario::kAllLevels & ~LoggerDefs::Trace), iFolder + Text("/t")});
        QVERIFY2(result.IsOk(), result.Describe().constData());
        QStringList tree = existing + scripts;
        tree.sort();
        QCOMPARE(Tree(iLogs), tree);
        QStringList started;
        for (const QString& script : qAsConst(scripts))
            started += iLogs + Text("/") + script;
        QCOMPARE(Starts(), started);
        QList<QByteArray> lines = BeginLines(iLogs.toUtf8());
        if (scripts.contains(Text("qtdiag.sh")))
            lines += DiagnosticLines(iLogs.toUtf8());
        if (scripts.contains(Text("graphics.sh")))
            lines += GraphicsLines(iLogs.toUtf8());
        QCOMPARE(BodiesOf(result), lines);
        for (const QString& name : qAsConst(existing))
            QCOMPARE(LogText::Read(iLogs + Text("/") + name), QByteArray("old"));
    }

    // What they were links to stays.
    void existingScriptsAreReplaced()
    {
        QVERIFY(QDir().mkpath(iLogs));
        const QByteArray old(10000, 'x');
        QVERIFY(Write(Text("kept"), old, QFile::ExeOwner | QFile::ExeUser));
        QCOMPARE(::symlink("../../kept", (iLogs + Text("/qtdiag.sh")).toUtf8().constData()), 0);
        QCOMPARE(::link("kept", (iLogs + Text("/graphics.sh")).toUtf8().constData()), 0);
        const auto result = Recorded("report", {Text("0"), iFolder + Text("/t")});
        QVERIFY2(result.IsOk(), result.Describe().constData());
        QCOMPARE(LogText::Read(iLogs + Text("/qtdiag.sh")), DiagnosticText(ProgramPath(), iLogs.toUtf8()));
        QCOMPARE(LogText::Read(iLogs + Text("/graphics.sh")), GraphicsText(iLogs.toUtf8()));
        QCOMPARE(LogText::Read(Text("kept")), old);
        for (const QString& script : Both(iLogs))
            QVERIFY(!QFileInfo(script).isSymLink() && !QFileInfo(script).isExecutable());
    }

    void folderInTheWayOfAScript()
    {
        QVERIFY(QDir().mkpath(iLogs + Text("/qtdiag.sh/x")));
        const auto result
            = Recorded("report", {QString::number(LogScenario::kAllLevels & ~LoggerDefs::Trace), iFolder + Text("/t")});
        QVERIFY2(result.IsOk(), result.Describe().constData());
        QCOMPARE(Tree(iLogs), Texts({"graphics.sh", "qtdiag.sh/", "qtdiag.sh/x/"}));
        QCOMPARE(Starts(), QStringList{iLogs + Text("/graphics.sh")});
        QCOMPARE(BodiesOf(result), AllLines(iLogs.toUtf8()));
    }

    void noLogsFolder()
    {
        for (const char* const way : {"mkdir t", "echo x > t/Logs", "ln -sf nowhere t/Logs"}) {
            QCOMPARE(QProcess::execute(Text("sh"), {Text("-c"), Text(way)}), 0);
            const auto result = Recorded("report", {Text("32"), iFolder + Text("/t")});
            QVERIFY2(result.IsOk(), result.Describe().constData());
            QCOMPARE(Starts(), QStringList());
            QCOMPARE(BodiesOf(result), AllLines(iLogs.toUtf8()));
            QVERIFY(!QFileInfo(iLogs).isDir());
            for (const char* const folder : {"starts", "record"})
                QVERIFY(QDir(Text(folder)).removeRecursively());
            QVERIFY(QFile::remove(Text("app.log")));
        }
    }

    void logsFolderThatCannotBeWritten()
    {
        QVERIFY(QDir().mkpath(iLogs));
        OrdinaryUser::Own(iLogs);
        OrdinaryUser::Own(iFolder);
        QCOMPARE(::chmod(iLogs.toUtf8().constData(), 0555), 0);
        DetachedScenario scenario;
        const auto result = scenario.Run("ordinaryReport", {iFolder + Text("/t")});
        const bool hasEnded = scenario.WaitForRest();
        QCOMPARE(::chmod(iLogs.toUtf8().constData(), 0755), 0);
        QVERIFY2(result.IsOk() && hasEnded, result.Describe().constData());
        QCOMPARE(Tree(iLogs), QStringList());
        QCOMPARE(BodiesOf(result), AllLines(iLogs.toUtf8()));
    }

    // One that only its folder lets replace, and one that its folder does not let remove.
    void scriptIsReplacedOrOverwritten()
    {
        for (const int mode : {0444, 0644}) {
            const QString script = iLogs + Text("/qtdiag.sh");
            QFile::remove(script);
            QVERIFY(Write(script, QByteArray(10000, 'x')));
            QCOMPARE(::chmod(script.toUtf8().constData(), mode_t(mode)), 0);
            OrdinaryUser::Own(script);
            OrdinaryUser::Own(iLogs);
            OrdinaryUser::Own(iFolder);
            QCOMPARE(::chmod(iLogs.toUtf8().constData(), mode == 0444 ? 0755 : 0555), 0);
            DetachedScenario scenario;
            const auto result = scenario.Run("ordinaryReport", {iFolder + Text("/t")});
            const bool hasEnded = scenario.WaitForRest();
            QCOMPARE(::chmod(iLogs.toUtf8().constData(), 0755), 0);
            QVERIFY2(result.IsOk() && hasEnded, result.Describe().constData());
            QCOMPARE(LogText::Read(script), DiagnosticText(ProgramPath(), iLogs.toUtf8()));
            for (const char* const log : {"/qtdiag.log", "/graphics.log"})
                QFile::remove(iLogs + Text(log));
        }
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
        QCOMPARE(Starts(), expected);
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
        QCOMPARE(Starts(), QStringList());
        QCOMPARE(LogText::Read(iLogs + Text("/qtdiag.sh")).size(), 20);
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

    QString iFolder;
    QString iLogs;
};

NEROLT_TEST_MAIN(tst_SystemReport)

#include "tst_SystemReport.moc"
