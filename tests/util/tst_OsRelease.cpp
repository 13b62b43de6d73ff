#include "support/TestMain.h"
#include "util/OsRelease.h"

class tst_OsRelease : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void parse_data()
    {
        QTest::addColumn<QByteArray>("release");
        QTest::addColumn<qint32>("major");
        QTest::addColumn<qint32>("minor");
        QTest::newRow("distribution's kernel") << QByteArray("6.1.0-18-amd64") << 6 << 1;
        QTest::newRow("two numbers") << QByteArray("5.10") << 5 << 10;
        QTest::newRow("patch level is dropped") << QByteArray("4.19.300") << 4 << 19;
        QTest::newRow("several digits") << QByteArray("123.456.789") << 123 << 456;
        QTest::newRow("release candidate") << QByteArray("6.9-rc1") << 6 << 9;
        QTest::newRow("zeros in front") << QByteArray("06.010.1") << 6 << 10;
        QTest::newRow("zeros") << QByteArray("0.0") << 0 << 0;
        QTest::newRow("no dot") << QByteArray("7") << 7 << 0;
        QTest::newRow("nothing behind the dot") << QByteArray("7.") << 7 << 0;
        QTest::newRow("no number behind the dot") << QByteArray("7.x.3") << 7 << 0;
        QTest::newRow("two dots") << QByteArray("7..3") << 7 << 0;
        QTest::newRow("other separator") << QByteArray("7-3.5") << 7 << 0;
        QTest::newRow("no number before the dot") << QByteArray("x.5") << 0 << 0;
        QTest::newRow("nothing before the dot") << QByteArray(".5") << 0 << 5;
        QTest::newRow("empty") << QByteArray("") << 0 << 0;
        QTest::newRow("words") << QByteArray("unknown") << 0 << 0;
        QTest::newRow("largest") << QByteArray("2147483647.2147483647") << 2147483647 << 2147483647;
        QTest::newRow("major beyond 32 bits") << QByteArray("2147483648.3") << 0 << 3;
        QTest::newRow("minor beyond 32 bits") << QByteArray("3.2147483648") << 3 << 0;
    }
    void parse()
    {
        QFETCH(QByteArray, release);
        QFETCH(qint32, major);
        QFETCH(qint32, minor);
        const OSVersion version = ParseOsRelease(release.constData());
        QCOMPARE(version.iMajor, major);
        QCOMPARE(version.iMinor, minor);
    }
};

NEROLT_TEST_MAIN(tst_OsRelease)

#include "tst_OsRelease.moc"
