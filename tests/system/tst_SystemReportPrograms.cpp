#include "DetachedScenario.h"
#include "InstalledHook.h"
#include "PathText.h"
#include "support/Framework.h"
#include "support/LogText.h"

#include <NeroltOrvaneBase/SystemConfig.h>

#include <QtTest/QtTest>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

using namespace PathText;

namespace {

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

} // namespace

/// The report with the programs that it starts.
class tst_SystemReportPrograms : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase() { TestSupport::SetLocalCodec("UTF-8"); }

    void init()
    {
        iFolder = TestSupport::EnterFreshFolder();
        iLogs = iFolder + Text("/t/Logs");
    }

    void wholeLife_data()
    {
        QTest::addColumn<QString>("folder");
        QTest::newRow("template marks") << Text("%1 %2 %L1");
        QTest::newRow("signs of the shell") << Text("it's;a&b|c>d(e)*?[f]#~");
        QTest::newRow("beyond ASCII") << Text("\xc3\xbc \xe6\x97\xa5 \xf0\x9f\x98\x80");
    }
    void wholeLife()
    {
        QFETCH(QString, folder);
        const QString user = iFolder + Text("/") + folder + Text("/t");
        QVERIFY(QDir().mkdir(folder) && QDir().mkpath(user + Text("/Logs")));
        QVERIFY(WriteProgram(folder + Text("/qtdiag"), "echo \"Build $#\"; echo Theme; echo x; echo 'GPU y'"));
        QVERIFY(Collect(folder, user));
        QCOMPARE(LogText::Read(user + Text("/Logs/qtdiag.log")), QByteArray("Build 0\nTheme\nx\nGPU y\n"));
        const InstalledHook hook;
        SystemConfig::SetTestPath(user);
        QVERIFY(SystemConfig::SystemDetailsExist());
        QCOMPARE(SystemConfig::GetQtDialogData(), Text("Build 0\r\nGPU y\r\n"));
        QCOMPARE(SystemConfig::GetQMacSystemProfilertData(), Text("lspci -nnk -d ::03xx\n\nadapter\n\n"));
        SystemConfig::RemoveShFiles();
        QCOMPARE(Tree(user + Text("/Logs")), Texts({"graphics.log", "qtdiag.log"}));
    }

    void diagnosticProgramIsMissingOrFails_data()
    {
        QTest::addColumn<QByteArray>("body");
        QTest::addColumn<QString>("data");
        QTest::newRow("missing") << QByteArray() << QString();
        QTest::newRow("crashes having spoken") << QByteArray("echo a; kill -KILL $$") << Text("a\r\n");
        QTest::newRow("errors are not collected") << QByteArray("echo a >&2; echo b") << Text("b\r\n");
    }
    void diagnosticProgramIsMissingOrFails()
    {
        QFETCH(QByteArray, body);
        QFETCH(QString, data);
        QVERIFY(QDir().mkdir(Text("p")) && QDir().mkpath(iLogs));
        QVERIFY(body.isEmpty() || WriteProgram(Text("p/qtdiag"), body));
        QVERIFY(Collect(Text("p"), iFolder + Text("/t")));
        const InstalledHook hook;
        SystemConfig::SetTestPath(iFolder + Text("/t"));
        QVERIFY(SystemConfig::SystemDetailsExist());
        QCOMPARE(SystemConfig::GetQtDialogData(), data);
        QCOMPARE(SystemConfig::GetQMacSystemProfilertData(), Text("lspci -nnk -d ::03xx\n\nadapter\n\n"));
    }

    // Both tools wait until someone writes to them. The caller has ended long before.
    void returnsWhileTheToolsHang()
    {
        QVERIFY(QDir().mkdir(Text("p")) && QDir().mkpath(iLogs) && QDir().mkpath(Text("tools")));
        const Valve diagnostic("free-diagnostic");
        const Valve graphics("free-graphics");
        const QByteArray here = iFolder.toUtf8();
        QVERIFY(WriteProgram(Text("p/qtdiag"), "echo GPU; read end < " + here + "/free-diagnostic; echo $end"));
        QVERIFY(WriteProgram(Text("tools/timeout"),
                             "[ $4 = lspci ] || exit 1; read end < " + here + "/free-graphics; echo $end"));
        DetachedScenario scenario;
        scenario.SetProgram(CopiedProgram(Text("p")));
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

    // The framework's own program, and the tools of this machine.
    void realPrograms()
    {
        const QString qtdiag = TestSupport::ProgramsFolder() + Text("/qtdiag");
        QVERIFY2(QFile::exists(qtdiag), qPrintable(qtdiag));
        QVERIFY(QDir().mkdir(Text("p q")) && QDir().mkpath(iLogs) && QFile::link(qtdiag, Text("p q/qtdiag")));
        DetachedScenario scenario;
        scenario.SetProgram(CopiedProgram(Text("p q")));
        scenario.SetVariable("QT_QPA_PLATFORM", Text("offscreen"));
        const auto result = scenario.Run("report", {Text("0"), iFolder + Text("/t")});
        QVERIFY2(result.IsOk() && scenario.WaitForRest(), result.Describe().constData());
        const InstalledHook hook;
        SystemConfig::SetTestPath(iFolder + Text("/t"));
        const QByteArray whole = LogText::Read(iLogs + Text("/qtdiag.log"));
        const QByteArray excerpt = SystemConfig::GetQtDialogData().toUtf8();
        QVERIFY2(excerpt.startsWith("Qt "), excerpt);
        for (const char* const heading :
             {"Architecture: ", "Features:", "Network:", "Platform capabilities:", "Screens:"})
            QCOMPARE(excerpt.count(QByteArray("\r\n") + heading), 1);
        for (const char* const heading : {"Library info", "Standard paths", "Fonts:", "Palette:"}) {
            QVERIFY2(whole.contains(QByteArray("\n") + heading), whole);
            QVERIFY2(!excerpt.contains(QByteArray("\n") + heading), excerpt);
        }
        QCOMPARE(SystemConfig::GetQMacSystemProfilertData().toUtf8(), LogText::Read(iLogs + Text("/graphics.log")));
    }

private:
    // This program in another folder: the diagnostic program is looked for beside it.
    static QString CopiedProgram(const QString& folder)
    {
        const QString program = QDir::currentPath() + Text("/") + folder + Text("/program");
        return QFile::copy(QCoreApplication::applicationFilePath(), program) ? program : QString();
    }

    // Makes a report to its end by a program in the folder. Only the first of the tools prints anything.
    bool Collect(const QString& folder, const QString& user) const
    {
        bool isMade = WriteProgram(Text("tools/lspci"), "echo adapter");
        for (const char* const name : {"lshw", "glxinfo", "xrandr"})
            isMade = isMade && WriteProgram(Text("tools/") + Text(name), ":");
        DetachedScenario scenario;
        scenario.SetProgram(CopiedProgram(folder));
        scenario.SetVariable("PATH", PathWith(iFolder + Text("/tools")));
        return isMade && scenario.Run("report", {Text("0"), user}).IsOk() && scenario.WaitForRest();
    }

    QString iFolder;
    QString iLogs;
};

NEROLT_TEST_MAIN(tst_SystemReportPrograms)

#include "tst_SystemReportPrograms.moc"
