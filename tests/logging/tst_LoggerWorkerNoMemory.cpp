#include "support/LogText.h"
#include "support/PrivateAccess.h"
#include "support/ShortMemory.h"
#include "support/TestMain.h"

#include <NeroltOrvaneBase/FileUtilities.h>
#include <NeroltOrvaneBase/Logger.h>
#include <NeroltOrvaneBase/LoggerWorker.h>

#include <QtCore/QDateTime>
#include <QtCore/QFile>
#include <QtTest/QtTest>

#include <cstdio>
#include <functional>

NEROLT_PRIVATE(LoggerWorker, iQueue, QList<QByteArray>)

using TestSupport::Scenario;

namespace {

const QString kLog = QStringLiteral("worker.log");
constexpr int kMost = 10000;

struct Step
{
    const char* iName;
    bool iTakesBatch;
    QList<QByteArray> iQueued; // before it
    int iMostAllocations;
    std::function<void(LoggerWorker&, const QByteArray& batch)> iCall;
};

QList<Step> Steps()
{
    // Up to the allocations of the framework's connect, which does not survive a lack of memory itself.
    constexpr int kTimerOnly = 4;
    const auto message = [](LoggerWorker& worker, const QByteArray& batch) { worker.onLogMessage(batch); };
    const auto log = [](LoggerWorker& worker, const QByteArray&) { worker.onLog(); };
    const auto stop = [](LoggerWorker& worker, const QByteArray& batch) { worker.onStopWorker(batch); };
    return {
        {"onLogMessage", true, {}, kMost, message},
        {"onLogMessage, more to write", true, {"1\n"}, kTimerOnly, message},
        {"onLog", false, {"1\n"}, kMost, log},
        {"onStopWorker", true, {"1\n", "2\n"}, kMost, stop},
    };
}

QStringList Files()
{
    return QDir().entryList({QStringLiteral("worker*.log")});
}

// The lines of the log and of what was rotated, without the header.
QList<QByteArray> Written()
{
    QList<QByteArray> lines;
    for (const QString& file : Files()) {
        for (const QByteArray& line : LogText::Lines(LogText::Read(file))) {
            if (!line.contains("continued from"))
                lines += line;
        }
    }
    return lines;
}

void BeginLog(bool isOld)
{
    for (const QString& file : Files())
        QFile::remove(file);
    QFile file(kLog);
    if (!file.open(QIODevice::WriteOnly) || file.write("old\n") != 4)
        qFatal("cannot make a log");
    file.close();
    if (isOld)
        FileUtilities::SetTime(kLog, QDateTime::currentDateTime().addDays(-2), FileTimeCreation, false);
}

// Whether memory lacked. What was at hand may be lost by then, and nothing else.
bool IsLacking(const Step& step, bool isOld, int allocations, int more)
{
    BeginLog(isOld);
    LoggerWorker worker(kLog);
    worker.onStartWorker();
    for (const QByteArray& batch : step.iQueued)
        (worker.*LoggerWorker_iQueue()) += batch; // shared with nobody, as ever
    const QByteArray atHand("at hand\n");
    const bool isLacking = ShortMemory::Refuse(allocations, more, [&] { step.iCall(worker, atHand); });
    worker.onStartWorker();
    worker.onLogMessage("next\n");
    worker.onStopWorker("last\n");
    const QList<QByteArray> written = Written();
    QList<QByteArray> expected{"old"};
    for (const QByteArray& batch : step.iQueued + QList<QByteArray>{atHand, "next\n", "last\n"}) {
        const QByteArray line = batch.chopped(1);
        if (written.contains(line) || !isLacking || line == "next" || line == "last")
            expected += line;
    }
    if (!step.iTakesBatch)
        expected.removeOne("at hand");
    if (written != expected)
        qFatal("%s, %d allocations: %s", step.iName, allocations, written.join(' ').constData());
    return isLacking;
}

const Scenario memoryEnds("memoryEnds", [](const QStringList& arguments) {
    Logger::GetInstance()->SetLevel(arguments.value(0).toInt());
    Logger::SetLoggerFileName(QStringLiteral("app.log"), false);
    int places = 0;
    for (const Step& step : Steps()) {
        for (const bool isOld : {false, true}) {
            for (const int more : {0, ShortMemory::kForGood}) {
                int allocations = 0;
                while (allocations < step.iMostAllocations && IsLacking(step, isOld, allocations, more))
                    ++allocations;
                std::fprintf(stderr, "%s, %d, %d: %d places\n", step.iName, int(isOld), more, allocations);
                places += allocations;
            }
        }
    }
    Logger::StopLogging();
    return places > 20 && places < kMost ? 0 : 1;
});

} // namespace

class tst_LoggerWorkerNoMemory : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    // Memory ends at each place in turn where the writer asks for it.
    void onlyTheBatchAtHandIsDropped_data()
    {
        QTest::addColumn<int>("mask");
        QTest::newRow("nothing else is logged") << 0;
        QTest::newRow("debug is logged") << int(LoggerDefs::Debug);
    }
    void onlyTheBatchAtHandIsDropped()
    {
        QFETCH(int, mask);
        const auto result = TestSupport::RunScenario("memoryEnds", {QString::number(mask)});
        QVERIFY2(result.IsOk(), result.Describe());
    }
};

NEROLT_TEST_MAIN(tst_LoggerWorkerNoMemory)

#include "tst_LoggerWorkerNoMemory.moc"
