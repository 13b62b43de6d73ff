#include "CrashRun.h"

#include "support/LogText.h"
#include "support/StartedLog.h"

#include <NeroltOrvaneBase/Logger.h>

#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <stdexcept>
#include <sys/resource.h>
#include <thread>
#include <unistd.h>

using namespace CrashRun;
using TestSupport::Scenario;
using TestSupport::ScenarioResult;

namespace {

void Die(const QString& way)
{
    struct rlimit none = {};
    ::setrlimit(RLIMIT_CORE, &none);
    if (way == QLatin1String("SIGKILL"))
        ::raise(SIGKILL);
    if (way == QLatin1String("SIGSEGV")) {
        ::signal(SIGSEGV, SIG_DFL);
        ::raise(SIGSEGV);
    }
    if (way == QLatin1String("abort")) {
        ::signal(SIGABRT, SIG_DFL);
        std::abort();
    }
    if (way == QLatin1String("exception"))
        std::thread([] { throw std::runtime_error("nobody catches it"); }).join();
    if (way == QLatin1String("return"))
        std::exit(0);
    ::_exit(0);
}

const Scenario runThatDies("runThatDies", [](const QStringList& arguments) {
    Begin(arguments);
    Say(QStringLiteral("one"));
    Say(QStringLiteral("two"));
    if (arguments.size() > 2)
        Logger::SetLoggerFileName(arguments.at(2), false);
    Say(QStringLiteral("three \u00e4"));
    Say(QStringLiteral("four"));
    Die(arguments.at(1));
    return 0;
});

// The next run. Prints whether it is protected.
const Scenario nextRun("nextRun", [](const QStringList& arguments) {
    const bool isSet = IsProtected(arguments);
    Say(QStringLiteral("early"));
    Logger::SetLoggerFileName(arguments.value(1, QStringLiteral("log")), false);
    Say(QStringLiteral("late"));
    if (arguments.size() > 2)
        Die(arguments.at(2));
    Logger::StopLogging();
    std::puts(isSet ? "protected" : "not protected");
    return 0;
});

} // namespace

void CrashRun::Say(const QString& what)
{
    Logger::LogInformation("f", what);
}

QByteArray CrashRun::Said(const QByteArray& what)
{
    return "|10|Information|f|" + what;
}

QByteArray CrashRun::Recovered(int lines)
{
    return "|10|Information|Logger::SetCrashFile|recovered " + QByteArray::number(lines)
        + " lines of an interrupted run";
}

QByteArray CrashRun::Stopped(const QByteArray& path)
{
    return "|10|Information|Logger::StopLogging|stopping logging file path is " + path;
}

QList<QByteArray> CrashRun::BodiesOf(const QDir& folder, const char* file)
{
    return LogText::Bodies(LogText::Read(folder.filePath(QString::fromLatin1(file))));
}

void CrashRun::Begin(const QStringList& arguments)
{
    if (!IsProtected(arguments))
        ::_exit(1);
}

bool CrashRun::IsProtected(const QStringList& arguments)
{
    QDir::setCurrent(arguments.value(0));
    Logger::GetInstance()->SetLevel(StartedLog::kAlwaysOn);
    return Logger::SetCrashFile(kCrashFile);
}

QList<QByteArray> CrashRun::TheFour()
{
    return {Said("one"), Said("two"), Said("three \xc3\xa4"), Said("four")};
}

ScenarioResult Folder::Run(const char* scenario, const QStringList& arguments) const
{
    return TestSupport::RunScenario(scenario, QStringList{iPath.path()} + arguments);
}

ScenarioResult Folder::LetDie(const QString& log) const
{
    return Run("runThatDies", {QStringLiteral("SIGKILL"), log});
}

bool Folder::NextRun(const QStringList& logAndDeath) const
{
    const ScenarioResult result = Run("nextRun", logAndDeath);
    return result.IsOk() && result.iStdout == "protected\n";
}
