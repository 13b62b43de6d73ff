#include "CrashRun.h"
#include "faults/RunningLog.h"
#include "logging/CrashFormat.h"

#include <NeroltOrvaneBase/Logger.h>

#include <QtCore/QElapsedTimer>
#include <QtCore/QFile>
#include <QtTest/QtTest>

#include <csignal>
#include <sys/wait.h>
#include <unistd.h>

using namespace CrashRun;
using TestSupport::Scenario;
using TestSupport::ScenarioResult;
using Lines = QList<QByteArray>;

namespace {

const Scenario diesAfterAFlush("diesAfterAFlush", [](const QStringList& arguments) {
    Begin(arguments);
    Logger::SetLoggerFileName(QStringLiteral("log"), false);
    Say(QStringLiteral("flushed"));
    if (Logger::Flush())
        ::raise(SIGKILL);
    return 1;
});

const Scenario onlyErrors("onlyErrors", [](const QStringList& arguments) {
    Begin(arguments);
    Logger::GetInstance()->SetLevel(LoggerDefs::Error);
    Logger::SetLoggerFileName(QStringLiteral("log"), false);
    Logger::LogError(7, LoggerDefs::NoExtraInfo, "f", QStringLiteral("late"), 0, 0);
    Logger::StopLogging();
    return 0;
});

const Scenario makesACopy("makesACopy", [](const QStringList& arguments) {
    Begin(arguments);
    if (!arguments.value(1).isEmpty())
        Logger::SetLoggerFileName(arguments.at(1), false);
    Say(QStringLiteral("before"));
    const pid_t copy = ::fork();
    if (copy == 0) {
        for (int i = 0; i < 10000; ++i)
            Say(QStringLiteral("of the copy"));
        const bool isSet = Logger::SetCrashFile(kCrashFile);
        Logger::StopLogging();
        ::_exit(isSet ? 1 : 0);
    }
    int status = 0;
    ::waitpid(copy, &status, 0);
    if (status != 0)
        return 1;
    Say(QStringLiteral("after"));
    ::raise(SIGKILL);
    return 0;
});

const Scenario changesTheCrashFile("changesTheCrashFile", [](const QStringList& arguments) {
    Begin(arguments);
    Say(QStringLiteral("in the first"));
    if (!Logger::SetCrashFile(QStringLiteral("second")))
        return 1;
    Say(QStringLiteral("in the second"));
    if (QFile::exists(kCrashFile) || !Logger::SetCrashFile(kCrashFile))
        return 1;
    ::raise(SIGKILL);
    return 0;
});

const Scenario setsItAgain("setsItAgain", [](const QStringList& arguments) {
    Begin(arguments);
    Logger::SetLoggerFileName(QStringLiteral("log"), false);
    RunningLog::WhileTheWriterStandsStill([] {
        Say(QString(10000, QLatin1Char('.')));
        if (!Logger::SetCrashFile(QString()))
            ::_exit(2);
        Say(QString(10000, QLatin1Char('.')));
        if (!Logger::SetCrashFile(kCrashFile))
            ::_exit(2);
    });
    Say(QStringLiteral("two"));
    ::_exit(9);
    return 1;
});

const Scenario changesTheLog("changesTheLog", [](const QStringList& arguments) {
    Begin(arguments);
    Logger::SetLoggerFileName(QStringLiteral("first"), false);
    Say(QStringLiteral("one"));
    Logger::Flush();
    Say(QStringLiteral("two"));
    Logger::SetLoggerFileName(QStringLiteral("second"), true);
    Say(QStringLiteral("three"));
    ::raise(SIGKILL);
    return 0;
});

const Scenario fillsIt("fillsIt", [](const QStringList& arguments) {
    Begin(arguments);
    Logger::SetLoggerFileName(QStringLiteral("log"), false);
    RunningLog::WhileTheWriterStandsStill([] {
        for (int i = 0; i < 5000; ++i) {
            QElapsedTimer elapsed;
            elapsed.start();
            Say(QStringLiteral("%1").arg(i, 1000, 10, QLatin1Char('.')));
            if (elapsed.elapsed() > 60000) // once, for a second
                ::_exit(8);
        }
        ::_exit(9);
    });
    return 1;
});

const Scenario losesLines("losesLines", [](const QStringList& arguments) {
    Begin(arguments);
    if (arguments.size() > 1)
        Logger::SetLoggerFileName(arguments.at(1), false);
    Say(QString(6000, QLatin1Char('.')));
    if (Logger::Flush()) // it was lost
        return 1;
    Say(QStringLiteral("kept"));
    ::raise(SIGKILL);
    return 0;
});

} // namespace

class tst_CrashedRuns : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void nextRunCompletesTheLog_data();
    void nextRunCompletesTheLog()
    {
        QFETCH(QStringList, run);
        QFETCH(QString, nextLog);
        const Folder folder;
        const ScenarioResult died = folder.Run(run.first().toLatin1().constData(), run.mid(1));
        QVERIFY2(died.iCrashed || run.contains("_exit") || run.contains("return"), died.Describe());
        QVERIFY(folder.Files().contains(kCrashFile));
        QVERIFY(folder.NextRun({nextLog}));
        QFETCH(QString, file);
        QTEST(BodiesOf(folder.Path(), file.toLatin1().constData()), "lines");
        QVERIFY(!folder.Files().contains(kCrashFile));
    }

    void theMaskStopsTheLine()
    {
        const Folder folder;
        folder.LetDie();
        QVERIFY(folder.Run("onlyErrors").IsOk());
        QCOMPARE(BodiesOf(folder.Path()), TheFour() + Lines{"|7|Error|f|late"});
    }

    void aLogThatCannotBeOpenedIsCompletedLater()
    {
        const Folder folder;
        QVERIFY(folder.Path().mkdir(QStringLiteral("away")));
        folder.LetDie(QStringLiteral("away/log"));
        QVERIFY(folder.Path().rmdir(QStringLiteral("away")));
        QVERIFY(folder.NextRun());
        QCOMPARE(folder.Files(), (QStringList{kCrashFile, QStringLiteral("log")}));
        QCOMPARE(BodiesOf(folder.Path()), Lines({Said("early"), Said("late"), Stopped("log")}));
        // This one is protected as well.
        folder.NextRun({QStringLiteral("log"), QStringLiteral("SIGKILL")});
        QVERIFY(QFile::remove(folder.Path().filePath(QStringLiteral("log"))));
        QVERIFY(folder.Path().mkdir(QStringLiteral("away")));
        QVERIFY(folder.NextRun({QStringLiteral("third")}));
        QCOMPARE(BodiesOf(folder.Path(), "away/log"), TheFour());
        QCOMPARE(BodiesOf(folder.Path()), Lines({Said("early"), Said("late")}));
        QCOMPARE(BodiesOf(folder.Path(), "third"),
                 Lines({Recovered(6), Said("early"), Said("late"), Stopped("third")}));
        QCOMPARE(folder.Files(), (QStringList{QStringLiteral("away"), QStringLiteral("log"), QStringLiteral("third")}));
    }

    // Also while another log still waits for its lines.
    void whatWasRecoveredIsNotRecoveredAgain()
    {
        const Folder folder;
        QVERIFY(folder.Path().mkdir(QStringLiteral("away")));
        folder.LetDie(QStringLiteral("away/log"));
        QVERIFY(folder.Path().rmdir(QStringLiteral("away")));
        folder.NextRun({QStringLiteral("log"), QStringLiteral("SIGKILL")});
        QVERIFY(folder.NextRun({QStringLiteral("second")}));
        QCOMPARE(BodiesOf(folder.Path()), Lines({Said("early"), Said("late")}));
        QVERIFY(QFile::remove(folder.Path().filePath(QStringLiteral("log"))));
        QVERIFY(folder.NextRun({QStringLiteral("third")}));
        QCOMPARE(BodiesOf(folder.Path(), "third"), Lines({Said("early"), Said("late"), Stopped("third")}));
        QVERIFY(!folder.Files().contains(QStringLiteral("log")));
    }

    // Batches of before, which the writer finishes later, do not count for lines of the file that came in between.
    void theProtectionCanEndAndBeginAgain()
    {
        const Folder folder;
        const ScenarioResult died = folder.Run("setsItAgain");
        QCOMPARE(died.iExitCode, 9);
        QVERIFY(folder.NextRun({QStringLiteral("other")}));
        QCOMPARE(BodiesOf(folder.Path()).mid(2), Lines{Said("two")});
        QCOMPARE(BodiesOf(folder.Path(), "other").first(), Recovered(1));
    }

    void whatTheWriterGivesUpIsNotRecovered_data()
    {
        QTest::addColumn<QStringList>("log");
        QTest::newRow("there was no log yet") << QStringList();
        QTest::newRow("it could not be opened") << QStringList{QStringLiteral("none/log")};
    }

    void whatTheWriterGivesUpIsNotRecovered()
    {
        QFETCH(QStringList, log);
        const Folder folder;
        QVERIFY(folder.Run("losesLines", log).iCrashed);
        QVERIFY(folder.Path().mkdir(QStringLiteral("none")));
        QVERIFY(folder.NextRun(log));
        QCOMPARE(BodiesOf(folder.Path(), log.isEmpty() ? "log" : "none/log").mid(0, 2),
                 Lines({Said("kept"), Recovered(1)}));
    }

    void whatHasNoRoomIsCounted()
    {
        const Folder folder;
        const ScenarioResult died = folder.Run("fillsIt");
        QCOMPARE(died.iExitCode, 9);
        QVERIFY(folder.NextRun());
        const Lines lines = BodiesOf(folder.Path());
        int said = 0;
        while (lines.value(said) == Said(QByteArray::number(said).rightJustified(1000, '.')))
            ++said;
        const int capacity = int(CrashFormat::kCapacity / 1060);
        QVERIFY2(said > capacity - 200 && said < capacity + 60, QByteArray::number(said));
        QCOMPARE(lines.value(said),
                 Recovered(said) + ", " + QByteArray::number(5000 - said) + " lines were not protected");
    }
};

void tst_CrashedRuns::nextRunCompletesTheLog_data()
{
    QTest::addColumn<QStringList>("run");
    QTest::addColumn<QString>("nextLog");
    QTest::addColumn<QString>("file");
    QTest::addColumn<Lines>("lines");
    const auto row
        = [](const char* name, const QStringList& run, const char* nextLog, const char* file, const Lines& lines) {
              QTest::newRow(name) << run << QString(nextLog) << QString(file) << lines;
          };
    const auto next = [](int recovered, const char* log) {
        return Lines{Recovered(recovered), Said("early"), Said("late"), Stopped(log)};
    };
    for (const char* way : {"SIGKILL", "SIGSEGV", "abort", "exception", "_exit", "return"})
        row(way, {"runThatDies", way, "log"}, "log", "log", TheFour() + next(4, "log"));
    const QStringList dies{"runThatDies", "SIGKILL"};
    row("the log of the dead process", dies + QStringList{"log"}, "other", "log", TheFour());
    row("beside that", dies + QStringList{"log"}, "other", "other", next(4, "other"));
    row("without a log", dies, "log", "log", TheFour() + next(4, "log"));
    row("nothing to recover", {"diesAfterAFlush"}, "log", "log", Lines{Said("flushed")} + next(0, "log"));
    // A copy of the process does not touch the crash file.
    const Lines copied = Lines{Said("before"), Said("after")} + next(2, "log");
    row("copied before the log starts", {"makesACopy", ""}, "log", "log", copied);
    row("copied later", {"makesACopy", "log"}, "log", "log", copied);
    row("another crash file takes the lines over", {"changesTheCrashFile"}, "log", "log",
        Lines{Said("in the first"), Said("in the second")} + next(2, "log"));
    // Lines in the log are not recovered; what was in the buffer goes to both.
    const Lines changed{Said("one"), Said("two"), "|10|Information|Logger::SetLoggerFileName|Existing path is first",
                        "|10|Information|Logger::SetLoggerFileName|New path is second"};
    row("first log", {"changesTheLog"}, "third", "first", changed);
    row("second log", {"changesTheLog"}, "third", "second", changed.mid(1) + Lines{Said("three")});
    row("third log", {"changesTheLog"}, "third", "third", next(4, "third"));
}

NEROLT_TEST_MAIN(tst_CrashedRuns)

#include "tst_CrashedRuns.moc"
