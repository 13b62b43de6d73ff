#include "CrashKills.h"

#include "CrashLives.h"
#include "CrashedLog.h"
#include "Lines.h"
#include "support/LogText.h"
#include "support/StartedLog.h"
#include "support/TestMain.h"

#include <QtCore/QFile>
#include <QtCore/QProcess>
#include <QtCore/QRandomGenerator>

#include <algorithm>
#include <array>
#include <atomic>
#include <cstdio>
#include <cstring>
#include <sys/mman.h>
#include <unistd.h>

using namespace CrashLives;
using namespace CrashedLog;
using CrashKills::Death;
using CrashKills::Event;
using CrashKills::Outcome;
using CrashKills::Plan;

namespace {

constexpr int kTimeoutMs = 60000;
constexpr int kFlatOutUsecs = 8000; // the longest life
constexpr int kSteadyUsecs = 24000;
constexpr int kRecoveryUsecs = 3000;
constexpr int kPauseUsecs = 50;
constexpr int kMostCalls = 90; // of a start that completes a log
constexpr int kMostRotationCalls = 16;
constexpr int kMostWrites = 6;
constexpr qint64 kMaxBytes = 104857600;

constexpr const char* kRecovered = "|10|Information|Logger::SetCrashFile|recovered ";

class Child
{
public:
    Child(const QString& folder, const char* scenario, const QList<int>& numbers)
    {
        QStringList arguments;
        for (const int number : numbers)
            arguments += QString::number(number);
        iProcess.setWorkingDirectory(folder);
        TestSupport::StartScenario(iProcess, scenario, arguments);
    }

    bool IsRunning() { return iProcess.state() != QProcess::NotRunning && !iProcess.waitForFinished(0); }
    void Kill() { iProcess.kill(); }
    // -1 when it died, as most do.
    int ExitCode()
    {
        if (!iProcess.waitForFinished(kTimeoutMs))
            return kRefused;
        return iProcess.exitStatus() == QProcess::NormalExit ? iProcess.exitCode() : -1;
    }
    QByteArray Stderr() { return iProcess.readAllStandardError(); }

private:
    QProcess iProcess;
};

bool IsPassed(int number)
{
    return (Lines::LevelOf(number) & StartedLog::kAlwaysOn) != 0;
}

class Life
{
public:
    Life(const Plan& plan, quint32 seed, Outcome& outcome)
        : iPlan(plan)
        , iRandom(seed)
        , iOutcome(outcome)
        , iFolder(QDir(TestSupport::Scratch()).filePath(QStringLiteral("crash%1-%2").arg(seed).arg(int(plan.iDeath))))
    {
    }

    void Run();

private:
    void Prepare();
    void KillOne(int run, Death death);
    void Complete(int run);
    void Judge(qint64 linesBefore);
    void JudgeLog(const Text& lines);
    void JudgeLine(const QByteArray& line, const Lines::Said& said);
    void JudgeRecovered(const QByteArray& line);
    void JudgeSpeakers();
    Text LogLines() const { return LinesOf(iFolder, kLog, iFilled); }
    Text OtherLines() const { return LinesOf(iFolder, kOtherLog, 0); }
    void SkipTo(size_t speaker, int number);
    int Below(int most) { return iRandom.bounded(most); }
    void Fail(const QByteArray& fault)
    {
        if (iOutcome.iFault.isEmpty())
            iOutcome.iFault = fault;
    }

    const Plan& iPlan;
    QRandomGenerator iRandom;
    Outcome& iOutcome;
    QDir iFolder;
    qint64 iFilled = 0;
    Said* iSaid = nullptr;
    std::array<int, kMostRuns * kMostThreads> iNext{}; // the number that comes next, of each speaker
    int iRun = 0; // that the last line is of
    bool iIsRecovered = false; // the last line says so
    qint64 iRecovered = 0; // as the last such line says
    qint64 iUnprotected = 0;
    qint64 iMissing = 0;
};

// A log that is about to rotate has a line of a log, a hole, and the end of a line.
void Life::Prepare()
{
    iFolder.mkpath(QStringLiteral("."));
    QFile said(iFolder.filePath(QString::fromLatin1(kSaid)));
    if (!said.open(QIODevice::WriteOnly) || !said.resize(sizeof(Said)))
        qFatal("cannot prepare a file");
    iSaid = Share(QFile::encodeName(said.fileName()));
    if (iPlan.iEvent != Event::Rotation)
        return;
    iFilled = kMaxBytes - Below(iPlan.iPauseUsecs > 0 ? 12000 : 200000);
    QFile log(iFolder.filePath(kLog));
    if (!log.open(QIODevice::WriteOnly) || log.write("2024-03-05 14:07:09.042|10|Information|F|") < 0
        || !log.seek(iFilled - 1) || log.write("\n") != 1)
        qFatal("cannot prepare a log");
}

void Life::KillOne(int run, Death death)
{
    const bool isRecovery = run > 0;
    const bool isAtRename = !isRecovery && death == Death::AtCall && iPlan.iEvent == Event::Rotation;
    const int longest = isRecovery ? kRecoveryUsecs : iPlan.iPauseUsecs > 0 ? kSteadyUsecs : kFlatOutUsecs;
    const int life = Below(longest);
    const bool isChanging = !isRecovery && iPlan.iEvent == Event::Change;
    Child child(iFolder.path(), kKilled,
                {run, isRecovery ? 1 : iPlan.iThreads, isRecovery ? 0 : iPlan.iPauseUsecs, life, int(death),
                 int(isChanging), Below(2 * (isAtRename ? kMostRotationCalls : kMostCalls)), int(isAtRename),
                 Below(isRecovery || isChanging ? 1 : kMostWrites), Below(100)});
    if (death == Death::Kill) {
        const std::atomic<int>& begun = isRecovery ? iSaid->iStarted : iSaid->iLogging;
        while (begun.load() != run + 1 && child.IsRunning())
            ::usleep(100);
        ::usleep(useconds_t(life)); // death comes at any moment
        child.Kill();
    }
    if (child.ExitCode() == kRefused)
        Fail("a process did not die as it should: " + child.Stderr());
    ++iOutcome.iKills;
}

// The next process: nothing happens to it.
void Life::Complete(int run)
{
    Child child(iFolder.path(), kCompleted, {run});
    const int code = child.ExitCode();
    if (code != 0)
        Fail("the next process ended with " + QByteArray::number(code) + ": " + child.Stderr());
}

void Life::Run()
{
    Prepare();
    KillOne(0, iPlan.iDeath);
    int run = 1;
    for (; run <= iPlan.iRecoveries; ++run)
        KillOne(run, std::array{Death::Kill, Death::AtCall, Death::InWrite}.at(size_t(Below(3))));
    const Text log = LogLines();
    const Text other = OtherLines();
    for (const QByteArray& line : log + other)
        iOutcome.iTorn += IsTorn(line);
    Complete(run);
    if (iOutcome.iFault.isEmpty())
        Judge(Count(log) + Count(other));
    ::munmap(iSaid, sizeof(Said));
    if (iOutcome.iFault.isEmpty())
        iFolder.removeRecursively();
}

void Life::Judge(qint64 linesBefore)
{
    const Text log = LogLines();
    Text other = OtherLines();
    const qint64 linesAfter = Count(log) + Count(other);
    RemoveTwofold(log, other);
    JudgeLog(log);
    iRun = 0; // the first process changed to it
    JudgeLog(other);
    JudgeSpeakers();
    // The last process says how many, what it was told to, and that it stops.
    const qint64 recovered = linesAfter - linesBefore - kLastLines - 2;
    if (iRecovered != recovered)
        Fail("it says that it recovered " + QByteArray::number(iRecovered) + " and not "
             + QByteArray::number(recovered));
    const QStringList left = iFolder.entryList({kCrashFile + QLatin1Char('*')});
    if (!left.isEmpty())
        Fail("left behind: " + left.join(QLatin1Char(' ')).toUtf8());
    iOutcome.iRecovered += recovered;
    iOutcome.iUnprotected += iUnprotected;
    iOutcome.iMissing += iMissing;
}

void Life::JudgeLog(const Text& lines)
{
    iIsRecovered = false;
    for (const QByteArray& line : lines) {
        const QByteArray body = LogText::Body(line);
        if (const std::optional<Lines::Said> said = Lines::Whose(body))
            JudgeLine(line, *said);
        else if (body.startsWith(kRecovered))
            JudgeRecovered(body);
        else if (IsHeader(line))
            ++iOutcome.iRotations;
        else if (!IsLogsOwn(body))
            Fail("torn: " + line);
    }
}

// The order of the processes, with a line between them, and of each one's threads.
void Life::JudgeLine(const QByteArray& line, const Lines::Said& said)
{
    const auto speaker = size_t(said.iThread);
    const int run = said.iThread / kMostThreads;
    if (speaker >= iNext.size() || said.iNumber < iNext.at(speaker))
        return Fail("twice, or not in its place: " + line);
    if (iIsRecovered ? run <= iRun : run != iRun)
        Fail("not where the recovered lines end: " + line);
    SkipTo(speaker, said.iNumber);
    ++iNext.at(speaker);
    iRun = run;
    iIsRecovered = false;
}

void Life::JudgeRecovered(const QByteArray& body)
{
    long long recovered = 0;
    long long unprotected = 0;
    if (std::sscanf(body.constData() + std::strlen(kRecovered), "%lld lines of an interrupted run, %lld lines were",
                    &recovered, &unprotected)
        < 1)
        Fail("it does not say how many: " + body);
    iRecovered = recovered;
    iUnprotected += unprotected;
    iIsRecovered = true;
}

void Life::SkipTo(size_t speaker, int number)
{
    for (int& next = iNext.at(speaker); next < number; ++next) {
        if (IsPassed(next) && iMissing++ == iUnprotected)
            Fail("lost: " + Lines::Body(int(speaker), next));
    }
}

// A thread may have been within a call.
void Life::JudgeSpeakers()
{
    for (size_t speaker = 0; speaker < iNext.size(); ++speaker) {
        const int returned = iSaid->iReturned.at(speaker);
        SkipTo(speaker, returned);
        if (iNext.at(speaker) > returned + 1)
            Fail("never said: " + Lines::Body(int(speaker), returned + 1));
        iOutcome.iReturned += returned;
    }
}

} // namespace

const std::vector<Plan>& CrashKills::Plans()
{
    static const std::vector<Plan> plans{
        {"killed, flat out", Death::Kill, 1, 0, Event::Nothing, 0},
        {"killed, flat out, 4 threads", Death::Kill, 4, 0, Event::Nothing, 0},
        {"killed, steady load", Death::Kill, 1, kPauseUsecs, Event::Nothing, 0},
        {"killed, steady load, 4 threads", Death::Kill, 4, kPauseUsecs, Event::Nothing, 0},
        {"crash", Death::Crash, 1, 0, Event::Nothing, 0},
        {"crash, steady load, 4 threads", Death::Crash, 4, kPauseUsecs, Event::Nothing, 0},
        {"abort", Death::Abort, 4, 0, Event::Nothing, 0},
        {"abort, steady load", Death::Abort, 1, kPauseUsecs, Event::Nothing, 0},
        {"exception, 4 threads", Death::Exception, 4, 0, Event::Nothing, 0},
        {"exception, steady load", Death::Exception, 1, kPauseUsecs, Event::Nothing, 0},
        {"_exit, 4 threads", Death::Exit, 4, 0, Event::Nothing, 0},
        {"_exit, steady load", Death::Exit, 1, kPauseUsecs, Event::Nothing, 0},
        {"killed while a file is written", Death::InWrite, 4, 0, Event::Nothing, 0},
        {"killed between two calls", Death::AtCall, 4, 0, Event::Nothing, 0},
        {"killed around a rotation, flat out", Death::Kill, 4, 0, Event::Rotation, 0},
        {"killed around a rotation, steady load", Death::Kill, 1, kPauseUsecs, Event::Rotation, 0},
        {"killed in a rotation, flat out", Death::AtCall, 4, 0, Event::Rotation, 0},
        {"killed in a rotation, steady load", Death::AtCall, 4, kPauseUsecs, Event::Rotation, 0},
        {"killed around a change of files, flat out", Death::Kill, 4, 0, Event::Change, 0},
        {"killed around a change of files, steady load", Death::Kill, 4, kPauseUsecs, Event::Change, 0},
        {"killed in a write around a change of files", Death::InWrite, 1, 0, Event::Change, 0},
        {"killed, then in three recoveries", Death::Kill, 4, 0, Event::Nothing, 3},
        {"crash, then killed in three recoveries", Death::Crash, 1, kPauseUsecs, Event::Nothing, 3},
        {"killed in a rotation, then in three recoveries", Death::AtCall, 4, 0, Event::Rotation, 3},
        {"killed around a change of files, then in three recoveries", Death::Kill, 4, 0, Event::Change, 3},
        {"killed in a write, then in three recoveries", Death::InWrite, 1, 0, Event::Nothing, 3},
    };
    return plans;
}

void CrashKills::Run(const Plan& plan, quint32 seed, Outcome& outcome)
{
    Life(plan, seed, outcome).Run();
}
