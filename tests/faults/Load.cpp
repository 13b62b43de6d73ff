#include "Load.h"

#include "CrashedLog.h"
#include "Lines.h"
#include "RunningLog.h"
#include "support/LogText.h"
#include "support/StartedLog.h"

#include <NeroltOrvaneBase/FileUtilities.h>
#include <NeroltOrvaneBase/IErrorReporter.h>
#include <NeroltOrvaneBase/Logger.h>

#include <QtCore/QDateTime>
#include <QtCore/QElapsedTimer>
#include <QtCore/QFile>
#include <QtCore/QRandomGenerator>
#include <QtCore/QThread>

#include <algorithm>
#include <atomic>
#include <thread>
#include <utility>
#include <vector>

using CrashedLog::Text;
using StartedLog::kAlwaysOn;

namespace {

constexpr qint64 kMaxBytes = 104857600;
// A line is dropped after 1000 ms without the lock.
constexpr qint64 kLateMs = 950;
constexpr int kPatienceMs = 60000;
constexpr int kBatchBytes = 5000;

// The outcome of a call, as far as it is known when it returns.
enum class Record : char {
    Stopped, // by the level: must not be in the files
    Accepted, // must be there once
    Open, // the level changed meanwhile
    Late, // accepted, but the log was locked so long that the line may be dropped
};

QString Path(int file)
{
    return QStringLiteral("load%1.log").arg(file);
}

// Every second file is too old when the log opens it, the others are too large.
qint64 PreparedSize(int file)
{
    return file % 2 == 0 ? 0 : kMaxBytes - 3000;
}

void MakeOld(int file)
{
    if (!FileUtilities::SetTime(Path(file), QDateTime::currentDateTime().addDays(-2), FileTimeCreation, false))
        qFatal("cannot make a file old");
}

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
        , iRecords(size_t(plan.iThreads), std::vector<Record>(size_t(plan.iLinesEach)))
        , iIsFound(size_t(plan.iThreads), std::vector<bool>(size_t(plan.iLinesEach)))
    {
    }

    Load::Outcome Run();

private:
    void Speak(int thread);
    Record RecordOf(int number, int epoch, int mask, qint64 msecs) const;
    void SetMask(int mask, bool reset);
    void ChangeLevels(const std::function<bool()>& isEnough);
    void Prepare(int file);
    void Burst(int index, int newFile);
    void AwaitRotations(int file, int count);
    void UseFiles();
    void Judge();
    void JudgeFile(int file);
    void JudgeLine(const QByteArray& line);
    void Buffer(const QByteArray& line);
    void JudgeMissing();
    void Fail(const QByteArray& fault)
    {
        if (iOutcome.iFault.isEmpty())
            iOutcome.iFault = fault;
    }

    const Load::Plan iPlan;
    std::vector<std::vector<Record>> iRecords; // of each thread and number
    std::vector<std::vector<bool>> iIsFound;
    std::vector<int> iLast = std::vector<int>(size_t(iPlan.iThreads), -1); // number found, of each thread
    QByteArray iLastStamp;
    Text iBuffered; // the agent's buffer at this point of the text
    int iBufferedBytes = 0;
    std::atomic<int> iEpoch{0}; // odd while the level changes
    std::atomic<int> iMask{kAlwaysOn};
    int iResets = 0; // without their lines, in the end
    std::atomic<int> iAllowed{0}; // so many lines of each thread
    std::atomic<qint64> iSpoken{0};
    QRandomGenerator iRandom{20240305};
    CountingReporter iReporter;
    qint64 iRested = 0;
    Load::Outcome iOutcome;
};

void Runner::Speak(int thread)
{
    QElapsedTimer timer;
    for (int number = 0; number < iPlan.iLinesEach; ++number) {
        while (number >= iAllowed.load(std::memory_order_acquire))
            QThread::usleep(500);
        const int epoch = iEpoch;
        const int mask = iMask;
        timer.start();
        Lines::Say(thread, number);
        iRecords[size_t(thread)][size_t(number)] = RecordOf(number, epoch, mask, timer.elapsed());
        iSpoken.fetch_add(1, std::memory_order_relaxed);
    }
}

// While the mask does not change, it decides whether the line is accepted.
Record Runner::RecordOf(int number, int epoch, int mask, qint64 msecs) const
{
    const LoggerDefs::LogValues level = Lines::LevelOf(number);
    const bool isSure = (level & kAlwaysOn) != 0 || (epoch % 2 == 0 && epoch == iEpoch);
    if (isSure && (level & mask) == 0)
        return Record::Stopped;
    if (msecs >= kLateMs)
        return Record::Late;
    return isSure ? Record::Accepted : Record::Open;
}

void Runner::SetMask(int mask, bool reset)
{
    ++iEpoch;
    if (reset)
        Logger::ResetLoggingLevel(mask);
    else
        Logger::GetInstance()->SetLevel(mask);
    iResets += int(reset);
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

void Runner::Prepare(int file)
{
    QFile prepared(Path(file));
    if (!prepared.open(QIODevice::WriteOnly) || !prepared.resize(PreparedSize(file)))
        qFatal("cannot prepare a file");
    prepared.close();
    if (PreparedSize(file) == 0)
        MakeOld(file);
}

// Lets the threads log their share, and changes to a new file, if any, after half of it.
void Runner::Burst(int index, int newFile)
{
    const qint64 before = iSpoken;
    iAllowed = int(qint64(iPlan.iLinesEach) * (index + 1) / (2 * iPlan.iFiles));
    const qint64 target = qint64(iAllowed) * iPlan.iThreads;
    if (newFile > 0) {
        ChangeLevels([&] { return iSpoken > (before + target) / 2; });
        Logger::SetLoggerFileName(Path(newFile), true);
    }
    ChangeLevels([&] { return iSpoken == target; });
}

// And until the next rotated file gets another name, which tells the second.
void Runner::AwaitRotations(int file, int count)
{
    QElapsedTimer waited;
    waited.start();
    const QStringList rotated{Path(file).replace(QLatin1String(".log"), QLatin1String("-*.log"))};
    while (QDir().entryList(rotated).size() < count) {
        if (waited.hasExpired(kPatienceMs))
            return Fail(Path(file).toUtf8() + " is not rotated");
        QThread::msleep(10);
    }
    QElapsedTimer rested;
    rested.start();
    const qint64 second = QDateTime::currentSecsSinceEpoch();
    while (QDateTime::currentSecsSinceEpoch() == second)
        QThread::msleep(10);
    iRested += rested.elapsed();
}

void Runner::UseFiles()
{
    for (int file = 0; file < iPlan.iFiles; ++file) {
        Prepare(file);
        if (file == 0)
            Logger::SetLoggerFileName(Path(file), true);
        Burst(2 * file, file);
        AwaitRotations(file, 1);
        if (file == 0)
            iOutcome.iWarmKiB = RunningLog::ResidentKiB();
        MakeOld(file);
        Burst(2 * file + 1, 0);
        AwaitRotations(file, 2);
    }
}

// The lines in the buffer when the log changes its file are in both.
void Runner::JudgeFile(int file)
{
    const Text lines = CrashedLog::LinesOf(QDir(), Path(file), PreparedSize(file));
    const Text again = iBuffered;
    if (lines.mid(0, again.size()) != again)
        Fail(Path(file).toUtf8() + " lacks lines of the file before");
    iOutcome.iTwice += again.size();
    for (const QByteArray& line : lines.mid(again.size()))
        JudgeLine(line);
}

// The sizes of the lines determine their batches, and so the rest that is in the buffer.
void Runner::Buffer(const QByteArray& line)
{
    const bool isReset = line.contains("|10|Information|Logger::ResetLoggingLevel|resetting log level ");
    iResets -= int(isReset);
    iBuffered += line;
    iBufferedBytes += int(line.size()) + 1;
    if (iBufferedBytes > kBatchBytes || isReset) {
        iBuffered.clear();
        iBufferedBytes = 0;
    }
}

void Runner::JudgeLine(const QByteArray& line)
{
    if (CrashedLog::IsHeader(line)) {
        ++iOutcome.iRotations;
        return;
    }
    Buffer(line);
    const QByteArray body = LogText::Body(line);
    const std::optional<Lines::Said> said = Lines::Whose(body);
    if (said) {
        const QByteArray stamp = line.chopped(body.size());
        if (stamp < std::exchange(iLastStamp, stamp))
            Fail("earlier than the line before: " + line);
        int& last = iLast.at(size_t(said->iThread));
        if (said->iNumber <= last)
            Fail("after " + QByteArray::number(last) + " of its thread: " + line);
        last = said->iNumber;
        iIsFound.at(size_t(said->iThread)).at(size_t(said->iNumber)) = true;
    } else if (body.startsWith('<') || Lines::IsSpoken(body)) {
        Fail("torn or forged: " + line);
    }
}

void Runner::JudgeMissing()
{
    for (size_t thread = 0; thread < iIsFound.size(); ++thread) {
        for (size_t number = 0; number < iIsFound[thread].size(); ++number) {
            const Record record = iRecords[thread][number];
            const bool isFound = iIsFound[thread][number];
            if (record == (isFound ? Record::Stopped : Record::Accepted))
                Fail((isFound ? "the level stops it: " : "lost: ") + Lines::Body(int(thread), int(number)));
            iOutcome.iLate += record == Record::Late;
            iOutcome.iDropped += !isFound && record == Record::Late;
            iOutcome.iStopped += !isFound && record != Record::Late;
        }
    }
}

void Runner::Judge()
{
    for (int file = 0; file < iPlan.iFiles; ++file)
        JudgeFile(file);
    JudgeMissing();
    qint64 errors = 0;
    for (int number = 0; number < iPlan.iLinesEach; ++number)
        errors += Lines::LevelOf(number) == LoggerDefs::Error || Lines::LevelOf(number) == LoggerDefs::Exception;
    if (iReporter.iCount != errors * iPlan.iThreads)
        Fail("the reporter heard of " + QByteArray::number(iReporter.iCount) + " errors");
    if (iResets != 0 && iOutcome.iLate == 0)
        Fail(QByteArray::number(iResets) + " changes of level without a line");
    if (iOutcome.iRotations != 2 * iPlan.iFiles)
        Fail(QByteArray::number(iOutcome.iRotations) + " rotations");
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
    UseFiles();
    iAllowed = iPlan.iLinesEach;
    for (std::thread& thread : threads)
        thread.join();
    Logger::StopLogging();
    iOutcome.iSecs = double(time.elapsed() - iRested) / 1000;
    iOutcome.iEndKiB = RunningLog::ResidentKiB();
    iOutcome.iLines = iSpoken;
    Judge();
    return iOutcome;
}

} // namespace

Load::Outcome Load::Run(const Plan& plan)
{
    return Runner(plan).Run();
}

bool Load::IsMemoryReturned(const Outcome& outcome)
{
    return outcome.iEndKiB - outcome.iWarmKiB < 2048;
}
