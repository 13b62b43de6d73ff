#include "support/ShortMemory.h"
#include "support/TestMain.h"

#include <NeroltOrvaneBase/Logger.h>
#include <NeroltOrvaneBase/StackTrace.h>

#include <QtTest/QtTest>

#include <cstdio>

using TestSupport::Scenario;

namespace {

constexpr int kPlenty = ShortMemory::kForGood;

struct Attempt
{
    QString iText;
    bool iHasThrown = false;
    bool iHasLacked = false;
};

Attempt TraceWith(int allocations)
{
    Attempt attempt;
    attempt.iHasLacked = ShortMemory::Refuse(allocations, ShortMemory::kForGood, [&attempt] {
        try {
            attempt.iText = StackTrace::TraceCode();
        } catch (...) {
            attempt.iHasThrown = true;
        }
    });
    return attempt;
}

// Memory ends at each place in turn where it is asked for.
const Scenario memoryEnds("memoryEnds", [](const QStringList& arguments) {
    Logger::GetInstance()->SetLevel(arguments.value(0).toInt());
    Logger::SetLoggerFileName(QStringLiteral("app.log"), false);
    const auto lines = [](const QString& text) { return int(text.count(QStringLiteral("\r\n"))); };
    const int expected = lines(TraceWith(kPlenty).iText);
    int allocations = 0;
    int thrown = 0;
    Attempt attempt;
    do {
        attempt = TraceWith(allocations++);
        thrown += attempt.iHasThrown ? 1 : 0;
    } while (attempt.iHasLacked && allocations < 100000);
    std::fprintf(stderr, "%d of %d attempts threw; at the end %d lines of %d\n", thrown, allocations,
                 lines(attempt.iText), expected);
    Logger::StopLogging();
    return thrown == 0 && allocations > 10 && !attempt.iHasLacked && expected > 0 && lines(attempt.iText) == expected
        ? 0
        : 1;
});

} // namespace

class tst_StackTraceNoMemory : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void noExceptionLeaves_data()
    {
        QTest::addColumn<int>("mask");
        QTest::newRow("nothing is logged") << 0;
        QTest::newRow("trace is logged") << int(LoggerDefs::Trace);
        QTest::newRow("debug is logged") << int(LoggerDefs::Debug);
    }
    void noExceptionLeaves()
    {
        QFETCH(int, mask);
        const auto result = TestSupport::RunScenario("memoryEnds", {QString::number(mask)});
        QVERIFY2(result.IsOk(), result.Describe().constData());
    }
};

NEROLT_TEST_MAIN(tst_StackTraceNoMemory)

#include "tst_StackTraceNoMemory.moc"
