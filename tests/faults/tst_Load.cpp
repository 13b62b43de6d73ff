#include "Load.h"
#include "support/TestMain.h"

#include <QtTest/QtTest>

#include <cstdio>

namespace {

const TestSupport::Scenario load("load", [](const QStringList&) {
    const Load::Outcome outcome = Load::Run({16, 20000, 2});
    std::fprintf(stderr, "%s; %lld lines, %lld late, %lld dropped, %d changes of level, %lld KiB warm, %lld at the end",
                 outcome.iFault.constData(), outcome.iLines, outcome.iLate, outcome.iDropped, outcome.iLevelChanges,
                 outcome.iWarmKiB, outcome.iEndKiB);
#ifdef NEROLT_SANITIZED // the sanitizers keep memory back
    const bool isReturned = true;
#else
    const bool isReturned = Load::IsMemoryReturned(outcome);
#endif
    return outcome.iFault.isEmpty() && outcome.iLines == 320000 && outcome.iLevelChanges > 0 && isReturned ? 0 : 1;
});

} // namespace

class tst_Load : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void everyAcceptedLineIsInTheFilesOnce()
    {
        const auto result = TestSupport::RunScenario("load");
        QVERIFY2(result.IsOk(), result.Describe());
    }
};

NEROLT_TEST_MAIN(tst_Load)

#include "tst_Load.moc"
