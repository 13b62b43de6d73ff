#include "DiskFaults.h"

#include "FaultTable.h"
#include "Lines.h"
#include "Mounts.h"
#include "RunningLog.h"
#include "support/LogText.h"
#include "support/OrdinaryUser.h"
#include "support/StartedLog.h"

#include <NeroltOrvaneBase/Logger.h>

#include <QtCore/QDir>
#include <QtCore/QElapsedTimer>

#include <algorithm>
#include <memory>
#include <set>
#include <sys/stat.h>

using namespace FaultTable;
using StartedLog::kAlwaysOn;

namespace {

Fault Named(const QString& name)
{
    for (const Fault& fault : All()) {
        if (name == QLatin1String(fault.iName))
            return fault;
    }
    qFatal("there is no fault %s", qPrintable(name));
}

qint64 SayAll(Range range, int batch)
{
    qint64 slowest = 0;
    QElapsedTimer timer;
    for (int number = range.iFrom; number < range.iTo; ++number) {
        timer.start();
        Lines::Say(0, number);
        slowest = std::max(slowest, timer.nsecsElapsed() / 1000);
        if ((number + 1) % batch == 0)
            RunningLog::HandOver();
    }
    return slowest;
}

// A caller that waits for the disk would wait forever here.
void SayWhileTheWriterStandsStill()
{
    RunningLog::WhileTheWriterStandsStill([] {
        for (int number = 0; number < 1000; ++number)
            Lines::Say(1, number);
    });
}

struct Found
{
    std::multiset<int> iNumbers;
    int iTorn = 0;
};

void Look(const QString& folder, Found& found)
{
    for (const QFileInfo& file :
         QDir(folder).entryInfoList({QStringLiteral("*.log")}, QDir::Files | QDir::NoSymLinks)) {
        for (const QByteArray& line : LogText::Lines(LogText::Read(file.filePath()))) {
            const QByteArray body = LogText::Body(line);
            const std::optional<Lines::Said> said = Lines::Whose(body);
            if (said && said->iThread == 0)
                found.iNumbers.insert(said->iNumber);
            else if (!said && (body.startsWith('<') || Lines::IsSpoken(line)) && line.mid(23, 15) != "continued from ")
                ++found.iTorn;
        }
    }
}

bool IsIn(const QList<Range>& ranges, int number)
{
    return std::any_of(ranges.begin(), ranges.end(),
                       [number](Range range) { return range.iFrom <= number && number < range.iTo; });
}

// A damaged line costs one of the required lines, because it follows a truncated batch.
DiskFaults::Outcome Judge(const Fault& fault, const Found& found)
{
    DiskFaults::Outcome outcome;
    outcome.iTorn = found.iTorn;
    int missing = 0;
    for (int number = 0; number < kAll; ++number) {
        const bool passes = (Lines::LevelOf(number) & kAlwaysOn) != 0;
        const size_t count = found.iNumbers.count(number);
        const bool may = passes && (IsIn(fault.iMust, number) || IsIn(fault.iMay, number));
        outcome.iLost += passes && count == 0;
        missing += passes && count == 0 && IsIn(fault.iMust, number);
        if (count > (may ? 1U : 0U))
            outcome.iFault = "too often: " + QByteArray::number(number);
    }
    if (missing > std::min(found.iTorn, fault.iTorn))
        outcome.iFault = "missing " + QByteArray::number(missing);
    if (found.iTorn > fault.iTorn)
        outcome.iFault = "torn " + QByteArray::number(found.iTorn);
    return outcome;
}

void Prepare(const Fault& fault)
{
    Require(QDir().mkpath(Folder()), "make the folder");
    if (fault.iNeeds == Fault::Needs::Mount)
        Require(Mounts::MakePrivate() && Mounts::MountSmall("logs", 64), "mount");
    if (fault.iNeeds == Fault::Needs::OrdinaryUser && OrdinaryUser::IsTestRoot()) {
        Require(::chmod(".", 0777) == 0, "open the folder");
        OrdinaryUser::Own(QDir::current().filePath(Folder()));
    }
}

// The log runs, and the fault lasts.
std::unique_ptr<OrdinaryUser> Begin(const Fault& fault)
{
    Prepare(fault);
    std::unique_ptr<OrdinaryUser> user;
    if (fault.iNeeds == Fault::Needs::OrdinaryUser)
        user = std::make_unique<OrdinaryUser>();
    Logger::GetInstance()->SetLevel(kAlwaysOn);
    Logger::SetLoggerFileName(Log(), false);
    SayAll(kBefore, DiskFaults::kLinesEach);
    fault.iBegin();
    return user;
}

} // namespace

QStringList DiskFaults::Names()
{
    const bool mounts = Mounts::AreAllowed();
    QStringList names;
    for (const Fault& fault : All()) {
        if (fault.iNeeds != Fault::Needs::Mount || mounts)
            names += QString::fromLatin1(fault.iName);
    }
    return names;
}

DiskFaults::Outcome DiskFaults::Run(const QString& name)
{
    const Fault fault = Named(name);
    const auto user = Begin(fault);
    const qint64 slowest = SayAll(kDuring, kBatchLines);
    fault.iEnd();
    SayAll(kAfter, kLinesEach);
    Logger::StopLogging();

    Found found;
    Look(QStringLiteral("."), found);
    Look(Folder(), found);
    Outcome outcome = Judge(fault, found);
    outcome.iSlowestUsecs = slowest;
    return outcome;
}

void DiskFaults::RunStop(const QString& name)
{
    const Fault fault = Named(name);
    const auto user = Begin(fault);
    SayWhileTheWriterStandsStill();
    Logger::StopLogging();
    fault.iEnd();
}
