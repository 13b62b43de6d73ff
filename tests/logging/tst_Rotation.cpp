#include "logging/Rotation.h"
#include "support/TestMain.h"

#include <QtCore/QDateTime>
#include <QtTest/QtTest>

namespace {

const QDateTime kWhen(QDate(2024, 3, 5), QTime(14, 7, 9, 42));

} // namespace

class tst_Rotation : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void unknownCreationTimeIsNoAge()
    {
        const qint64 now = kWhen.toMSecsSinceEpoch();
        QVERIFY(!Rotation::IsDue(104857600, std::nullopt, now));
        QVERIFY(Rotation::IsDue(104857601, std::nullopt, now));
    }

    void names_data()
    {
        QTest::addColumn<QByteArray>("path");
        QTest::addColumn<QByteArray>("rotated");
        const auto row = [](const char* name, const char* path, const char* rotated) {
            QTest::newRow(name) << QByteArray(path) << QByteArray(rotated);
        };
        row("plain", "/logs/app.log", "/logs/app-2024-03-05_14-07-09.log");
        row("relative", "app.log", "app-2024-03-05_14-07-09.log");
        row("relative folder", "logs/app.log", "logs/app-2024-03-05_14-07-09.log");
        row("two dots", "/logs/my.app.log", "/logs/my.app-2024-03-05_14-07-09.log");
        row("no suffix", "/logs/app", "/logs/app-2024-03-05_14-07-09.");
        row("dot at the end", "/logs/app.", "/logs/app-2024-03-05_14-07-09.");
        row("only a suffix", "/logs/.log", "/logs/-2024-03-05_14-07-09.log");
        row("dot in the folder only", "/lo.gs/app", "/lo.gs/app-2024-03-05_14-07-09.");
        row("blanks and other letters", "/l g/\xc3\xa4 b.log", "/l g/\xc3\xa4 b-2024-03-05_14-07-09.log");
        row("no UTF-8", "/l\xfcgs/\xe4.b\xf6", "/l\xfcgs/\xe4-2024-03-05_14-07-09.b\xf6");
        row("template marks", "/logs/%1.%2", "/logs/%1-2024-03-05_14-07-09.%2");
    }
    void names()
    {
        QFETCH(QByteArray, path);
        QTEST(Rotation::RotatedPath(path, kWhen.toMSecsSinceEpoch()), "rotated");
    }

    void namesInAnyYear()
    {
        const qint64 when = QDateTime(QDate(12024, 3, 5), QTime(14, 7, 9, 42)).toMSecsSinceEpoch();
        QCOMPARE(Rotation::RotatedPath("app.log", when), QByteArray("app-12024-03-05_14-07-09.log"));
        QCOMPARE(Rotation::HeaderLine("app-12024-03-05_14-07-09.log", when),
                 QByteArray("12024-03-05 14:07:09.042continued from app-12024-03-05_14-07-09.log\n"));
    }

    void header()
    {
        const auto header = [](const char* path) { return Rotation::HeaderLine(path, kWhen.toMSecsSinceEpoch()); };
        QCOMPARE(header("/logs/app-2024-03-05_14-07-09.log"),
                 QByteArray("2024-03-05 14:07:09.042continued from app-2024-03-05_14-07-09.log\n"));
        QCOMPARE(header("a.log"), QByteArray("2024-03-05 14:07:09.042continued from a.log\n"));
        QCOMPARE(header("/logs/a\n2024-03-05 14:07:09.042|1|Error|f|\r\nb.log"),
                 QByteArray("2024-03-05 14:07:09.042continued from a2024-03-05 14:07:09.042|1|Error|f|b.log\n"));
    }
};

NEROLT_TEST_MAIN(tst_Rotation)

#include "tst_Rotation.moc"
