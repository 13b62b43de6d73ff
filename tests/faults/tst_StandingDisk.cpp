#include "RunningLog.h"
#include "support/LogText.h"
#include "support/TestMain.h"

#include <NeroltOrvaneBase/Logger.h>

#include <QtTest/QtTest>

#include <cstdio>
#include <dlfcn.h>
#include <unistd.h>

using TestSupport::Scenario;

namespace {

constexpr long kMemoryMiB = 16; // a quarter of it may be queued
constexpr int kText = 90;
constexpr int kLineBytes = 23 + 16 + 5 + 1 + kText + 1;
constexpr int kFit = (kMemoryMiB / 4 << 20) / kLineBytes;
constexpr int kLeast = kFit * 9 / 10; // something is lost at the end of each piece of memory
bool gIsForged = false;
constexpr qint64 kBackKiB = 2 << 10;

void Say(int from, int to)
{
    for (int number = from; number < to; ++number)
        Logger::LogInformation("Waits", QStringLiteral("%1").arg(number, kText));
}

const Scenario standing("standing", [](const QStringList& arguments) {
    const int meanwhile = arguments.value(0).toInt();
    gIsForged = true;
    Logger::GetInstance()->SetLevel(LoggerDefs::Information);
    Logger::SetLoggerFileName(QStringLiteral("app.log"), false);
    qint64 grown = -RunningLog::ResidentKiB();
    RunningLog::WhileTheWriterStandsStill([&] {
        Say(0, meanwhile);
        grown += RunningLog::ResidentKiB();
    });
    Say(meanwhile, meanwhile + 10);
    Logger::StopLogging();
    std::printf("%lld", grown);
    return 0;
});

const Scenario oneTooLong("oneTooLong", [](const QStringList&) {
    gIsForged = true;
    Logger::GetInstance()->SetLevel(LoggerDefs::Information);
    Logger::SetLoggerFileName(QStringLiteral("app.log"), false);
    Logger::LogInformation("F", QString(int(kMemoryMiB / 4 << 20), QLatin1Char('x')));
    RunningLog::HandOver();
    Say(0, 1);
    Logger::StopLogging();
    return 0;
});

// How much more memory there is than before the burst, while the disk stands and when the log has come to rest. All of
// the log's work has been done once before.
const Scenario burst("burst", [](const QStringList& arguments) {
    const int lines = arguments.value(0).toInt();
    Logger::GetInstance()->SetLevel(LoggerDefs::Information);
    Logger::SetLoggerFileName(QStringLiteral("app.log"), false);
    Say(0, 1000);
    RunningLog::HandOver();
    const qint64 before = RunningLog::ResidentKiB();
    qint64 meanwhile = 0;
    RunningLog::WhileTheWriterStandsStill([&] {
        Say(1000, lines);
        meanwhile = RunningLog::ResidentKiB() - before;
    });
    const auto after = [before] { return RunningLog::ResidentKiB() - before; };
    const bool isBack = QTest::qWaitFor([&after] { return after() < kBackKiB; }, 30000);
    Logger::StopLogging();
    std::printf("%lld", meanwhile);
    return isBack ? 0 : 1;
});

struct Found
{
    QList<int> iNumbers;
    QList<QByteArray> iOthers; ///< with their position
};

Found Read(const QString& path)
{
    Found found;
    for (const QByteArray& body : LogText::Bodies(LogText::Read(path))) {
        if (body.startsWith("|10|Information|Waits|"))
            found.iNumbers += body.mid(22).trimmed().toInt();
        else
            found.iOthers += QByteArray::number(found.iNumbers.size()) + ' ' + body;
    }
    return found;
}

} // namespace

extern "C" Q_DECL_EXPORT long sysconf(int name) noexcept
{
    static auto* const original = reinterpret_cast<long (*)(int)>(::dlsym(RTLD_NEXT, "sysconf"));
    return gIsForged && name == _SC_PHYS_PAGES ? (kMemoryMiB << 20) / original(_SC_PAGESIZE) : original(name);
}

// A disk that stands still for long: the queue must not exhaust the memory of the host.
class tst_StandingDisk : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void whatFitsIsKept()
    {
        const int meanwhile = kLeast;
        const auto result = TestSupport::RunScenario("standing", {QString::number(meanwhile)});
        QVERIFY2(result.IsOk(), result.Describe());
        const Found found = Read(result.iFolder.filePath(QStringLiteral("app.log")));
        QCOMPARE(found.iNumbers.size(), meanwhile + 10);
        QCOMPARE(found.iOthers.size(), 1); // the line of the stop
    }

    void aSingleLineThatNeverFitsIsCounted()
    {
        const auto result = TestSupport::RunScenario("oneTooLong");
        QVERIFY2(result.IsOk(), result.Describe());
        const Found found = Read(result.iFolder.filePath(QStringLiteral("app.log")));
        QCOMPARE(found.iOthers.value(0),
                 QByteArray("0 |30|Warning|LoggerAgent::SendBufferToThread|1 lines dropped, too much was waiting for "
                            "the disk"));
        QCOMPARE(found.iNumbers, QList<int>{0});
    }

#ifndef NEROLT_SANITIZED // their memory is not ours
    void memoryOfABurstGoesBack()
    {
        constexpr int lines = 200000;
        const auto result = TestSupport::RunScenario("burst", {QString::number(lines)});
        QVERIFY2(result.IsOk(), result.Describe());
        QVERIFY2(result.iStdout.toLongLong() > qint64(lines - 1000) * kLineBytes / 1024 * 9 / 10, result.iStdout);
        const Found found = Read(result.iFolder.filePath(QStringLiteral("app.log")));
        QCOMPARE(found.iNumbers.size(), lines);
    }
#endif

    void whatDoesNotFitIsDroppedAndALineTellsHowMuch()
    {
        const int meanwhile = kFit * 5;
        const auto result = TestSupport::RunScenario("standing", {QString::number(meanwhile)});
        QVERIFY2(result.IsOk(), result.Describe());
        const Found found = Read(result.iFolder.filePath(QStringLiteral("app.log")));
        const int kept = int(found.iNumbers.size());
        QVERIFY2(kept > kLeast && kept < kFit + 200, QByteArray::number(kept));
        // All lines up to the gap, then the line that counts it, then the lines after the disk was back.
        int inOrder = 0;
        while (found.iNumbers.value(inOrder, -1) == inOrder)
            ++inOrder;
        const int dropped = meanwhile + 10 - kept;
        QCOMPARE(
            found.iOthers,
            (QList<QByteArray>{QByteArray::number(inOrder) + " |30|Warning|LoggerAgent::SendBufferToThread|"
                                   + QByteArray::number(dropped) + " lines dropped, too much was waiting for the disk",
                               QByteArray::number(kept)
                                   + " |10|Information|Logger::StopLogging|stopping logging file path is app.log"}));
        QCOMPARE(found.iNumbers.last(), meanwhile + 9);
        const int gap = found.iNumbers.at(inOrder);
        for (int i = inOrder; i < kept; ++i)
            QCOMPARE(found.iNumbers.at(i), gap + i - inOrder);
#ifndef NEROLT_SANITIZED // their memory is not ours
        QVERIFY2(result.iStdout.toLongLong() < kMemoryMiB / 4 * 1024 * 2, result.iStdout);
#endif
    }
};

NEROLT_TEST_MAIN(tst_StandingDisk)

#include "tst_StandingDisk.moc"
