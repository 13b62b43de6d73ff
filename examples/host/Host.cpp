#include "Host.h"

#include "Interrupt.h"
#include "Memory.h"
#include "Terminal.h"
#include "Wait.h"

#include <NeroltOrvaneBase/Logger.h>

#include <QtCore/QFile>
#include <QtCore/QLockFile>

#include <csignal>
#include <cstdio>

namespace {

constexpr int kUsualLevel = LoggerDefs::Information | LoggerDefs::Warning | LoggerDefs::Error | LoggerDefs::Exception;
constexpr int kQuietLevel = LoggerDefs::Warning | LoggerDefs::Error | LoggerDefs::Exception;
constexpr int kPatienceMs = 60000;

const QString kSilenced = QStringLiteral("nobody will ever read this");

void LogInformation(const char* func, const QString& message)
{
    if (Logger::GetInstance()->GetLevel() & LoggerDefs::Information)
        Logger::LogInformation(func, message);
}

int Complain(const QString& what)
{
    std::fprintf(stderr, "host: %s\n", qPrintable(what));
    return ExitCode::kFailed;
}

} // namespace

Host::Host(const Options& options)
    : iOptions(options)
    , iFolder(options.iFolder)
    , iLoad(options.iThreads, options.iLines)
{
}

int Host::Run()
{
    const QString obstacle = iFolder.Create();
    if (!obstacle.isEmpty())
        return RejectInput(obstacle);
    // Two hosts that rotate each other's log would confuse the checks.
    QLockFile lock(iFolder.PathOf(QStringLiteral("host.lock")));
    lock.setStaleLockTime(0);
    if (!lock.tryLock())
        return RejectInput(QStringLiteral("another host uses %1").arg(iOptions.iFolder));
    if (!PrepareFolders(iOptions.iFolder))
        return RejectInput(QStringLiteral("cannot create the folders in %1").arg(iOptions.iFolder));
    iProgress.Show(QStringLiteral("starting the log"), 0, 1);
    iLife.iPreferences = OpenPreferences();
    iLife.iMachine = DescribeMachine();
    StartLog();
    LogErrors();
    RunLoad();
    SilenceAndWake();
    StopLog();
    if (iOptions.iIsReporting)
        iLife.iReport = MakeReport(Show(QStringLiteral("making the report")));
    return Finish();
}

void Host::StartLog()
{
    iLife.iOldLogsRemoved = iFolder.RemoveOld();
    iRotatedBefore = iFolder.Rotated();
    iOldLog = OldLog::Prepare(iFolder.LogPath());
    Wait::Until([this] { return !iFolder.IsRotationBlocked(); });

    // The first call, on the main thread, whose event loop drives the log's timer from now on.
    Logger::GetInstance()->SetLevel(kUsualLevel);
    Logger::SetErrorReporter(&iErrors);
    // First, so that the log of a run that was killed is completed before this one's begins.
    const QString crashFile = iFolder.PathOf(QStringLiteral("host.crash"));
    iIsRecovering = QFile::exists(crashFile);
    if (!Logger::SetCrashFile(crashFile))
        Fail(QStringLiteral("cannot use %1").arg(crashFile));
    Logger::SetLoggerFileName(iFolder.LogPath(), false);
    iLife.iLogPath = Logger::GetLoggerFileName();
    LogInformation("Host::StartLog", QStringLiteral("host " HOST_VERSION " starts"));
    // The first batch finds the old log and rotates it.
    WriteThrough();
}

void Host::LogErrors()
{
    Logger::LogError(1001, LoggerDefs::ExtraText, "Host::LogErrors", QStringLiteral("an error about a file"),
                     QStringLiteral("prefs.ini"));
    Logger::LogError(1002, LoggerDefs::SecondIntHex, "Host::LogErrors", QStringLiteral("an error with a status"), 0,
                     255);
    Logger::LogUnknownException(1003, "Host::LogErrors");
}

void Host::RunLoad()
{
    RunRound(); // into the new log, which this does not fill
    while (!iLoad.IsOver() && iFailure.isEmpty()) {
        Wait::Until([this] { return !iFolder.IsRotationBlocked(); });
        RunRound();
    }
    iLife.iLines = iLoad.LoggedByAll();
    iLife.iIsInterrupted = iLife.iLines != iOptions.AllLines();
}

void Host::RunRound()
{
    QElapsedTimer elapsed;
    elapsed.start();
    iLoad.StartRound();
    Wait::Until([&] {
        if (Interrupt::WasAsked())
            iLoad.Interrupt();
        const bool isOver = iLoad.IsRoundOver(); // first, so that the bar reaches its end
        iProgress.Show(QStringLiteral("logging"), iLoad.LoggedByAll(), iOptions.AllLines());
        CrashInTheMiddle();
        return isOver;
    });
    WriteThrough();
    iLife.iSeconds += double(elapsed.nsecsElapsed()) / 1e9;
}

void Host::SilenceAndWake()
{
    Logger::ResetLoggingLevel(kQuietLevel);
    Logger::LogInformation("Host::SilenceAndWake", kSilenced);
    // The threads of the load have ended but are not destroyed yet; the logging thread runs.
    RegisteredThread::LogThreads();
    Logger::ResetLoggingLevel(kUsualLevel);
}

void Host::StopLog()
{
    // Once the reporter is removed nothing calls it any more, and it may be destroyed.
    Logger::SetErrorReporter(nullptr);
    Logger::StopLogging();
    iLife.iPeakMemory = Memory::Peak();
    iLife.iFinalMemory = Memory::Resident();
}

void Host::WriteThrough()
{
    if (!Logger::Flush(kPatienceMs))
        Fail(QStringLiteral("what was logged does not reach %1").arg(iFolder.LogPath()));
}

// As the system kills a process that takes too much memory.
void Host::CrashInTheMiddle()
{
    if (iOptions.iIsCrashing && iLoad.LoggedByAll() >= iOptions.AllLines() / 2) {
        iProgress.Wipe();
        std::fputs("host: killed as asked; the next run completes the log\n", stderr);
        std::raise(SIGKILL);
    }
}

Shown Host::Show(const QString& what)
{
    return [this, what](qint64 done, qint64 all) { iProgress.Show(what, done, all); };
}

void Host::Fail(const QString& what)
{
    if (iFailure.isEmpty())
        iFailure = what;
}

Expected Host::WhatToExpect() const
{
    Expected expected;
    expected.iRotatedBefore = iRotatedBefore;
    expected.iBytesBefore = iOldLog.iSize;
    expected.iIsRotated = iOldLog.iIsAged;
    expected.iIsRecovering = iIsRecovering;
    for (int thread = 0; thread < iOptions.iThreads; ++thread)
        expected.iLoadLines += iLoad.Logged(thread);
    expected.iErrors = int(iErrors.Codes().size());
    expected.iThreadsListed = iOptions.iThreads + 1;
    expected.iSilenced = kSilenced;
    return expected;
}

int Host::Finish()
{
    iLife.iIsAged = iOldLog.iIsAged;
    iLife.iErrorCodes = iErrors.Codes();
    iLife.iLog = CheckLog(iFolder, WhatToExpect(), Show(QStringLiteral("checking the log")));
    if (!iFailure.isEmpty())
        iLife.iLog.iWrong = iFailure;
    iProgress.Wipe();
    const bool isPrinted = Terminal::Print(Summary(iOptions, iFolder, iLife));
    if (!iLife.iLog.iWrong.isEmpty())
        return Complain(QStringLiteral("the log is wrong: %1").arg(iLife.iLog.iWrong));
    if (!isPrinted)
        return Complain(QStringLiteral("cannot write the summary"));
    return iLife.iIsInterrupted ? ExitCode::kInterrupted : ExitCode::kDone;
}
