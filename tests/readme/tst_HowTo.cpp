#include "support/LogText.h"
#include "support/TestMain.h"

#include <NeroltOrvaneBase/HookedSingleton.h>
#include <NeroltOrvaneBase/Logger.h>
#include <NeroltOrvaneBase/SingletonHook.h>
#include <NeroltOrvaneBase/SystemConfig.h>

#include <QtTest/QtTest>

#include <cstdio>

// What the page defines.
bool StartLog(const QString& folder, int level);
int CountStart();
bool TestLunchTime();
QString CollectReport();

namespace {

const TestSupport::Scenario startLog("startLog", [](const QStringList&) {
    const bool isStarted = StartLog(QStringLiteral("one/two"), LoggerDefs::Warning);
    Logger::LogInformation("main", QStringLiteral("not wanted"));
    Logger::LogWarning("main", QStringLiteral("wanted"));
    Logger::StopLogging();
    return isStarted && !StartLog(QStringLiteral("one/two/app.log/three"), 0) ? 0 : 1;
});

// The user's folders are in the current one.
class Host
{
public:
    Host()
    {
        HookedSingleton::InstallHook(&iHook);
        SystemConfig::SetTestPath(QDir::currentPath());
    }

private:
    SingletonHook iHook;
};

const TestSupport::Scenario countStart("countStart", [](const QStringList&) {
    const Host host;
    return CountStart() == 1 && CountStart() == 2 ? 0 : 1;
});

const TestSupport::Scenario testLunchTime("testLunchTime", [](const QStringList&) { return TestLunchTime() ? 0 : 1; });

const TestSupport::Scenario collectReport("collectReport", [](const QStringList&) {
    const Host host;
    QDir().mkdir(QStringLiteral("Logs"));
    for (const char* const name : {"Logs/qtdiag.log", "Logs/graphics.log"}) {
        QFile old(QString::fromLatin1(name));
        if (!old.open(QIODevice::WriteOnly) || old.write("Network: of an earlier report\n") < 0)
            return 1;
    }
    std::fputs(CollectReport().toUtf8().constData(), stdout);
    return 0;
});

// In the place of a program that this machine may have, slow or silent as it may be.
void MakeTool(const char* name, const QByteArray& script)
{
    QFile tool(QStringLiteral("bin/") + QLatin1String(name));
    QVERIFY(tool.open(QIODevice::WriteOnly));
    tool.write("#!/bin/sh\n" + script + '\n');
    QVERIFY(tool.setPermissions(QFile::ReadOwner | QFile::ExeOwner));
}

} // namespace

// Each piece of code of docs/how-to.md does what the page says.
class tst_HowTo : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void startTheLog()
    {
        const TestSupport::ScenarioResult result = TestSupport::RunScenario("startLog");
        QVERIFY2(result.IsOk(), result.Describe());
        QCOMPARE(LogText::Bodies(LogText::Read(result.iFolder.filePath("one/two/app.log"))),
                 QList<QByteArray>{"|30|Warning|main|wanted"});
    }

    void keepSettings()
    {
        const TestSupport::ScenarioResult result = TestSupport::RunScenario("countStart");
        QVERIFY2(result.IsOk(), result.Describe());
        QCOMPARE(LogText::Read(result.iFolder.filePath("prefs.ini")), QByteArray("[Statistics]\nStarts=2\n"));
    }

    void replaceASingleton()
    {
        const TestSupport::ScenarioResult result = TestSupport::RunScenario("testLunchTime");
        QVERIFY2(result.IsOk(), result.Describe());
    }

    void collectAReport()
    {
        QVERIFY(QDir().mkdir(QStringLiteral("bin")));
        MakeTool("lspci", "echo an adapter");
        for (const char* const name : {"lshw", "glxinfo", "xrandr"})
            MakeTool(name, "exit 1");
        qputenv("PATH", QDir(QStringLiteral("bin")).absolutePath().toLocal8Bit() + ':' + qgetenv("PATH"));

        const TestSupport::ScenarioResult result = TestSupport::RunScenario("collectReport");
        QVERIFY2(result.IsOk(), result.Describe());
        const QDir logs(result.iFolder.filePath("Logs"));
        QCOMPARE(logs.entryList(QDir::Files, QDir::Name), QStringList({"graphics.log", "qtdiag.log"}));
        const QByteArray displays = LogText::Read(logs.filePath("graphics.log"));
        QVERIFY2(displays.endsWith("\nan adapter\n\n"), displays);
        QCOMPARE(result.iStdout, "Architecture: the processor\r\nScreens:\r\n  one\r\n" + displays);
    }
};

NEROLT_TEST_MAIN(tst_HowTo)

#include "tst_HowTo.moc"
