#include "Lines.h"
#include "Load.h"
#include "RunningLog.h"
#include "support/ForgedClock.h"
#include "support/LogText.h"
#include "support/TestMain.h"

#include <NeroltOrvaneBase/FileUtilities.h>
#include <NeroltOrvaneBase/Logger.h>
#include <NeroltOrvaneBase/LoggerWorker.h>

#include <QtCore/QFile>
#include <QtTest/QtTest>

#include <cstdio>

namespace {

const TestSupport::Scenario load("load", [](const QStringList&) {
    const Load::Outcome outcome = Load::Run({16, 20000, 2});
    std::fputs(Load::ToText(outcome).constData(), stdout);
    return 0;
});

// Lines that wait for the writer take memory. Prints the resident memory before, meanwhile and afterwards.
const TestSupport::Scenario burst("burst", [](const QStringList&) {
    Logger::GetInstance()->SetLevel(63);
    Logger::SetLoggerFileName(QStringLiteral("app.log"), false);
    Lines::Say(0, 0);
    RunningLog::HandOver();
    const qint64 before = RunningLog::ResidentKiB();
    qint64 meanwhile = 0;
    RunningLog::WhileTheWriterStandsStill([&meanwhile] {
        for (int number = 1; number <= 200000; ++number)
            Lines::Say(0, number);
        meanwhile = RunningLog::ResidentKiB();
    });
    const bool goesBack = QTest::qWaitFor([before] { return RunningLog::ResidentKiB() < before + 4096; }, 30000);
    Logger::StopLogging();
    std::printf("%lld KiB before, %lld meanwhile, %lld afterwards\n", before, meanwhile, RunningLog::ResidentKiB());
    return goesBack && meanwhile > before + 16384 ? 0 : 1;
});

void MakeOld(const QString& path)
{
    QVERIFY(FileUtilities::SetTime(path, QDateTime::currentDateTime().addDays(-2), FileTimeCreation, false));
}

} // namespace

class tst_Load : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void everyAcceptedLineIsInTheFilesOnce()
    {
        const auto result = TestSupport::RunScenario("load");
        QVERIFY2(result.IsOk(), result.Describe());
        const Load::Outcome outcome = Load::FromText(result.iStdout);
        QCOMPARE(outcome.iFault, QByteArray());
        QCOMPARE(outcome.iLines, qint64(320000));
        QCOMPARE(outcome.iRotations, 4);
        QVERIFY(outcome.iLevelChanges > 0);
        qInfo("%s", result.iStdout.constData());
#ifndef NEROLT_SANITIZED // the sanitizers keep memory back
        QVERIFY2(outcome.iEndKiB - outcome.iWarmKiB < 2048, result.iStdout.constData());
#endif
    }

#ifndef NEROLT_SANITIZED
    void memoryOfABurstGoesBack()
    {
        const auto result = TestSupport::RunScenario("burst");
        QVERIFY2(result.IsOk(), result.Describe());
        qInfo("%s", result.iStdout.constData());
    }
#endif

    // The names contain the time to the second. Only the file that the second rotation finds is lost.
    void twoRotationsWithinASecondLoseAFile()
    {
        const QString path = QStringLiteral("app.log");
        ForgedClock::Freeze(QDateTime(QDate(2024, 3, 5), QTime(14, 7, 9, 42)));
        LoggerWorker worker(path);
        worker.onStartWorker();
        worker.onLogMessage("first\n");
        MakeOld(path);
        worker.onLogMessage("second\n");
        worker.onLogMessage("third\n");
        MakeOld(path);
        ForgedClock::Advance(900);
        worker.onLogMessage("fourth\n");
        worker.onLogMessage("fifth\n");
        ForgedClock::Release();
        const QByteArray rest = "continued from app-2024-03-05_14-07-09.log\n";
        QCOMPARE(LogText::Read(QStringLiteral("app-2024-03-05_14-07-09.log")), QByteArray("first\nsecond\n"));
        QCOMPARE(LogText::Read(path), "2024-03-05 14:07:09.942" + rest + "fifth\n");
    }
};

NEROLT_TEST_MAIN(tst_Load)

#include "tst_Load.moc"
