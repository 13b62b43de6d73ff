#include "Lines.h"
#include "support/LogText.h"
#include "support/OrdinaryUser.h"
#include "support/StartedLog.h"
#include "support/TestMain.h"

#include <NeroltOrvaneBase/FileUtilities.h>
#include <NeroltOrvaneBase/Logger.h>

#include <QtCore/QDateTime>
#include <QtCore/QFile>
#include <QtCore/QProcess>
#include <QtTest/QtTest>

#include <cstdio>
#include <map>
#include <memory>
#include <sys/stat.h>
#include <utility>
#include <vector>

using StartedLog::kLog;
using TestSupport::Scenario;

namespace {

constexpr int kLines = 4000;
constexpr int kTimeoutMs = 60000;

// Begins on a signal, so that all processes start together.
const Scenario sharesTheLog("sharesTheLog", [](const QStringList& arguments) {
    StartedLog::Start();
    std::puts("ready");
    std::fflush(stdout);
    std::getchar();
    for (int number = 0; number < kLines; ++number)
        Lines::Say(arguments.value(0).toInt(), number);
    Logger::StopLogging();
    return 0;
});

void MakeOldLog()
{
    QFile file(kLog);
    QVERIFY(file.open(QIODevice::WriteOnly));
    QVERIFY(file.write("2024-03-05 14:07:09.042|10|Information|F|old\n") > 0);
    file.close();
    QVERIFY(FileUtilities::SetTime(kLog, QDateTime::currentDateTime().addDays(-2), FileTimeCreation, false));
}

void RunTogether(int processes)
{
    std::vector<std::unique_ptr<QProcess>> all;
    for (int i = 0; i < processes; ++i) {
        all.push_back(std::make_unique<QProcess>());
        all.back()->setProcessChannelMode(QProcess::ForwardedErrorChannel);
        TestSupport::StartScenario(*all.back(), "sharesTheLog", {QString::number(i)});
    }
    for (const auto& process : all)
        QVERIFY(process->waitForReadyRead(kTimeoutMs));
    for (const auto& process : all) {
        process->write("\n");
        process->waitForBytesWritten(kTimeoutMs);
    }
    for (const auto& process : all) {
        QVERIFY(process->waitForFinished(kTimeoutMs));
        QVERIFY(process->exitStatus() == QProcess::NormalExit && process->exitCode() == 0);
    }
}

struct Found
{
    std::map<std::pair<int, int>, int> iTimes; // of each process and number
    QList<QByteArray> iTorn;
    int iHeaders = 0;
    int iOld = 0;
};

Found FindLines()
{
    Found found;
    for (const QString& name : QDir().entryList({QStringLiteral("*.log")})) {
        for (const QByteArray& line : LogText::Lines(LogText::Read(name))) {
            const std::optional<Lines::Said> said = Lines::Whose(LogText::Body(line));
            if (said)
                ++found.iTimes[{said->iThread, said->iNumber}];
            else if (line.mid(23).startsWith("continued from app-"))
                ++found.iHeaders;
            else if (line.endsWith("|F|old"))
                ++found.iOld;
            else if (!LogText::Body(line).startsWith("|10|Information|Logger::StopLogging|"))
                found.iTorn += line;
        }
    }
    return found;
}

} // namespace

// Several processes that log to one file, and files that others have put in the log's place.
class tst_SharedLog : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init() { TestSupport::EnterFreshFolder(); }

    void anOldLogIsRotatedOnce_data()
    {
        QTest::addColumn<int>("processes");
        for (int processes = 2; processes <= 6; ++processes) {
            for (int round = 0; round < 3; ++round)
                QTest::addRow("%d processes, round %d", processes, round) << processes;
        }
    }
    void anOldLogIsRotatedOnce()
    {
        QFETCH(int, processes);
        MakeOldLog();
        RunTogether(processes);
        const Found found = FindLines();
        QCOMPARE(found.iTorn, QList<QByteArray>());
        QCOMPARE(found.iOld, 1);
        QCOMPARE(found.iHeaders, 1);
        for (int process = 0; process < processes; ++process) {
            for (int number = 0; number < kLines; ++number) {
                const auto times = found.iTimes.find({process, number});
                QCOMPARE(times == found.iTimes.end() ? 0 : times->second,
                         int(Lines::LevelOf(number) & StartedLog::kAlwaysOn ? 1 : 0));
            }
        }
    }
};

NEROLT_TEST_MAIN(tst_SharedLog)

#include "tst_SharedLog.moc"
