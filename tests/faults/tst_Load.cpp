#include "Load.h"
#include "support/TestMain.h"

#include <QtTest/QtTest>

#include <cstdio>

namespace {

const TestSupport::Scenario load("load", [](const QStringList&) {
    const Load::Outcome outcome = Load::Run({16, 20000, 2});
    std::fputs(Load::ToText(outcome).constData(), stdout);
    return 0;
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
};

NEROLT_TEST_MAIN(tst_Load)

#include "tst_Load.moc"
