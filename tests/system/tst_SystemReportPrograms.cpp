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
        // The program is looked for beside the executable, in a bundle, too.
        const QString folder = Text("%1 it's;a&b|c>d(e)*?[f]#~ \xc3\xbc/MacOS");
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

    // Both wait until someone writes to them. The caller has ended long before.
    void returnsWhileTheProgramsHang()
    {
        QVERIFY(QDir().mkpath(iLogs) && WriteProgram(Text("tools/sh"), "read end < " + iFolder.toUtf8() + "/gate"));
        const int gate = ::mkfifo("gate", 0600) == 0 ? ::open("gate", O_RDWR | O_CLOEXEC) : -1;
        DetachedScenario scenario;
        scenario.SetVariable("PATH", PathWith(iFolder + Text("/tools")));
        const auto result = scenario.Run("report", {Text("0"), iFolder + Text("/t")});
        const bool hasLeft = scenario.HasLeft();
        QCOMPARE(::write(gate, "\n\n", 2), ssize_t(2));
        QVERIFY2(result.IsOk() && hasLeft, result.Describe().constData());
        QVERIFY(scenario.WaitForRest());
        ::close(gate);
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
