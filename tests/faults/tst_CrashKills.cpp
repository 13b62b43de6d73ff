#include "CrashKills.h"
#include "support/TestMain.h"

#include <QtTest/QtTest>

class tst_CrashKills : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void theNextProcessCompletesTheLog_data()
    {
        QTest::addColumn<int>("plan");
        int number = 0;
        for (const CrashKills::Plan& plan : CrashKills::Plans())
            QTest::newRow(plan.iName) << number++;
    }

    void theNextProcessCompletesTheLog()
    {
        QFETCH(int, plan);
        CrashKills::Outcome outcome;
        for (quint32 seed = 1; seed <= 5; ++seed) {
            CrashKills::Run(CrashKills::Plans().at(size_t(plan)), seed, outcome);
            QVERIFY2(outcome.iFault.isEmpty(), outcome.iFault + " (seed " + QByteArray::number(seed) + ')');
        }
        qInfo("%d kills, %lld calls returned, %lld lines recovered, %lld not protected, %lld missing, %d files torn, "
              "%d rotations",
              outcome.iKills, outcome.iReturned, outcome.iRecovered, outcome.iUnprotected, outcome.iMissing,
              outcome.iTorn, outcome.iRotations);
    }
};

NEROLT_TEST_MAIN(tst_CrashKills)

#include "tst_CrashKills.moc"
