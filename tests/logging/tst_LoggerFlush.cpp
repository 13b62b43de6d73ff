#include "faults/RunningLog.h"
#include "support/LogScenario.h"
#include "support/StartedLog.h"

#include <NeroltOrvaneBase/LoggerWorker.h>

#include <QtTest/QtTest>

#include <QtCore/QMutex>

#include <atomic>
#include <mutex>
#include <thread>

NEROLT_PRIVATE(LoggerAgent, iBuffer, QByteArray)
NEROLT_PRIVATE(LoggerAgent, iMutex, QRecursiveMutex)
NEROLT_PRIVATE(LoggerAgent, iWorker, LoggerWorker*)

using StartedLog::kLog;
using StartedLog::Start;
using TestSupport::RunScenario;
using TestSupport::Scenario;
using TestSupport::ScenarioResult;

#define REQUIRE(condition)                                                                                             \
    do {                                                                                                               \
        if (!(condition)) {                                                                                            \
            std::fprintf(stderr, "line %d: %s\n", __LINE__, #condition);                                               \
            return 1;                                                                                                  \
        }                                                                                                              \
    } while (false)

namespace {

const QString kBroken = QStringLiteral("none/log");

void Say(const char* what)
{
    Logger::LogInformation("f", QLatin1String(what));
}

bool IsInFile(const QByteArray& what)
{
    return LogText::Read(kLog).contains("|10|Information|f|" + what + '\n');
}

LoggerAgent& Agent()
{
    return *(Logger::GetInstance()->*Logger_iAgent()).load();
}

bool HasLines()
{
    const std::lock_guard<QRecursiveMutex> lock(Agent().*LoggerAgent_iMutex());
    return !(Agent().*LoggerAgent_iBuffer()).isEmpty();
}

bool OnAnotherThread(const std::function<bool()>& call)
{
    bool result = false;
    std::thread([&] { result = call(); }).join();
    return result;
}

const Scenario nothingToWaitFor("nothingToWaitFor", [](const QStringList&) {
    Logger::GetInstance()->SetLevel(LoggerDefs::Information);
    Say("early");
    REQUIRE(!Logger::Flush()); // no file
    Start();
    REQUIRE(Logger::Flush());
    REQUIRE(IsInFile("early"));
    REQUIRE(Logger::Flush()); // nothing new
    bool onLoggingThread = true;
    QMetaObject::invokeMethod(
        Agent().*LoggerAgent_iWorker(), [&] { onLoggingThread = Logger::Flush(); }, Qt::BlockingQueuedConnection);
    REQUIRE(!onLoggingThread);
    Logger::StopLogging();
    REQUIRE(!Logger::Flush());
    return 0;
});

const Scenario theTimeIsOver("theTimeIsOver", [](const QStringList&) {
    Start();
    Say("one");
    bool atOnce = true;
    bool later = true;
    bool never = true;
    RunningLog::WhileTheWriterStandsStill([&] {
        atOnce = Logger::Flush(0);
        never = Logger::Flush(-1);
        later = Logger::Flush(50);
    });
    REQUIRE(!atOnce && !never && !later);
    REQUIRE(Logger::Flush());
    REQUIRE(IsInFile("one"));
    Logger::StopLogging();
    return 0;
});

const Scenario manyAtOnce("manyAtOnce", [](const QStringList&) {
    Start();
    std::atomic<int> missing{0};
    std::vector<std::thread> threads;
    for (int thread = 0; thread < 8; ++thread) {
        threads.emplace_back([thread, &missing] {
            for (int i = 0; i < 50; ++i) {
                const QByteArray line = QByteArray::number(thread) + '-' + QByteArray::number(i);
                Say(line.constData());
                missing += !Logger::Flush() || !IsInFile(line);
            }
        });
    }
    for (std::thread& thread : threads)
        thread.join();
    REQUIRE(missing == 0);
    Logger::StopLogging();
    return 0;
});

const Scenario aStopCompletesIt("aStopCompletesIt", [](const QStringList&) {
    Start();
    Say("one");
    bool isFlushed = false;
    std::thread waiting;
    RunningLog::WhileTheWriterStandsStill([&] {
        waiting = std::thread([&] { isFlushed = Logger::Flush(60000); });
        while (HasLines()) // it has not handed over
            std::this_thread::yield();
    });
    Logger::StopLogging();
    waiting.join();
    REQUIRE(isFlushed && IsInFile("one"));
    return 0;
});

// Each thread is told once.
const Scenario lossesAreTold("lossesAreTold", [](const QStringList&) {
    Start(kBroken);
    Say("lost");
    REQUIRE(!Logger::Flush());
    Say(QByteArray(6000, 'x').constData());
    RunningLog::HandOver();
    REQUIRE(!Logger::Flush()); // although nothing waits
    Start();
    REQUIRE(Logger::Flush());
    const auto flush = [] { return Logger::Flush(); };
    REQUIRE(!OnAnotherThread(flush));
    REQUIRE(OnAnotherThread([&] { return !flush() && flush(); }));
    Say("kept");
    REQUIRE(Logger::Flush());
    REQUIRE(IsInFile("kept"));
    Logger::StopLogging();
    return 0;
});

const Scenario lostWithoutAFile("lostWithoutAFile", [](const QStringList&) {
    Logger::GetInstance()->SetLevel(LoggerDefs::Information);
    Say(QByteArray(6000, 'x').constData());
    Start();
    REQUIRE(!Logger::Flush());
    REQUIRE(Logger::Flush());
    Logger::StopLogging();
    return 0;
});

const Scenario levelsAreHandedOver("levelsAreHandedOver", [](const QStringList&) {
    Start();
    const QByteArray& buffer = Agent().*LoggerAgent_iBuffer();
    Logger::LogWarning("f", QStringLiteral("waits"));
    REQUIRE(!buffer.isEmpty()); // 0 by default
    Logger::SetFlushLevels(LoggerDefs::Warning | LoggerDefs::Exception);
    Say("waits, too");
    Logger::LogError(7, LoggerDefs::NoExtraInfo, "f", QStringLiteral("and this"), 0, 0);
    REQUIRE(buffer.count('\n') == 3);
    bool isEmpty = false;
    RunningLog::WhileTheWriterStandsStill([&] { // callers do not wait for it
        Logger::LogWarning("f", QStringLiteral("goes"));
        isEmpty = buffer.isEmpty();
    });
    REQUIRE(isEmpty);
    Logger::LogException(8, "f", QStringLiteral("goes, too"), 0);
    REQUIRE(buffer.isEmpty());
    Logger::SetFlushLevels(0);
    Logger::LogWarning("f", QStringLiteral("waits again"));
    REQUIRE(buffer.count('\n') == 1);
    Logger::StopLogging();
    const QList<QByteArray> expected = {"|30|Warning|f|waits",
                                        "|10|Information|f|waits, too",
                                        "|7|Error|f|and this",
                                        "|30|Warning|f|goes",
                                        "|8|Exception|f|goes, too",
                                        "|30|Warning|f|waits again",
                                        "|10|Information|Logger::StopLogging|stopping logging file path is app.log"};
    REQUIRE(LogText::Bodies(LogText::Read(kLog)) == expected);
    return 0;
});

// The thread is awake at once: it does not wait for its timer.
const Scenario handedOverBeforeAFile("handedOverBeforeAFile", [](const QStringList&) {
    Logger::GetInstance()->SetLevel(LoggerDefs::Warning);
    Logger::SetFlushLevels(LoggerDefs::Warning);
    Logger::LogWarning("f", QStringLiteral("early"));
    Start();
    Logger::StopLogging();
    REQUIRE(LogText::Read(kLog).contains("|30|Warning|f|early\n"));
    return 0;
});

} // namespace

class tst_LoggerFlush : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void scenario_data()
    {
        QTest::addColumn<QByteArray>("name");
        for (const char* const name :
             {"nothingToWaitFor", "theTimeIsOver", "manyAtOnce", "aStopCompletesIt", "lossesAreTold",
              "lostWithoutAFile", "levelsAreHandedOver", "handedOverBeforeAFile"})
            QTest::newRow(name) << QByteArray(name);
    }

    void scenario()
    {
        QFETCH(QByteArray, name);
        const ScenarioResult result = RunScenario(name.constData());
        QVERIFY2(result.IsOk(), result.Describe());
    }
};

NEROLT_TEST_MAIN(tst_LoggerFlush)

#include "tst_LoggerFlush.moc"
