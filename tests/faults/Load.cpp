#include "Load.h"

#include "Lines.h"
#include "LoadFiles.h"
#include "RunningLog.h"
#include "support/StartedLog.h"

#include <NeroltOrvaneBase/FileUtilities.h>
#include <NeroltOrvaneBase/IErrorReporter.h>
#include <NeroltOrvaneBase/Logger.h>

#include <QtCore/QDateTime>
#include <QtCore/QElapsedTimer>
#include <QtCore/QFile>
#include <QtCore/QMap>
#include <QtCore/QRandomGenerator>
#include <QtCore/QThread>

#include <algorithm>
#include <atomic>
#include <thread>

using StartedLog::kAlwaysOn;

namespace {

constexpr qint64 kMaxBytes = 104857600;
// A line is dropped after 1000 ms without the lock.
constexpr qint64 kLateUsecs = 950000;
constexpr int kPatienceMs = 60000;

class CountingReporter final : public IErrorReporter
{
public:
    void ReportError(const QString&, const QString&) override { ++iCount; }
    qint64 iCount = 0; // reported under the logger's mutex
};

class Runner
{
public:
    explicit Runner(const Load::Plan& plan)
        : iPlan(plan)
        , iRecords(size_t(plan.iThreads), LoadFiles::Records(size_t(plan.iLinesEach)))
    {
    }

    Load::Outcome Run();

private:
    void Speak(int thread);
    void Record(LoadFiles::Record& record, int number, int epochBefore, int mask, qint64 usecs);
    void SetMask(int mask, bool reset);
    void ChangeLevels(const std::function<bool()>& isEnough);
    void ChangeFile(int file);
    void Prepare(int file);
    void Burst(int index, int newFile);
    bool RotationsCome(int file, int count);
    void Rest();
    QByteArray UseFiles();
    void Figures();

    const Load::Plan iPlan;
    std::vector<LoadFiles::Records> iRecords;
    std::atomic<int> iAllowed{0};
    std::atomic<qint64> iSpoken{0};
    std::atomic<qint64> iSlowest{0};
    std::atomic<int> iEpoch{0};
    std::atomic<int> iMask{kAlwaysOn};
    QRandomGenerator iRandom{20240305};
    CountingReporter iReporter;
    qint64 iRested = 0;
    int iResets = 0;
    Load::Outcome iOutcome;
};

// While the mask does not change, it decides whether the line is accepted.
void Runner::Record(LoadFiles::Record& record, int number, int epochBefore, int mask, qint64 usecs)
{
    const LoggerDefs::LogValues level = Lines::LevelOf(number);
    const bool isSure = (level & kAlwaysOn) || (epochBefore % 2 == 0 && epochBefore == iEpoch.load());
    const bool passes = (level & kAlwaysOn) || (level & mask);
    if (isSure && !passes)
        record = LoadFiles::Record::Stopped;
    else if (usecs >= kLateUsecs)
        record = LoadFiles::Record::Late;
    else
        record = isSure ? LoadFiles::Record::Accepted : LoadFiles::Record::Open;
    qint64 slowest = iSlowest.load(std::memory_order_relaxed);
    while (usecs > slowest && !iSlowest.compare_exchange_weak(slowest, usecs)) { }
}

void Runner::Speak(int thread)
{
    LoadFiles::Records& records = iRecords[size_t(thread)];
    QElapsedTimer timer;
    for (int number = 0; number < iPlan.iLinesEach; ++number) {
        while (number >= iAllowed.load(std::memory_order_acquire))
            QThread::usleep(500);
        const int epoch = iEpoch.load();
        const int mask = iMask.load();
        timer.start();
        Lines::Say(thread, number);
        Record(records[size_t(number)], number, epoch, mask, timer.nsecsElapsed() / 1000);
        iSpoken.fetch_add(1, std::memory_order_relaxed);
    }
}

void Runner::SetMask(int mask, bool reset)
{
    ++iEpoch;
    if (reset) {
        Logger::ResetLoggingLevel(mask);
        ++iResets;
    } else {
        Logger::GetInstance()->SetLevel(mask);
    }
    iMask = mask;
    ++iEpoch;
    ++iOutcome.iLevelChanges;
}

void Runner::ChangeLevels(const std::function<bool()>& isEnough)
{
    constexpr int kOptional[] = {0, LoggerDefs::Debug, LoggerDefs::Trace, LoggerDefs::Debug | LoggerDefs::Trace};
    while (!isEnough()) {
        SetMask(kAlwaysOn | kOptional[iRandom.bounded(4)], iRandom.bounded(2) == 0);
        iOutcome.iPeakKiB = std::max(iOutcome.iPeakKiB, RunningLog::ResidentKiB());
        QThread::msleep(2); // the pace of the changes
    }
    // With debug or trace on, a change of files takes a second and lines are dropped meanwhile.
    SetMask(kAlwaysOn, false);
}

void Runner::ChangeFile(int file)
{
    Logger::SetLoggerFileName(LoadFiles::Path(file), true);
}

// Every second file is too old, the others are too large. The first batch finds them so.
void Runner::Prepare(int file)
{
    const QString path = LoadFiles::Path(file);
    const qint64 size = LoadFiles::PreparedSize(file);
    QFile prepared(path);
    if (!prepared.open(QIODevice::WriteOnly) || !prepared.resize(size))
        qFatal("cannot prepare a file");
    prepared.close();
    if (size < kMaxBytes / 2)
        FileUtilities::SetTime(path, QDateTime::currentDateTime().addDays(-2), FileTimeCreation, false);
}

// Lets the threads log their share, and changes to a new file, if any, after half of it.
void Runner::Burst(int index, int newFile)
{
    const qint64 before = iSpoken;
    iAllowed = int(qint64(iPlan.iLinesEach) * (index + 1) / (2 * iPlan.iFiles));
    const qint64 target = qint64(iAllowed) * iPlan.iThreads;
    if (newFile > 0) {
        ChangeLevels([&] { return iSpoken > (before + target) / 2; });
        ChangeFile(newFile);
    }
    ChangeLevels([&] { return iSpoken == target; });
}

// Until the next rotated file gets another name, which tells the second.
void Runner::Rest()
{
    const qint64 second = QDateTime::currentSecsSinceEpoch();
    while (QDateTime::currentSecsSinceEpoch() == second)
        QThread::msleep(10);
}

bool Runner::RotationsCome(int file, int count)
{
    QElapsedTimer waited;
    waited.start();
    while (LoadFiles::Rotated(file).size() < count) {
        if (waited.hasExpired(kPatienceMs))
            return false;
        QThread::msleep(10);
    }
    QElapsedTimer rested;
    rested.start();
    Rest();
    iRested += rested.elapsed();
    return true;
}

QByteArray Runner::UseFiles()
{
    for (int file = 0; file < iPlan.iFiles; ++file) {
        Prepare(file);
        if (file == 0)
            ChangeFile(file);
        Burst(2 * file, file);
        if (!RotationsCome(file, 1))
            return "no first rotation of file " + QByteArray::number(file);
        if (file == 0)
            iOutcome.iWarmKiB = RunningLog::ResidentKiB();
        if (!FileUtilities::SetTime(LoadFiles::Path(file), QDateTime::currentDateTime().addDays(-2), FileTimeCreation,
                                    false))
            return "no file to make old";
        Burst(2 * file + 1, 0);
        if (!RotationsCome(file, 2))
            return "no second rotation of file " + QByteArray::number(file);
    }
    return QByteArray();
}

void Runner::Figures()
{
    qint64 errors = 0;
    for (int number = 0; number < iPlan.iLinesEach; ++number)
        errors += Lines::LevelOf(number) == LoggerDefs::Error || Lines::LevelOf(number) == LoggerDefs::Exception;
    if (iOutcome.iFault.isEmpty() && iReporter.iCount != errors * iPlan.iThreads)
        iOutcome.iFault = "the reporter heard of " + QByteArray::number(iReporter.iCount) + " errors";
    iOutcome.iLines = iSpoken;
    iOutcome.iSlowestUsecs = iSlowest;
}

Load::Outcome Runner::Run()
{
    Logger::GetInstance()->SetLevel(kAlwaysOn);
    Logger::SetErrorReporter(&iReporter);
    iOutcome.iStartKiB = RunningLog::ResidentKiB();
    QElapsedTimer time;
    time.start();
    std::vector<std::thread> threads;
    for (int thread = 0; thread < iPlan.iThreads; ++thread)
        threads.emplace_back([this, thread] { Speak(thread); });
    iOutcome.iFault = UseFiles();
    iAllowed = iPlan.iLinesEach;
    for (std::thread& thread : threads)
        thread.join();
    Logger::StopLogging();
    iOutcome.iSecs = double(time.elapsed() - iRested) / 1000;
    iOutcome.iEndKiB = RunningLog::ResidentKiB();
    if (iOutcome.iFault.isEmpty())
        iOutcome.iFault = LoadFiles::Check(iRecords, iPlan.iFiles, iResets, iOutcome);
    Figures();
    return iOutcome;
}

} // namespace

Load::Outcome Load::Run(const Plan& plan)
{
    return Runner(plan).Run();
}

QByteArray Load::ToText(const Outcome& outcome)
{
    QByteArray text;
    const auto put
        = [&text](const char* name, const QByteArray& value) { text += QByteArray(name) + '=' + value + '\n'; };
    put("fault", outcome.iFault);
    put("lines", QByteArray::number(outcome.iLines));
    put("stopped", QByteArray::number(outcome.iStopped));
    put("late", QByteArray::number(outcome.iLate));
    put("dropped", QByteArray::number(outcome.iDropped));
    put("twice", QByteArray::number(outcome.iTwice));
    put("rotations", QByteArray::number(outcome.iRotations));
    put("levels", QByteArray::number(outcome.iLevelChanges));
    put("secs", QByteArray::number(outcome.iSecs));
    put("slowest", QByteArray::number(outcome.iSlowestUsecs));
    put("start", QByteArray::number(outcome.iStartKiB));
    put("warm", QByteArray::number(outcome.iWarmKiB));
    put("peak", QByteArray::number(outcome.iPeakKiB));
    put("end", QByteArray::number(outcome.iEndKiB));
    return text;
}

Load::Outcome Load::FromText(const QByteArray& text)
{
    QMap<QByteArray, QByteArray> values;
    for (const QByteArray& line : text.split('\n'))
        values.insert(line.left(line.indexOf('=')), line.mid(line.indexOf('=') + 1));
    Outcome outcome;
    outcome.iFault = values.value("fault", "no outcome");
    outcome.iLines = values["lines"].toLongLong();
    outcome.iStopped = values["stopped"].toLongLong();
    outcome.iLate = values["late"].toLongLong();
    outcome.iDropped = values["dropped"].toLongLong();
    outcome.iTwice = values["twice"].toLongLong();
    outcome.iRotations = values["rotations"].toInt();
    outcome.iLevelChanges = values["levels"].toInt();
    outcome.iSecs = values["secs"].toDouble();
    outcome.iSlowestUsecs = values["slowest"].toLongLong();
    outcome.iStartKiB = values["start"].toLongLong();
    outcome.iWarmKiB = values["warm"].toLongLong();
    outcome.iPeakKiB = values["peak"].toLongLong();
    outcome.iEndKiB = values["end"].toLongLong();
    return outcome;
}
