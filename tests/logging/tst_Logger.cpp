#include "EntryPoints.h"
#include "support/LogScenario.h"

#include <QtCore/QFile>
#include <QtTest/QtTest>

#include <thread>
#include <vector>

using LogScenario::LeftBy;
using LogScenario::LoggedBy;
using TestSupport::RunScenario;
using TestSupport::Scenario;
using Lines = QList<QByteArray>;

namespace {

const QString kLog = QStringLiteral("app.log");
const QString kMsg = QStringLiteral("m");
const QString kBroken = QStringLiteral("b\r\n.log");
const QByteArray kStopping = "|10|Information|Logger::StopLogging|stopping logging file path is ";

const Scenario outOfTheBox("outOfTheBox", [](const QStringList&) {
    const bool isAsMade = Logger::GetInstance()->GetLevel() == 18 && Logger::GetLoggerFileName().isEmpty()
        && Logger::StackLoggingEnabled();
    Logger::SetLoggerFileName(kLog, false);
    for (const EntryPoint& entryPoint : EntryPoints())
        entryPoint.iCall();
    Logger::StopLogging();
    return isAsMade ? 0 : 1;
});

const Scenario firstNameWins("firstNameWins", [](const QStringList&) {
    Logger::GetInstance()->SetLevel(LoggerDefs::Information);
    Logger::LogInformation("F", QStringLiteral("early"));
    Logger::SetLoggerFileName(QString(), true); // no name is not a name set
    Logger::SetLoggerFileName(kLog, false);
    Logger::SetLoggerFileName(QStringLiteral("second.log"), false);
    const bool isFirst = Logger::GetLoggerFileName() == kLog;
    Logger::StopLogging();
    return isFirst && !QFile::exists(QStringLiteral("second.log")) ? 0 : 1;
});

// Of a path is said what was given. It counts from the folder that was the current one by then. Nothing ends a line.
const Scenario changeOfFiles("changeOfFiles", [](const QStringList& arguments) {
    Logger::GetInstance()->SetLevel(arguments[0].toInt());
    Logger::SetLoggerFileName(QStringLiteral("./app.log"), true);
    QDir().mkdir(QStringLiteral("below"));
    QDir::setCurrent(QStringLiteral("below"));
    Logger::LogWarning("F\n", QStringLiteral("o\rne\n"));
    Logger::SetLoggerFileName(kBroken, true);
    const bool isNext = Logger::GetLoggerFileName() == kBroken;
    QDir::setCurrent(QStringLiteral(".."));
    Logger::LogWarning("F", QStringLiteral("two"));
    Logger::StopLogging();
    return isNext ? 0 : 1;
});

const Scenario oneInstance("oneInstance", [](const QStringList&) {
    std::vector<std::thread> callers;
    std::vector<Logger*> seen(16);
    std::atomic<bool> go{false};
    for (Logger*& slot : seen) {
        callers.emplace_back([&slot, &go] {
            while (!go)
                std::this_thread::yield();
            slot = Logger::GetInstance();
        });
    }
    go = true;
    for (std::thread& caller : callers)
        caller.join();
    return std::count(seen.begin(), seen.end(), Logger::GetInstance()) == int(seen.size()) ? 0 : 1;
});

} // namespace

class tst_Logger : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void outOfTheBoxOnlyErrorsAndExceptionsAreLogged()
    {
        Lines expected;
        for (const EntryPoint& entryPoint : EntryPoints()) {
            if (!entryPoint.iReport.isEmpty())
                expected += entryPoint.iLine;
        }
        QCOMPARE(LeftBy(RunScenario("outOfTheBox")), expected);
    }

    void entryPoint_data()
    {
        QTest::addColumn<int>("index");
        for (int i = 0; i < EntryPoints().size(); ++i)
            QTest::newRow(EntryPoints()[i].iName) << i;
    }
    void entryPoint()
    {
        QFETCH(int, index);
        const EntryPoint entryPoint = EntryPoints()[index];
        for (int mask = 0; mask < 64; ++mask) {
            const Reporter reporter;
            const Lines lines = LoggedBy(entryPoint.iCall, mask);
            QCOMPARE(lines, LogScenario::Passing({entryPoint.iLine}, mask));
            const bool isReported = !lines.isEmpty() && !entryPoint.iReport.isEmpty();
            QCOMPARE(reporter.iReports, isReported ? QStringList(entryPoint.iReport) : QStringList());
        }
    }

    void nobodyMakesASecondLine()
    {
        const char* const forged = "\r\n2024-03-05 14:07:09.042|1|Error|Bank::Pay|paid\n";
        for (const EntryPoint& entryPoint : EntryPoints(forged, QString::fromLatin1(forged)))
            QCOMPARE(LoggedBy(entryPoint.iCall),
                     Lines{QByteArray(entryPoint.iLine).replace('\r', "").replace('\n', "")});
    }

    // An exception is reported plainly, but its int is stored for a later error.
    void intOfAnExceptionIsStored()
    {
        const Reporter reporter;
        Logger::GetInstance()->SetLevel(LoggerDefs::Error);
        Logger::LogException(1, "F", kMsg, 77);
        Logger::LogError(2, LoggerDefs::FirstIntDec, "F", kMsg, QString());
        Logger::GetInstance()->Exception(3, "F", kMsg, 78);
        Logger::LogError(4, LoggerDefs::FirstIntDec, "F", kMsg, QString());
        QCOMPARE(reporter.iReports, (QStringList{QStringLiteral("2_77: m"), QStringLiteral("4_78: m")}));
    }

    void withoutAReporterErrorsAreLogged()
    {
        const Lines lines = LoggedBy([] {
            Logger::SetErrorReporter(nullptr);
            Logger::LogUnknownException(9, nullptr);
        });
        QCOMPARE(lines, Lines{"|9|Exception||Unknown exception has been caught."});
    }

    void levels()
    {
        Logger& logger = *Logger::GetInstance();
        logger.SetLevel(4);
        QCOMPARE(logger.GetLevel(), 4);
        QVERIFY(!logger.LoggingEnabled(LoggerDefs::LogValues(6)));
        QVERIFY(logger.LoggingEnabled(LoggerDefs::Warning));
        QVERIFY(!logger.TraceLoggingEnabled() && !Logger::LoggingEnabledTrace());
        logger.SetLevel(12);
        QVERIFY(logger.TraceLoggingEnabled() && Logger::LoggingEnabledTrace());
        logger.SetLevel(LoggerDefs::kLockedLevel);
        QVERIFY(!Logger::ResetLoggingLevel(3));
        QCOMPARE(logger.GetLevel(), 255);
        logger.SetLevel(0); // is not restricted
        QVERIFY(Logger::ResetLoggingLevel(-5));
        QCOMPARE(logger.GetLevel(), -5);
    }

    void resetOfTheLevelIsLogged()
    {
        const auto reset
            = [](int before, int after) { return LoggedBy([after] { Logger::ResetLoggingLevel(after); }, before); };
        const QByteArray head = "|10|Information|Logger::ResetLoggingLevel|";
        QCOMPARE(reset(0, 5), Lines{head + "resetting log level 5"});
        QCOMPARE(reset(5, 2), Lines{head + "resetting log level 2"});
        QCOMPARE(reset(2, 18), Lines());
        QCOMPARE(reset(255, 0), Lines{head + "log level is 255 and cannot be reset"});
    }

    void flagOfStackTraces()
    {
        LoggerAgent* const agent = (Logger::GetInstance()->*Logger_iAgent()).load();
        for (const bool flag : {true, false}) {
            Logger::SetStackTrace(flag);
            QCOMPARE(agent->StackLoggingEnabled(), flag);
            QVERIFY(Logger::StackLoggingEnabled());
        }
    }

    void firstFileNameWinsWithoutForce()
    {
        QCOMPARE(LeftBy(RunScenario("firstNameWins")), (Lines{"|10|Information|F|early", kStopping + "app.log"}));
    }

    void forceChangesFiles_data()
    {
        QTest::addColumn<int>("mask");
        QTest::addColumn<Lines>("first"); // which also begin the second file
        QTest::addColumn<Lines>("second");
        const QByteArray one = "|30|Warning|F|one";
        const QByteArray two = "|30|Warning|F|two";
        const QByteArray existing = "|10|Information|Logger::SetLoggerFileName|Existing path is ./app.log";
        const QByteArray next = "|10|Information|Logger::SetLoggerFileName|New path is b.log";
        const QByteArray enter = "|30|Debug|LoggerAgent::SetLoggerFileName|Enter";
        const QByteArray start = "|30|Debug|LoggerAgent::StartThread|starting timer";
        const QByteArray stop = "|30|Debug|LoggerAgent::StopLogging|stopping timer";
        QTest::newRow("warnings") << 4 << Lines{one} << Lines{two};
        QTest::newRow("information") << 5 << Lines{one, existing, next} << Lines{two, kStopping + "b.log"};
        QTest::newRow("debug") << 37 << Lines{enter, start, one, existing, next, enter}
                               << Lines{stop, start, two, kStopping + "b.log"};
    }
    void forceChangesFiles()
    {
        QFETCH(int, mask);
        QFETCH(Lines, first);
        QFETCH(Lines, second);
        const auto result = RunScenario("changeOfFiles", {QString::number(mask)});
        QCOMPARE(LeftBy(result), first);
        QCOMPARE(LeftBy(result, QStringLiteral("below/") + kBroken), first + second);
    }

    void oneInstanceForAllThreads() { QCOMPARE(LeftBy(RunScenario("oneInstance")), Lines()); }
};

NEROLT_TEST_MAIN(tst_Logger)

#include "tst_Logger.moc"
