#include "CrashedLog.h"
#include "Lines.h"
#include "support/LogText.h"
#include "support/StartedLog.h"
#include "support/TestMain.h"

#include <NeroltOrvaneBase/FileUtilities.h>
#include <NeroltOrvaneBase/Logger.h>

#include <QtCore/QDateTime>
#include <QtCore/QFile>
#include <QtCore/QMap>
#include <QtCore/QProcess>
#include <QtTest/QtTest>

#include <algorithm>
#include <cstdio>
#include <vector>

using StartedLog::kLog;
using TestSupport::Scenario;

namespace {

const QByteArray kOld = "|10|Information|F|old";
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
    QVERIFY(file.write("2024-03-05 14:07:09.042" + kOld + '\n') > 0);
    file.close();
    QVERIFY(FileUtilities::SetTime(kLog, QDateTime::currentDateTime().addDays(-2), FileTimeCreation, false));
}

void RunTogether(int processes)
{
    std::vector<QProcess> all(static_cast<size_t>(processes));
    int number = 0;
    for (QProcess& process : all) {
        process.setProcessChannelMode(QProcess::ForwardedErrorChannel);
        TestSupport::StartScenario(process, "sharesTheLog", {QString::number(number++)});
    }
    for (QProcess& process : all)
        QVERIFY(process.waitForReadyRead(kTimeoutMs));
    for (QProcess& process : all) {
        process.write("\n");
        process.waitForBytesWritten(kTimeoutMs);
    }
    for (QProcess& process : all) {
        QVERIFY(process.waitForFinished(kTimeoutMs));
        QVERIFY(process.exitStatus() == QProcess::NormalExit && process.exitCode() == 0);
    }
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
        QMap<int, QList<int>> numbers; // of each process
        QList<QByteArray> others;
        int headers = 0;
        for (const QByteArray& line : CrashedLog::LinesOf(QDir(), kLog, 0)) {
            const QByteArray body = LogText::Body(line);
            if (const std::optional<Lines::Said> said = Lines::Whose(body))
                numbers[said->iThread] += said->iNumber;
            else if (CrashedLog::IsHeader(line))
                ++headers;
            else if (!CrashedLog::IsLogsOwn(body))
                others += body;
        }
        QCOMPARE(others, QList<QByteArray>{kOld}); // none is torn
        QCOMPARE(headers, 1);
        QCOMPARE(numbers.size(), processes);
        for (QList<int>& each : numbers) {
            std::sort(each.begin(), each.end());
            QCOMPARE(each, Lines::Expected(0, kLines));
        }
    }
};

NEROLT_TEST_MAIN(tst_SharedLog)

#include "tst_SharedLog.moc"
