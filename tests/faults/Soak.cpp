// Runs the same as the tests for longer, and prints the figures as rows of a table.
//
//   soak [minutes]

#include "CrashKills.h"
#include "DiskFaults.h"
#include "Ends.h"
#include "Kills.h"
#include "Load.h"
#include "support/TestMain.h"

#include <QtCore/QDeadlineTimer>
#include <QtCore/QProcess>
#include <QtCore/QRandomGenerator>

#include <cstdio>
#include <cstdlib>

using TestSupport::Scenario;

namespace {

constexpr int kDefaultMinutes = 10;
constexpr int kEnds = 1000;
constexpr int kMostMinutes = 24 * 60;
constexpr Load::Plan kLoad{16, 312500, 6};

bool gAllKept = true;

void Row(const QByteArray& what, const QByteArray& load, const QByteArray& figures, const QByteArray& fault)
{
    gAllKept &= fault.isEmpty();
    std::printf("| %s | %s | %s |\n", what.constData(), load.constData(),
                (fault.isEmpty() ? figures : "**broken:** " + fault).constData());
    std::fflush(stdout);
}

QByteArray Number(qint64 value)
{
    return QByteArray::number(value);
}

QByteArray MiB(qint64 kib)
{
    return QByteArray::number(double(kib) / 1024, 'f', 1);
}

const Scenario load("load", [](const QStringList&) {
    const Load::Outcome outcome = Load::Run(kLoad);
    Row("every accepted line once, in its thread's order, whole",
        Number(kLoad.iThreads) + " threads, " + Number(outcome.iLines) + " calls, " + Number(outcome.iLevelChanges)
            + " changes of level, " + Number(kLoad.iFiles - 1) + " of file, " + Number(outcome.iRotations)
            + " rotations",
        "0 lost, 0 torn; " + Number(outcome.iTwice) + " lines in two files, as expected; " + Number(outcome.iStopped)
            + " stopped by the level; " + Number(outcome.iLate) + " calls waited for a second, "
            + Number(outcome.iDropped) + " of them dropped; " + QByteArray::number(outcome.iSecs, 'f', 1) + " s",
        outcome.iFault);
    Row("memory is returned", "the same",
        MiB(outcome.iStartKiB) + " MiB before, " + MiB(outcome.iWarmKiB) + " after the first twelfth, "
            + MiB(outcome.iPeakKiB) + " at most, " + MiB(outcome.iEndKiB) + " after the stop",
        Load::IsMemoryReturned(outcome) ? QByteArray() : "memory is not returned");
    return gAllKept ? 0 : 1;
});

const Scenario fault("fault", [](const QStringList& arguments) {
    const DiskFaults::Outcome outcome = DiskFaults::Run(arguments.value(0));
    Row(arguments.value(0).toLatin1(), Number(DiskFaults::kLinesEach) + " lines before, during and after",
        Number(outcome.iLost) + " lost, " + Number(outcome.iTorn) + " torn; slowest call "
            + Number(outcome.iSlowestUsecs) + " us",
        outcome.iFault);
    return gAllKept ? 0 : 1;
});

// In a folder of its own, which is removed with its files. A process that does not end is a fault.
void RunInProcess(const char* scenario, const QStringList& arguments, const QDeadlineTimer& deadline)
{
    const QString folder = QDir(TestSupport::Scratch()).filePath(QStringLiteral("work"));
    QDir().mkpath(folder);
    QProcess process;
    process.setProcessChannelMode(QProcess::ForwardedChannels);
    process.setWorkingDirectory(folder);
    TestSupport::StartScenario(process, scenario, arguments);
    const bool hasEnded = process.waitForFinished(int(deadline.remainingTime()) + 600000);
    gAllKept &= hasEnded && process.exitStatus() == QProcess::NormalExit && process.exitCode() == 0;
    process.kill();
    process.waitForFinished();
    QDir(folder).removeRecursively();
}

void RunEnds()
{
    const Ends::Outcome outcome = Ends::UnderLoad(kEnds, false);
    Row("threads may log while the process ends", Number(outcome.iEnds) + " ends",
        Number(outcome.iLines) + " lines found, all whole; one file each", outcome.iFault);
}

// Both in turn, until the time is up.
void RunKills(quint32 seed, const QDeadlineTimer& deadline)
{
    Kills::Outcome log;
    Kills::Outcome ini;
    do {
        Kills::Log(seed, log);
        Kills::ChangeIni(seed, 4, ini);
        ++seed;
    } while (!deadline.hasExpired() && log.iFault.isEmpty() && ini.iFault.isEmpty());
    Row("what was handed over is in the log", Number(log.iKills) + " kills",
        Number(log.iPromised) + " lines promised, " + Number(log.iFound) + " lines found, all in order; "
            + Number(log.iTorn) + " files end within a line",
        log.iFault);
    Row("the INI file is always a version that was written", Number(ini.iKills) + " kills",
        Number(ini.iPromised) + " changes promised, " + Number(ini.iFound) + " found; " + Number(ini.iLeftLocks)
            + " locks left behind",
        ini.iFault);
}

// Each in turn, until the time is up.
void RunCrashKills(quint32 seed, const QDeadlineTimer& deadline)
{
    const std::vector<CrashKills::Plan>& plans = CrashKills::Plans();
    std::vector<CrashKills::Outcome> outcomes(plans.size());
    bool isKept = true;
    do {
        for (size_t i = 0; i < plans.size() && isKept; ++i) {
            CrashKills::Run(plans[i], seed, outcomes[i]);
            isKept = outcomes[i].iFault.isEmpty();
        }
        ++seed;
    } while (!deadline.hasExpired() && isKept);
    for (size_t i = 0; i < plans.size(); ++i) {
        const CrashKills::Outcome& outcome = outcomes[i];
        Row(QByteArray("no line is lost with a crash file: ") + plans[i].iName, Number(outcome.iKills) + " kills",
            Number(outcome.iReturned) + " calls returned, " + Number(outcome.iRecovered) + " lines recovered, "
                + Number(outcome.iMissing) + " lost, 0 twice, 0 torn; " + Number(outcome.iTorn)
                + " logs ended within a line, " + Number(outcome.iRotations) + " rotations",
            outcome.iFault);
    }
}

int Soak(int minutes)
{
    const QDeadlineTimer halfTime(qint64(minutes) * 30000);
    const QDeadlineTimer deadline(qint64(minutes) * 60000);
    const quint32 seed = QRandomGenerator::global()->generate();
    std::printf("seed %u\n\n| promise | load | result |\n| --- | --- | --- |\n", seed);
    std::fflush(stdout); // other processes write the first rows
    RunInProcess("load", {}, deadline);
    for (const QString& name : DiskFaults::Names())
        RunInProcess("fault", {name}, deadline);
    RunEnds();
    RunKills(seed, halfTime);
    RunCrashKills(seed, deadline);
    return gAllKept ? 0 : 1;
}

} // namespace

int main(int argc, char** argv)
{
    return TestSupport::Main(argc, argv, [](int count, char** arguments) {
        const int minutes = count > 1 ? std::atoi(arguments[1]) : kDefaultMinutes;
        if (minutes < 1 || minutes > kMostMinutes) {
            std::fprintf(stderr, "soak: between 1 and %d minutes\n", kMostMinutes);
            return 2;
        }
        return Soak(minutes);
    });
}
