#include "support/LogText.h"
#include "support/PrivateAccess.h"
#include "support/TestMain.h"

#include <NeroltOrvaneBase/FileUtilities.h>
#include <NeroltOrvaneBase/IErrorReporter.h>
#include <NeroltOrvaneBase/Logger.h>
#include <NeroltOrvaneBase/LoggerAgent.h>
#include <NeroltOrvaneBase/RegisteredThread.h>

#include <QtCore/QDateTime>
#include <QtCore/QDir>
#include <QtCore/QFile>
#include <QtTest/QtTest>

#include <cstdio>
#include <cstring>
#include <thread>
#include <type_traits>
#include <vector>

NEROLT_PRIVATE(Logger, iMutex, QMutex)
NEROLT_PRIVATE(Logger, iAgent, std::atomic<LoggerAgent*>)
NEROLT_PRIVATE_STATIC(Logger, iInstance, std::atomic<Logger*>)

using TestSupport::Scenario;

namespace {

const QString kLog = QStringLiteral("app.log");
constexpr int kAll = 63;
constexpr int kAllButTheirOwn = 31; // without the lines that the log writes about itself at debug level

// A condition in a scenario: the line number is the exit code's companion on stderr.
#define CHECK(condition)                                                                                               \
    do {                                                                                                               \
        if (!(condition)) {                                                                                            \
            std::fprintf(stderr, "line %d: %s\n", __LINE__, #condition);                                               \
            return 1;                                                                                                  \
        }                                                                                                              \
    } while (false)

QList<QByteArray> BodiesOf(const TestSupport::ScenarioResult& result, const QString& file = kLog)
{
    return LogText::Bodies(LogText::Read(result.iFolder.filePath(file)));
}

// The last line that a stop leaves in the log if information passes.
const QByteArray kStopping = "|10|Information|Logger::StopLogging|stopping logging file path is app.log";

// Prints what it hears, so that the order among lines and reports is seen.
class PrintingReporter final : public IErrorReporter
{
public:
    void ReportError(const QString& errorCode, const QString& message) override
    {
        std::printf("%s: %s\n", qPrintable(errorCode), qPrintable(message));
    }
};

class FirstSlotProbe final : public IErrorReporter
{
public:
    void ReportError(const QString&, const QString&) override { iCalled = true; }

    bool iCalled = false;
};

const Scenario defaults("defaults", [](const QStringList&) {
    CHECK(!Logger_iInstance());
    Logger* const logger = Logger::GetInstance();
    CHECK(logger && Logger_iInstance() == logger && Logger::GetInstance() == logger);
    CHECK((logger->*Logger_iMutex()).isRecursive());
    const LoggerAgent* const agent = logger->*Logger_iAgent();
    CHECK(agent && !agent->parent() && agent->Level() == 18);
    CHECK(logger->GetLevel() == 18);
    CHECK(Logger::GetLoggerFileName().isEmpty());
    CHECK(Logger::StackLoggingEnabled());
    Logger::SetLoggerFileName(kLog, false);
    CHECK(Logger::GetLoggerFileName() == kLog);
    Logger::LogInformation("F", QStringLiteral("m"));
    Logger::LogDebug("F", QStringLiteral("m"));
    Logger::LogTrace("F", QStringLiteral("m"));
    Logger::LogWarning("F", QStringLiteral("m"));
    Logger::LogError(1, LoggerDefs::NoExtraInfo, "F", QStringLiteral("m"), 0, 0);
    Logger::LogException(2, "F", QStringLiteral("m"), 0);
    Logger::StopLogging();
    return 0;
});

const Scenario entryPoints("entryPoints", [](const QStringList&) {
    PrintingReporter reporter;
    Logger::SetErrorReporter(&reporter);
    Logger& logger = *Logger::GetInstance();
    logger.SetLevel(kAll & ~LoggerDefs::Debug);
    Logger::SetLoggerFileName(kLog, false);
    logger.SetLevel(kAll);
    const QString m = QStringLiteral("m");
    Logger::LogInformation("F", m);
    logger.Information("F", m);
    Logger::LogDebug("F", m);
    logger.Debug("F", m);
    Logger::LogTrace("F", m);
    logger.Trace("F", m);
    Logger::LogWarning("F", m);
    logger.Warning("F", m);
    Logger::LogError(101, LoggerDefs::BothIntsHexDec, "F", QStringLiteral("ints"), 1, 31);
    logger.Error(102, LoggerDefs::BothIntsHexDec, "F", QStringLiteral("ints"), 2, 32);
    Logger::LogError(103, LoggerDefs::ExtraText, "F", QStringLiteral("text"), QStringLiteral("a"));
    logger.Error(104, LoggerDefs::ExtraText, "F", QStringLiteral("text"), QStringLiteral("b"));
    Logger::LogError(105, LoggerDefs::TwoUIntsHex, 10U, 11U, "F", QStringLiteral("unsigned"));
    logger.Error(106, LoggerDefs::TwoUIntsHex, 12U, 13U, "F", QStringLiteral("unsigned"));
    // An exception is reported plainly, but its int is stored for a later error.
    Logger::LogException(107, "F", QStringLiteral("exception"), 77);
    logger.Error(108, LoggerDefs::FirstIntDec, "F", QStringLiteral("stored"), QStringLiteral("c"));
    logger.Exception(109, "F", QStringLiteral("exception"), 78);
    logger.Error(110, LoggerDefs::BothIntsHexDec, 1U, 2U, "F", QStringLiteral("stored"));
    Logger::LogUnknownException(7, "F");
    logger.UnknownException(8, "F");
    Logger::LogUnknownException(9, nullptr);
    logger.SetLevel(kAllButTheirOwn & ~LoggerDefs::Trace);
    Logger::StopLogging();
    return 0;
});

const Scenario filtered("filtered", [](const QStringList&) {
    PrintingReporter reporter;
    Logger::SetErrorReporter(&reporter);
    Logger& logger = *Logger::GetInstance();
    Logger::SetLoggerFileName(kLog, false);
    logger.SetLevel(LoggerDefs::Exception);
    Logger::LogError(1, LoggerDefs::FirstIntDec, "F", QStringLiteral("m"), 5, 6);
    Logger::LogError(2, LoggerDefs::FirstIntDec, "F", QStringLiteral("m"), QStringLiteral("text"));
    Logger::LogError(3, LoggerDefs::FirstIntDec, 1U, 2U, "F", QStringLiteral("m"));
    logger.SetLevel(LoggerDefs::Error);
    Logger::LogException(4, "F", QStringLiteral("m"), 9);
    Logger::LogUnknownException(5, "F");
    // The extras of what was filtered are stored all the same.
    Logger::LogError(6, LoggerDefs::BothIntsHexDec, "F", QStringLiteral("m"), QStringLiteral("new text"));
    Logger::SetErrorReporter(nullptr);
    Logger::LogError(7, LoggerDefs::NoExtraInfo, "F", QStringLiteral("m"), 0, 0);
    Logger::StopLogging();
    return 0;
});

const Scenario levels("levels", [](const QStringList&) {
    Logger& logger = *Logger::GetInstance();
    logger.SetLevel(4);
    CHECK(logger.GetLevel() == 4);
    CHECK(!logger.LoggingEnabled(LoggerDefs::LogValues(6)));
    CHECK(logger.LoggingEnabled(LoggerDefs::Warning));
    CHECK(!logger.TraceLoggingEnabled() && !Logger::LoggingEnabledTrace());
    logger.SetLevel(12);
    CHECK(logger.TraceLoggingEnabled() && Logger::LoggingEnabledTrace());
    logger.SetLevel(LoggerDefs::kLockedLevel);
    CHECK(!Logger::ResetLoggingLevel(3) && logger.GetLevel() == 255);
    logger.SetLevel(0); // is not restricted
    CHECK(logger.GetLevel() == 0);
    CHECK(Logger::ResetLoggingLevel(1) && logger.GetLevel() == 1);
    CHECK(Logger::ResetLoggingLevel(-5) && logger.GetLevel() == -5);
    Logger::SetStackTrace(true);
    CHECK((logger.*Logger_iAgent()).load()->StackLoggingEnabled() && Logger::StackLoggingEnabled());
    Logger::SetStackTrace(false);
    CHECK(!(logger.*Logger_iAgent()).load()->StackLoggingEnabled() && Logger::StackLoggingEnabled());
    Logger::StopLogging();
    CHECK(logger.GetLevel() == 0);
    CHECK(!logger.LoggingEnabled(LoggerDefs::LogValues(0)) && !logger.LoggingEnabled(LoggerDefs::Error));
    CHECK(!logger.TraceLoggingEnabled() && !Logger::LoggingEnabledTrace());
    CHECK(!Logger::ResetLoggingLevel(63));
    logger.SetLevel(63);
    CHECK(logger.GetLevel() == 0);
    CHECK(Logger::StackLoggingEnabled());
    return 0;
});

const Scenario resetLevel("resetLevel", [](const QStringList&) {
    Logger::SetLoggerFileName(kLog, false);
    const auto arrived = [](int lines) {
        return QTest::qWaitFor([=] { return LogText::Lines(LogText::Read(kLog)).size() == lines; }, 10000);
    };
    CHECK(Logger::ResetLoggingLevel(5)); // information comes in
    CHECK(arrived(1));
    Logger::LogWarning("F", QStringLiteral("waits"));
    CHECK(Logger::ResetLoggingLevel(2)); // information goes out
    CHECK(arrived(3));
    CHECK(Logger::ResetLoggingLevel(18)); // nothing to say it with
    Logger::GetInstance()->SetLevel(LoggerDefs::kLockedLevel);
    CHECK(!Logger::ResetLoggingLevel(0));
    CHECK(arrived(4));
    Logger::GetInstance()->SetLevel(0);
    Logger::StopLogging();
    return 0;
});

const Scenario firstNameWins("firstNameWins", [](const QStringList&) {
    Logger::GetInstance()->SetLevel(LoggerDefs::Information);
    Logger::LogInformation("F", QStringLiteral("early"));
    Logger::SetLoggerFileName(QString(), true); // no name is not a name set
    Logger::SetLoggerFileName(kLog, false);
    Logger::SetLoggerFileName(QStringLiteral("second.log"), false);
    CHECK(Logger::GetLoggerFileName() == kLog);
    CHECK(!QFile::exists(QStringLiteral("second.log")));
    Logger::StopLogging();
    CHECK(!QFile::exists(QStringLiteral("second.log")));
    return 0;
});

const Scenario changeOfFiles("changeOfFiles", [](const QStringList& arguments) {
    Logger& logger = *Logger::GetInstance();
    logger.SetLevel(arguments.value(0).toInt());
    Logger::SetLoggerFileName(kLog, true);
    Logger::LogWarning("F", QStringLiteral("one"));
    Logger::SetLoggerFileName(QStringLiteral("b.log"), true);
    CHECK(Logger::GetLoggerFileName() == QStringLiteral("b.log"));
    Logger::LogWarning("F", QStringLiteral("two"));
    Logger::StopLogging();
    return 0;
});

const Scenario currentFolder("currentFolder", [](const QStringList&) {
    Logger::GetInstance()->SetLevel(kAllButTheirOwn & ~LoggerDefs::Trace);
    Logger::SetLoggerFileName(QStringLiteral("./app.log"), false);
    CHECK(QDir().mkdir(QStringLiteral("below")) && QDir::setCurrent(QStringLiteral("below")));
    CHECK(Logger::GetLoggerFileName() == QStringLiteral("./app.log"));
    Logger::LogWarning("F", QStringLiteral("one"));
    Logger::SetLoggerFileName(QStringLiteral("b.log"), true);
    CHECK(QDir::setCurrent(QStringLiteral("..")));
    Logger::LogWarning("F", QStringLiteral("two"));
    Logger::StopLogging();
    return 0;
});

const Scenario fromManyThreads("fromManyThreads", [](const QStringList& arguments) {
    const int threads = arguments.value(0).toInt();
    const int lines = arguments.value(1).toInt();
    Logger::GetInstance()->SetLevel(kAllButTheirOwn & ~LoggerDefs::Trace);
    Logger::SetLoggerFileName(kLog, false);
    std::vector<std::thread> callers;
    for (int t = 0; t < threads; ++t) {
        callers.emplace_back([=] {
            for (int i = 0; i < lines; ++i) {
                const QString msg = QStringLiteral("%1 %2").arg(t).arg(i);
                if (i % 2 == 0)
                    Logger::LogInformation("F", msg);
                else
                    Logger::LogWarning("F", msg);
            }
        });
    }
    for (std::thread& caller : callers)
        caller.join();
    Logger::StopLogging();
    return 0;
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
    for (const Logger* const logger : seen)
        CHECK(logger == Logger::GetInstance());
    return 0;
});

const Scenario rotates("rotates", [](const QStringList&) {
    QFile file(kLog);
    CHECK(file.open(QIODevice::WriteOnly) && file.write("old\n") == 4);
    file.close();
    CHECK(FileUtilities::SetTime(kLog, QDateTime::currentDateTime().addDays(-2), FileTimeCreation, false));
    Logger::GetInstance()->SetLevel(LoggerDefs::Warning);
    Logger::SetLoggerFileName(kLog, false);
    for (int i = 0; i < 200; ++i)
        Logger::LogWarning("F", QStringLiteral("line %1").arg(i));
    Logger::StopLogging();
    return 0;
});

} // namespace

class tst_Logger : public QObject
{
    Q_OBJECT

private:
    static QList<QByteArray> Reported(const TestSupport::ScenarioResult& result)
    {
        return LogText::Lines(result.iStdout);
    }

private Q_SLOTS:
    void vocabulary()
    {
        QCOMPARE(int(LoggerDefs::Information), 1);
        QCOMPARE(int(LoggerDefs::Error), 2);
        QCOMPARE(int(LoggerDefs::Warning), 4);
        QCOMPARE(int(LoggerDefs::Trace), 8);
        QCOMPARE(int(LoggerDefs::Exception), 16);
        QCOMPARE(int(LoggerDefs::Debug), 32);
        QCOMPARE(LoggerDefs::kLockedLevel, 255);
        QCOMPARE(int(LoggerDefs::NoExtraInfo), 0);
        QCOMPARE(int(LoggerDefs::SecondIntHex), 1);
        QCOMPARE(int(LoggerDefs::BothIntsHexDec), 2);
        QCOMPARE(int(LoggerDefs::FirstIntDec), 3);
        QCOMPARE(int(LoggerDefs::ExtraText), 4);
        QCOMPARE(int(LoggerDefs::TwoUIntsHex), 5);
        static_assert(std::is_same_v<std::underlying_type_t<LoggerDefs::LogValues>, int>);
        static_assert(std::is_same_v<std::underlying_type_t<LoggerDefs::ExtraErrorInfoType>, int>);
    }

    void shapeOfTheLogger()
    {
        static_assert(std::has_virtual_destructor_v<Logger>);
        static_assert(!std::is_copy_constructible_v<Logger>);
        // One pointer to the virtual table, then the mutex, then the agent, and nothing more.
        QCOMPARE(sizeof(Logger), sizeof(void*) + sizeof(QMutex) + sizeof(LoggerAgent*));
        const auto offset = [](const auto& member) {
            return reinterpret_cast<const char*>(&member) - reinterpret_cast<const char*>(Logger::GetInstance());
        };
        QCOMPARE(size_t(offset(Logger::GetInstance()->*Logger_iMutex())), sizeof(void*));
        QCOMPARE(size_t(offset(Logger::GetInstance()->*Logger_iAgent())), sizeof(void*) + sizeof(QMutex));
    }

    void reportErrorHasTheFirstSlot()
    {
        static_assert(std::is_abstract_v<IErrorReporter> && !std::has_virtual_destructor_v<IErrorReporter>);
        // A pointer to a virtual function is one more than its offset in the table.
        const auto function = &IErrorReporter::ReportError;
        quintptr raw = 0;
        std::memcpy(&raw, &function, sizeof raw);
        QCOMPARE(raw, quintptr(1));
        FirstSlotProbe probe;
        static_cast<IErrorReporter&>(probe).ReportError(QString(), QString());
        QVERIFY(probe.iCalled);
    }

    void outOfTheBox()
    {
        const auto result = TestSupport::RunScenario("defaults");
        QVERIFY2(result.IsOk(), result.Describe().constData());
        QCOMPARE(BodiesOf(result), (QList<QByteArray>{"|1|Error|F|m", "|2|Exception|F|m"}));
    }

    void everyEntryPoint()
    {
        const auto result = TestSupport::RunScenario("entryPoints");
        QVERIFY2(result.IsOk(), result.Describe().constData());
        QCOMPARE(BodiesOf(result),
                 (QList<QByteArray>{"|10|Information|F|m",
                                    "|10|Information|F|m",
                                    "|20|Debug|F|m",
                                    "|20|Debug|F|m",
                                    "|25|Trace|F|m",
                                    "|25|Trace|F|m",
                                    "|30|Warning|F|m",
                                    "|30|Warning|F|m",
                                    "|101|Error|F|ints",
                                    "|102|Error|F|ints",
                                    "|103|Error|F|text",
                                    "|104|Error|F|text",
                                    "|105|Error|F|unsigned",
                                    "|106|Error|F|unsigned",
                                    "|107|Exception|F|exception",
                                    "|108|Error|F|stored",
                                    "|109|Exception|F|exception",
                                    "|110|Error|F|stored",
                                    "|7|Exception|F|Unknown exception has been caught.",
                                    "|8|Exception|F|Unknown exception has been caught.",
                                    "|9|Exception||Unknown exception has been caught.",
                                    kStopping}));
        QCOMPARE(Reported(result),
                 (QList<QByteArray>{"101_1f_1: ints", "102_20_2: ints", "103_a: text", "104_b: text",
                                    "105_a_b: unsigned", "106_c_d: unsigned", "107: exception", "108_77: stored",
                                    "109: exception", "110_20_78: stored", "7: Unknown exception has been caught.",
                                    "8: Unknown exception has been caught.", "9: Unknown exception has been caught."}));
    }

    void filteredErrorsReachNeitherLogNorReporter()
    {
        const auto result = TestSupport::RunScenario("filtered");
        QVERIFY2(result.IsOk(), result.Describe().constData());
        QCOMPARE(BodiesOf(result), (QList<QByteArray>{"|6|Error|F|m", "|7|Error|F|m"}));
        QCOMPARE(Reported(result), QList<QByteArray>{"6_6_9: m"});
    }

    void levelsAndTheirQuestions()
    {
        const auto result = TestSupport::RunScenario("levels");
        QVERIFY2(result.IsOk(), result.Describe().constData());
    }

    void resetOfTheLevelIsInTheFileAtOnce()
    {
        const auto result = TestSupport::RunScenario("resetLevel");
        QVERIFY2(result.IsOk(), result.Describe().constData());
        QCOMPARE(
            BodiesOf(result),
            (QList<QByteArray>{"|10|Information|Logger::ResetLoggingLevel|resetting log level 5", "|30|Warning|F|waits",
                               "|10|Information|Logger::ResetLoggingLevel|resetting log level 2",
                               "|10|Information|Logger::ResetLoggingLevel|log level is 255 and cannot be reset"}));
    }

    void firstFileNameWinsWithoutForce()
    {
        const auto result = TestSupport::RunScenario("firstNameWins");
        QVERIFY2(result.IsOk(), result.Describe().constData());
        QCOMPARE(BodiesOf(result), (QList<QByteArray>{"|10|Information|F|early", kStopping}));
    }

    // A path counts from the folder that was the current one when it was given; what is said of it is what was given.
    void changeOfTheCurrentFolderMovesNoLog()
    {
        const auto result = TestSupport::RunScenario("currentFolder");
        QVERIFY2(result.IsOk(), result.Describe().constData());
        const QList<QByteArray> before{"|30|Warning|F|one",
                                       "|10|Information|Logger::SetLoggerFileName|Existing path is ./app.log",
                                       "|10|Information|Logger::SetLoggerFileName|New path is b.log"};
        QCOMPARE(BodiesOf(result), before);
        QCOMPARE(BodiesOf(result, QStringLiteral("below/b.log")),
                 before
                     + (QList<QByteArray>{"|30|Warning|F|two",
                                          "|10|Information|Logger::StopLogging|stopping logging file path is b.log"}));
    }

    void forceChangesFiles()
    {
        const auto result = TestSupport::RunScenario("changeOfFiles", {QStringLiteral("5")});
        QVERIFY2(result.IsOk(), result.Describe().constData());
        const QList<QByteArray> before{"|30|Warning|F|one",
                                       "|10|Information|Logger::SetLoggerFileName|Existing path is app.log",
                                       "|10|Information|Logger::SetLoggerFileName|New path is b.log"};
        QCOMPARE(BodiesOf(result), before);
        QCOMPARE(BodiesOf(result, QStringLiteral("b.log")),
                 before
                     + (QList<QByteArray>{"|30|Warning|F|two",
                                          "|10|Information|Logger::StopLogging|stopping logging file path is b.log"}));
    }

    void forceSaysNothingWithoutInformation()
    {
        const auto result = TestSupport::RunScenario("changeOfFiles", {QStringLiteral("4")});
        QVERIFY2(result.IsOk(), result.Describe().constData());
        QCOMPARE(BodiesOf(result), QList<QByteArray>{"|30|Warning|F|one"});
        QCOMPARE(BodiesOf(result, QStringLiteral("b.log")),
                 (QList<QByteArray>{"|30|Warning|F|one", "|30|Warning|F|two"}));
    }

    void changeOfFilesWithDebugOn()
    {
        const auto result = TestSupport::RunScenario("changeOfFiles", {QStringLiteral("37")});
        QVERIFY2(result.IsOk(), result.Describe().constData());
        const QList<QByteArray> before{"|30|Debug|LoggerAgent::SetLoggerFileName|Enter",
                                       "|30|Debug|LoggerAgent::StartThread|starting timer",
                                       "|30|Warning|F|one",
                                       "|10|Information|Logger::SetLoggerFileName|Existing path is app.log",
                                       "|10|Information|Logger::SetLoggerFileName|New path is b.log",
                                       "|30|Debug|LoggerAgent::SetLoggerFileName|Enter"};
        QCOMPARE(BodiesOf(result), before);
        QCOMPARE(BodiesOf(result, QStringLiteral("b.log")),
                 before
                     + (QList<QByteArray>{"|30|Debug|LoggerAgent::StopLogging|stopping timer",
                                          "|30|Debug|LoggerAgent::StartThread|starting timer", "|30|Warning|F|two",
                                          "|10|Information|Logger::StopLogging|stopping logging file path is b.log"}));
    }

    void everyLineOnceAndInEachThreadsOrder_data()
    {
        QTest::addColumn<int>("threads");
        QTest::addColumn<int>("lines");
        QTest::newRow("one thread") << 1 << 20000;
        QTest::newRow("four threads") << 4 << 10000;
        QTest::newRow("sixteen threads") << 16 << 2000;
    }
    void everyLineOnceAndInEachThreadsOrder()
    {
        QFETCH(int, threads);
        QFETCH(int, lines);
        const auto result
            = TestSupport::RunScenario("fromManyThreads", {QString::number(threads), QString::number(lines)});
        QVERIFY2(result.IsOk(), result.Describe().constData());
        const QList<QByteArray> all = LogText::Lines(LogText::Read(result.iFolder.filePath(kLog)));
        QCOMPARE(all.size(), threads * lines + 1);
        QCOMPARE(LogText::Body(all.last()), kStopping);
        std::vector<int> next(size_t(threads), 0);
        QByteArray lastStamp;
        for (int i = 0; i < all.size() - 1; ++i) {
            const QByteArray body = LogText::Body(all[i]);
            const int thread = body.mid(body.lastIndexOf('|') + 1).split(' ').first().toInt();
            const int line = next.at(size_t(thread))++;
            const QByteArray head = line % 2 == 0 ? "|10|Information|F|" : "|30|Warning|F|";
            QCOMPARE(body, head + QByteArray::number(thread) + ' ' + QByteArray::number(line));
            const QByteArray stamp = all[i].left(23);
            QVERIFY(lastStamp <= stamp);
            lastStamp = stamp;
        }
    }

    void oneInstanceForAllThreads()
    {
        const auto result = TestSupport::RunScenario("oneInstance");
        QVERIFY2(result.IsOk(), result.Describe().constData());
    }

    void oldFileIsRotatedAfterTheFirstBatch()
    {
        const auto result = TestSupport::RunScenario("rotates");
        QVERIFY2(result.IsOk(), result.Describe().constData());
        QStringList files = result.iFolder.entryList(QDir::Files, QDir::Name);
        QCOMPARE(files.size(), 2);
        files.removeOne(kLog);
        const QRegularExpression name(QStringLiteral("^app-\\d{4}-\\d\\d-\\d\\d_\\d\\d-\\d\\d-\\d\\d\\.log$"));
        QVERIFY(name.match(files.first()).hasMatch());

        const QList<QByteArray> old = LogText::Lines(LogText::Read(result.iFolder.filePath(files.first())));
        QList<QByteArray> fresh = LogText::Lines(LogText::Read(result.iFolder.filePath(kLog)));
        QCOMPARE(old.first(), QByteArray("old"));
        QCOMPARE(fresh.takeFirst().mid(23), "continued from " + files.first().toLatin1());
        QList<QByteArray> bodies;
        for (const QByteArray& line : old.mid(1) + fresh)
            bodies += LogText::Body(line);
        QCOMPARE(bodies.size(), 200);
        for (int i = 0; i < 200; ++i)
            QCOMPARE(bodies[i], "|30|Warning|F|line " + QByteArray::number(i));
        int bytes = 0;
        for (const QByteArray& line : old.mid(1))
            bytes += line.size() + 1;
        QVERIFY(bytes > 5000 && bytes <= 5000 + old.last().size() + 1); // one batch
    }
};

NEROLT_TEST_MAIN(tst_Logger)

#include "tst_Logger.moc"
