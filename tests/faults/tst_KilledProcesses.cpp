#include "Kills.h"
#include "support/TestMain.h"

#include <QtTest/QtTest>

class tst_KilledProcesses : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void whatWasHandedOverIsInTheLog()
    {
        Kills::Outcome outcome;
        for (quint32 seed = 1; seed <= 25; ++seed) {
            Kills::Log(seed, outcome);
            QVERIFY2(outcome.iFault.isEmpty(), outcome.iFault + " (seed " + QByteArray::number(seed) + ')');
        }
        qInfo("%d kills, %lld lines promised, %lld found, %d files torn", outcome.iKills, outcome.iPromised,
              outcome.iFound, outcome.iTorn);
    }

    void theIniFileIsOneOfTheStatesThatWereWritten()
    {
        Kills::Outcome outcome;
        for (quint32 seed = 1; seed <= 2; ++seed) {
            Kills::ChangeIni(seed, 5, outcome);
            QVERIFY2(outcome.iFault.isEmpty(), outcome.iFault + " (seed " + QByteArray::number(seed) + ')');
        }
        qInfo("%d kills, %lld changes promised, %lld found, %d locks left", outcome.iKills, outcome.iPromised,
              outcome.iFound, outcome.iLeftLocks);
    }
};

NEROLT_TEST_MAIN(tst_KilledProcesses)

#include "tst_KilledProcesses.moc"
