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
        QTest::addColumn<QByteArray>("diagnostic");
        QTest::addColumn<QByteArray>("output");
        QTest::addColumn<QString>("data");
        QTest::newRow("all speak") << QByteArray("echo \"Build $#\"; echo Theme; echo x; echo 'GPU y'")
                                   << QByteArray("Build 0\nTheme\nx\nGPU y\n") << Text("Build 0\r\nGPU y\r\n");
        QTest::newRow("no diagnostic program") << QByteArray() << QByteArray() << QString();
        QTest::newRow("it crashes having spoken")
            << QByteArray("echo a; echo b >&2; kill -KILL $$") << QByteArray("a\n") << Text("a\r\n");
    }
    void wholeLife()
    {
        QFETCH(QByteArray, diagnostic);
        QFETCH(QByteArray, output);
        QFETCH(QString, data);
        const QString folder = Text("%1 it's;a&b|c>d(e)*?[f]#~ \xc3\xbc");
        const QString user = iFolder + Text("/") + folder + Text("/t");
        QVERIFY(QDir().mkpath(user + Text("/Logs")));
        QVERIFY(diagnostic.isEmpty() || WriteProgram(folder + Text("/qtdiag"), diagnostic));
        QVERIFY(WriteProgram(Text("tools/lspci"), "echo adapter"));
        for (const char* const name : {"lshw", "glxinfo", "xrandr"})
            QVERIFY(WriteProgram(Text("tools/") + Text(name), ":"));
        DetachedScenario scenario;
        scenario.SetProgram(CopiedProgram(folder));
        scenario.SetVariable("PATH", PathWith(iFolder + Text("/tools")));
        const auto result = scenario.Run("report", {Text("0"), user});
        QVERIFY2(result.IsOk() && scenario.WaitForRest(), result.Describe().constData());
        QCOMPARE(LogText::Read(user + Text("/Logs/qtdiag.log")), output);
        const InstalledHook hook;
        SystemConfig::SetTestPath(user);
        QVERIFY(SystemConfig::SystemDetailsExist());
        QCOMPARE(SystemConfig::GetQtDialogData(), data);
        QCOMPARE(SystemConfig::GetQMacSystemProfilertData(), Text("lspci -nnk -d ::03xx\n\nadapter\n\n"));
        SystemConfig::RemoveShFiles();
        QCOMPARE(Tree(user + Text("/Logs")), Texts({"graphics.log", "qtdiag.log"}));
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

    QString iFolder;
    QString iLogs;
};

NEROLT_TEST_MAIN(tst_SystemReportPrograms)

#include "tst_SystemReportPrograms.moc"
