#include "DetachedScenario.h"

#include "PathText.h"

#include <NeroltOrvaneBase/SystemConfig.h>

#include <QtCore/QTemporaryFile>

#include <fcntl.h>
#include <poll.h>
#include <unistd.h>

namespace {

constexpr int kMinute = 60000;

const TestSupport::Scenario report("report", [](const QStringList& arguments) {
    return PathText::Logged(arguments[0].toInt(), [&] {
        SystemConfig::SetTestPath(arguments[1]);
        SystemConfig::ReportSystemDetails();
    });
});

} // namespace

DetachedScenario::DetachedScenario()
    : iProgram(QCoreApplication::applicationFilePath())
    , iEnvironment(QProcessEnvironment::systemEnvironment())
{
    if (::pipe(iPipe) != 0 || ::fcntl(iPipe[0], F_SETFD, FD_CLOEXEC) != 0)
        qFatal("no pipe");
    iEnvironment.insert(QStringLiteral("LC_ALL"), QStringLiteral("C.UTF-8"));
}

DetachedScenario::~DetachedScenario()
{
    ::close(iPipe[0]);
    if (iPipe[1] >= 0)
        ::close(iPipe[1]);
}

TestSupport::ScenarioResult DetachedScenario::Run(const char* name, const QStringList& arguments)
{
    TestSupport::ScenarioResult result;
    result.iFolder = QDir::current();
    QTemporaryFile errors; // what is left writes there, too: a pipe without its reader would end it
    errors.open();
    QProcess process;
    process.setProcessEnvironment(iEnvironment);
    process.setStandardErrorFile(errors.fileName());
    process.setStandardInputFile(QProcess::nullDevice());
    TestSupport::StartScenario(process, name, arguments, iProgram);
    result.iTimedOut = !process.waitForStarted() || !process.waitForFinished(kMinute);
    ::close(iPipe[1]);
    iPipe[1] = -1;
    result.iCrashed = process.exitStatus() == QProcess::CrashExit;
    result.iExitCode = process.exitCode();
    result.iStdout = process.readAllStandardOutput();
    result.iStderr = errors.readAll();
    return result;
}

bool DetachedScenario::HasLeft() const
{
    return !IsOver(0);
}

bool DetachedScenario::WaitForRest() const
{
    return IsOver(kMinute);
}

bool DetachedScenario::IsOver(int waitMs) const
{
    pollfd end = {iPipe[0], POLLIN, 0};
    return ::poll(&end, 1, waitMs) == 1 && (end.revents & POLLHUP) != 0;
}
