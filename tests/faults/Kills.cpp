#include "Kills.h"

#include "Lines.h"
#include "RunningLog.h"
#include "support/LogText.h"
#include "support/Others.h"
#include "support/StartedLog.h"
#include "support/TestMain.h"

#include <NeroltOrvaneBase/IniFile.h>
#include <NeroltOrvaneBase/LoggerWorker.h>

#include <QtCore/QDateTime>
#include <QtCore/QFile>
#include <QtCore/QProcess>
#include <QtCore/QRandomGenerator>
#include <QtCore/QVariant>

#include <algorithm>
#include <array>
#include <unistd.h>

using TestSupport::Scenario;

namespace {

constexpr int kAnswerTimeoutMs = 60000;
constexpr int kLongestLifeMs = 40;
constexpr int kLinesToAPromise = 37;
constexpr int kSpeakers = 3;
constexpr int kPageBytes = 4096;
// A process that changes a file without a pause releases the lock only briefly, and the others retry at growing
// intervals.
constexpr int kPauseUsecs = 5000;
const QString kGroup = QStringLiteral("A");

// In a single call, so that the line is complete.
void Promise(int number)
{
    const QByteArray text = QByteArray::number(number) + '\n';
    if (::write(STDOUT_FILENO, text.constData(), size_t(text.size())) != text.size())
        ::_exit(1);
}

// The first thread reports how many of its lines are in the file. The others only add load.
const Scenario logUntilKilled("logUntilKilled", [](const QStringList& arguments) {
    StartedLog::Start(arguments.value(0));
    const Others others(kSpeakers - 1, [](int thread, int number) {
        Lines::Say(thread, number);
        if (number % 64 == 0)
            ::usleep(50); // leaves the log to the first
    });
    for (int number = 0;; ++number) {
        Lines::Say(0, number);
        if (number % kLinesToAPromise == 0) {
            RunningLog::HandOver();
            Promise(number);
        }
    }
    return 0;
});

// No two versions have the same size: the framework may mistake two of one size and one millisecond for the same.
QByteArray State(int number)
{
    return (QByteArray::number(number) + '-').repeated(30 + number);
}

const Scenario changeUntilKilled("changeUntilKilled", [](const QStringList& arguments) {
    IniFile ini(arguments.value(0));
    for (int number = arguments.value(2).toInt();; ++number) {
        ini.SetKeyValue(kGroup, arguments.value(1), QString::fromLatin1(State(number)));
        Promise(number);
        ::usleep(kPauseUsecs);
    }
    return 0;
});

class Child
{
public:
    Child(const char* scenario, const QStringList& arguments)
    {
        iProcess.setProcessChannelMode(QProcess::ForwardedErrorChannel);
        TestSupport::StartScenario(iProcess, scenario, arguments);
    }

    bool HasBegun() { return iProcess.canReadLine() || iProcess.waitForReadyRead(kAnswerTimeoutMs); }
    void Kill() { iProcess.kill(); }
    // The last promise that it made, or -1.
    int LastWords()
    {
        iProcess.waitForFinished(kAnswerTimeoutMs);
        const QList<QByteArray> lines = iProcess.readAllStandardOutput().split('\n');
        return lines.size() < 2 ? -1 : lines.at(lines.size() - 2).toInt();
    }

private:
    QProcess iProcess;
};

// The moment of the death is the matter, and it may be any.
void LiveFor(QRandomGenerator& random)
{
    ::usleep(useconds_t(random.bounded(kLongestLifeMs * 1000)));
}

// The file holds the first lines of each thread, without a gap.
void JudgeLog(const QByteArray& text, int promised, Kills::Outcome& outcome)
{
    const auto whole = text.lastIndexOf('\n') + 1;
    outcome.iTorn += whole < text.size();
    // If a process is killed during a write, the kernel may stop at a page boundary of the file, and nowhere else.
    if (whole < text.size() && text.size() % kPageBytes != 0)
        outcome.iFault = "torn after " + QByteArray::number(text.size()) + " bytes";
    std::array<QList<int>, kSpeakers> found;
    for (const QByteArray& line : LogText::Lines(text.left(whole))) {
        const std::optional<Lines::Said> said = Lines::Whose(LogText::Body(line));
        if (!said || said->iThread >= kSpeakers) {
            outcome.iFault = "a line of nobody's: " + line;
            return;
        }
        found.at(size_t(said->iThread)) += said->iNumber;
        ++outcome.iFound;
    }
    for (const QList<int>& numbers : found) {
        if (!numbers.isEmpty() && numbers != Lines::Expected(0, numbers.last() + 1))
            outcome.iFault = "a gap before number " + QByteArray::number(numbers.last());
    }
    if (found[0].size() < Lines::Expected(0, promised + 1).size())
        outcome.iFault = "number " + QByteArray::number(promised) + " promised and not found";
}

// A process that starts later appends its own lines.
void JudgeNextLog(const QString& path, const QByteArray& before, Kills::Outcome& outcome)
{
    LoggerWorker worker(path);
    worker.onStartWorker();
    worker.onStopWorker("later\n");
    if (LogText::Read(path) != before + "later\n")
        outcome.iFault = "what came later is not in the log as it was said";
}

// "[A]\na=<state>\nb=<state>\n", and nothing else.
bool IsState(const QByteArray& text, int a, int b)
{
    return text == "[A]\na=" + State(a) + "\nb=" + State(b) + '\n';
}

int NumberOf(const QByteArray& text, const QByteArray& key)
{
    const auto at = text.indexOf('\n' + key + '=');
    return at < 0 ? 0 : text.mid(at + 3).split('-').first().toInt();
}

// A process that dies before it writes to its lock file leaves an empty one, which counts for half a minute.
void EndLock(const QString& path, Kills::Outcome& outcome)
{
    QFile lock(path + QStringLiteral(".lock"));
    if (!lock.exists())
        return;
    ++outcome.iLeftLocks;
    if (lock.open(QIODevice::ReadWrite))
        lock.setFileTime(QDateTime::currentDateTime().addSecs(-3600), QFileDevice::FileModificationTime);
}

} // namespace

void Kills::Log(quint32 seed, Outcome& outcome)
{
    QRandomGenerator random(seed);
    const QString path = QDir(TestSupport::Scratch()).filePath(QStringLiteral("killed%1.log").arg(seed));
    Child child("logUntilKilled", {path});
    if (!child.HasBegun()) {
        outcome.iFault = "a child did not begin";
        return;
    }
    LiveFor(random);
    child.Kill();
    const int promised = child.LastWords();
    ++outcome.iKills;
    outcome.iPromised += promised + 1;
    const QByteArray text = LogText::Read(path);
    JudgeLog(text, promised, outcome);
    JudgeNextLog(path, text, outcome);
    QFile::remove(path);
}

void Kills::ChangeIni(quint32 seed, int rounds, Outcome& outcome)
{
    QRandomGenerator random(seed);
    const QString path = QDir(TestSupport::Scratch()).filePath(QStringLiteral("killed%1.ini").arg(seed));
    int a = 0;
    int b = 0;
    for (int round = 0; round < rounds && outcome.iFault.isEmpty(); ++round) {
        Child first("changeUntilKilled", {path, QStringLiteral("a"), QString::number(a + 1)});
        Child second("changeUntilKilled", {path, QStringLiteral("b"), QString::number(b + 1)});
        if (!first.HasBegun() || !second.HasBegun()) {
            outcome.iFault = "a child did not begin";
            return;
        }
        LiveFor(random);
        const bool firstDiesFirst = random.bounded(2) == 0;
        (firstDiesFirst ? first : second).Kill();
        (firstDiesFirst ? second : first).Kill();
        const int saidA = std::max(first.LastWords(), a);
        const int saidB = std::max(second.LastWords(), b);
        outcome.iKills += 2;
        outcome.iPromised += saidA - a + saidB - b;
        const QByteArray text = LogText::Read(path);
        const int foundA = NumberOf(text, "a");
        const int foundB = NumberOf(text, "b");
        const bool isNext = (foundA == saidA || foundA == saidA + 1) && (foundB == saidB || foundB == saidB + 1);
        if (!isNext || !IsState(text, foundA, foundB))
            outcome.iFault
                = "said " + QByteArray::number(saidA) + ' ' + QByteArray::number(saidB) + ", found:\n" + text;
        outcome.iFound += foundA - a + foundB - b;
        a = foundA;
        b = foundB;
        EndLock(path, outcome);
    }
    QString value;
    if (!IniFile(path).GetKeyValue(kGroup, QStringLiteral("a"), value) || value.toLatin1() != State(a))
        outcome.iFault = "the file cannot be read afterwards";
}
