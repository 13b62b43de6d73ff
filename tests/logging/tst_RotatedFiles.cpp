#include "logging/RotatedFiles.h"
#include "logging/Rotation.h"
#include "support/TestMain.h"

#include <NeroltOrvaneBase/Logger.h>

#include <QtCore/QDateTime>
#include <QtCore/QFile>
#include <QtTest/QtTest>

#include <sys/stat.h>
#include <unistd.h>

using TestSupport::RunScenario;
using TestSupport::Scenario;
using TestSupport::ScenarioResult;

namespace {

const QDateTime kWhen(QDate(2024, 2, 29), QTime(14, 7, 9, 42));

void Make(const QByteArray& name, int bytes = 10)
{
    QFile file(QFile::decodeName(name));
    QVERIFY(file.open(QIODevice::WriteOnly));
    QCOMPARE(file.write(QByteArray(bytes, 'x')), qint64(bytes));
}

QByteArray Rotated(int second)
{
    return "app-2026-01-02_03-04-" + QByteArray::number(second).rightJustified(2, '0') + ".log";
}

QStringList Files()
{
    return QDir().entryList(QDir::AllEntries | QDir::NoDotAndDotDot | QDir::System);
}

// The log rotates with its first batch, because it is too large already.
const Scenario logThatRotates("logThatRotates", [](const QStringList& arguments) {
    QDir::setCurrent(arguments.value(0));
    if (::truncate("app.log", Rotation::kMaxBytes + 1) != 0)
        return 1;
    Logger::SetRotatedFiles(arguments.at(1).toInt(), 0);
    Logger::GetInstance()->SetLevel(LoggerDefs::Information);
    Logger::SetLoggerFileName(QStringLiteral("app.log"), false);
    Logger::LogInformation("f", QStringLiteral("rotates"));
    Logger::StopLogging();
    return 0;
});

} // namespace

class tst_RotatedFiles : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init() { TestSupport::EnterFreshFolder(); }
    void cleanup() { RotatedFiles::SetBound(0, 0); }

    void names_data()
    {
        QTest::addColumn<QByteArray>("log");
        QTest::addColumn<QByteArray>("rotated");
        const auto row = [](const char* name, const char* log, const char* rotated) {
            QTest::newRow(name) << QByteArray(log) << QByteArray(rotated);
        };
        row("plain", "/logs/app.log", "/logs/app-2024-02-29_14-07-09.log");
        row("relative", "logs/app.log", "logs/app-2024-02-29_14-07-09.log");
        row("two dots", "my.app.log", "my.app-2024-02-29_14-07-09.log");
        row("no suffix", "/logs/app", "/logs/app-2024-02-29_14-07-09.");
        row("dot at the end", "/logs/app.", "/logs/app-2024-02-29_14-07-09.");
        row("only a suffix", "/logs/.log", "/logs/-2024-02-29_14-07-09.log");
        row("dot in the folder only", "/lo.gs/app", "/lo.gs/app-2024-02-29_14-07-09.");
        row("a name that looks like a time", "/logs/2026.log", "/logs/2026-2024-02-29_14-07-09.log");
        row("hyphen at the end", "/logs/app-.log", "/logs/app--2024-02-29_14-07-09.log");
        row("blanks and other letters", "/l g/\xc3\xa4 b.log", "/l g/\xc3\xa4 b-2024-02-29_14-07-09.log");
        row("no UTF-8", "/l\xfcgs/\xe4.b\xf6", "/l\xfcgs/\xe4-2024-02-29_14-07-09.b\xf6");
        row("template marks", "/logs/%1.%2", "/logs/%1-2024-02-29_14-07-09.%2");
    }
    void names()
    {
        QFETCH(QByteArray, log);
        QFETCH(QByteArray, rotated);
        QCOMPARE(Rotation::RotatedPath(log, kWhen.toMSecsSinceEpoch()), rotated);
        QVERIFY(Rotation::IsRotatedPath(log, rotated));
    }

    void otherNames_data()
    {
        QTest::addColumn<QByteArray>("log");
        QTest::addColumn<QByteArray>("file");
        const auto row = [](const char* name, const char* log, const char* file) {
            QTest::newRow(name) << QByteArray(log) << QByteArray(file);
        };
        const char* const log = "/logs/app.log";
        row("no leap day", log, "/logs/app-2026-02-29_23-59-59.log");
        row("the log itself", log, log);
        row("a log with a longer name", log, "/logs/app-net-2026-01-02_03-04-05.log");
        row("a rotated file of a rotated file", log, "/logs/app-2026-01-02_03-04-05-2026-01-02_03-04-05.log");
        row("a shorter name", log, "/logs/ap-2026-01-02_03-04-05.log");
        row("another folder", log, "/other/app-2026-01-02_03-04-05.log");
        row("another suffix", log, "/logs/app-2026-01-02_03-04-05.txt");
        row("another suffix behind", log, "/logs/app-2026-01-02_03-04-05.log.gz");
        row("no suffix", log, "/logs/app-2026-01-02_03-04-05");
        row("case", log, "/logs/App-2026-01-02_03-04-05.log");
        row("a digit less", log, "/logs/app-2026-1-02_03-04-05.log");
        row("a digit more", log, "/logs/app-2026-01-02_03-04-055.log");
        row("a letter for a digit", log, "/logs/app-2026-01-02_03-04-0x.log");
        row("a sign for a digit", log, "/logs/app-2026-01-02_03-04-+5.log");
        row("colons", log, "/logs/app-2026-01-02_03:04:05.log");
        row("a blank", log, "/logs/app-2026-01-02 03-04-05.log");
        row("month 13", log, "/logs/app-2026-13-02_03-04-05.log");
        row("hour 24", log, "/logs/app-2026-01-02_24-04-05.log");
        row("minute 60", log, "/logs/app-2026-01-02_03-60-05.log");
        row("second 60", log, "/logs/app-2026-01-02_03-04-60.log");
        row("a log without a suffix, and without the dot", "/logs/app", "/logs/app-2026-01-02_03-04-05");
        row("a suffix with dots as one", "/logs/app.log.txt", "/logs/app-2026-01-02_03-04-05.log.txt");
        row("a hyphen too few", "/logs/app-.log", "/logs/app-2026-01-02_03-04-05.log");
        row("too short for both ends", log, "/logs/app-.log");
    }
    void otherNames()
    {
        QFETCH(QByteArray, log);
        QFETCH(QByteArray, file);
        QVERIFY(!Rotation::IsRotatedPath(log, file));
    }

    void header()
    {
        const auto header = [](const char* path) { return Rotation::HeaderLine(path, kWhen.toMSecsSinceEpoch()); };
        QCOMPARE(header("/logs/app-2024-02-29_14-07-09.log"),
                 QByteArray("2024-02-29 14:07:09.042continued from app-2024-02-29_14-07-09.log\n"));
        QCOMPARE(header("a.log"), QByteArray("2024-02-29 14:07:09.042continued from a.log\n"));
        QCOMPARE(header("/logs/a\n2024-03-05 14:07:09.042|1|Error|f|\r\nb.log"),
                 QByteArray("2024-02-29 14:07:09.042continued from a2024-03-05 14:07:09.042|1|Error|f|b.log\n"));
    }

    void fiveDigitYear()
    {
        const qint64 when = QDateTime(QDate(12024, 3, 5), QTime(14, 7, 9, 42)).toMSecsSinceEpoch();
        QCOMPARE(Rotation::RotatedPath("app.log", when), QByteArray("app-12024-03-05_14-07-09.log"));
        QCOMPARE(Rotation::HeaderLine("a.log", when), QByteArray("12024-03-05 14:07:09.042continued from a.log\n"));
        QVERIFY(!Rotation::IsRotatedPath("app.log", "app-12024-03-05_14-07-09.log"));
    }

    void lastSecondOfAYear() { QVERIFY(Rotation::IsRotatedPath("app.log", "app-2026-12-31_23-59-59.log")); }

    void unknownCreationTimeIsNoAge()
    {
        const qint64 now = kWhen.toMSecsSinceEpoch();
        QVERIFY(!Rotation::IsDue(104857600, std::nullopt, now));
        QVERIFY(Rotation::IsDue(104857601, std::nullopt, now));
    }

    void theOldestGo_data()
    {
        QTest::addColumn<int>("count");
        QTest::addColumn<qint64>("bytes");
        QTest::addColumn<int>("left");
        QTest::newRow("no bound") << 0 << qint64(0) << 5;
        QTest::newRow("below nought is none") << -1 << qint64(-1) << 5;
        QTest::newRow("more than there are") << 6 << qint64(0) << 5;
        QTest::newRow("as many") << 5 << qint64(0) << 5;
        QTest::newRow("one") << 1 << qint64(0) << 1;
        QTest::newRow("exactly so many bytes") << 0 << qint64(30) << 3;
        QTest::newRow("a byte less") << 0 << qint64(29) << 2;
        QTest::newRow("less than the last one") << 0 << qint64(9) << 0;
        QTest::newRow("the count is lower") << 2 << qint64(40) << 2;
        QTest::newRow("the bytes are lower") << 4 << qint64(10) << 1;
    }

    void theOldestGo()
    {
        QFETCH(int, count);
        QFETCH(qint64, bytes);
        QFETCH(int, left);
        Make("app.log");
        QStringList expected;
        for (const int second : {3, 1, 5, 2, 4}) // the times in the names count, and not those of the files
            Make(Rotated(second));
        QFile newest(QString::fromLatin1(Rotated(1)));
        QVERIFY(newest.open(QIODevice::ReadWrite));
        QVERIFY(newest.setFileTime(QDateTime::currentDateTime().addDays(1), QFileDevice::FileModificationTime));
        for (int second = 6 - left; second <= 5; ++second)
            expected += QString::fromLatin1(Rotated(second));
        expected += QStringLiteral("app.log");
        RotatedFiles::SetBound(count, bytes);
        RotatedFiles::Prune(QFile::encodeName(QDir().absoluteFilePath(QStringLiteral("app.log"))));
        QCOMPARE(Files(), expected);
    }

    void nothingElseGoes()
    {
        Make("app.log");
        Make("app-net-2026-01-02_03-04-05.log");
        Make("target");
        QVERIFY(QDir().mkdir(QString::fromLatin1(Rotated(1))));
        QCOMPARE(::symlink("target", Rotated(2).constData()), 0);
        QCOMPARE(::link("app.log", Rotated(3).constData()), 0);
        QCOMPARE(::mkfifo(Rotated(4).constData(), 0600), 0);
        Make(Rotated(5));
        Make(Rotated(6));
        const QStringList before = Files();
        RotatedFiles::SetBound(1, 0);
        RotatedFiles::Prune("app.log");
        QStringList expected = before;
        expected.removeOne(QString::fromLatin1(Rotated(5)));
        QCOMPARE(Files(), expected);
    }

    void theTargetOfTheLogStays()
    {
        Make(Rotated(1));
        Make(Rotated(2));
        QCOMPARE(::symlink(Rotated(1).constData(), "app.log"), 0);
        RotatedFiles::SetBound(0, 1);
        RotatedFiles::Prune("app.log");
        QCOMPARE(Files(), (QStringList{QString::fromLatin1(Rotated(1)), QStringLiteral("app.log")}));
    }

    void rightAfterARotation_data()
    {
        QTest::addColumn<int>("count");
        QTest::addColumn<int>("left");
        QTest::newRow("by default none is removed") << 0 << 4;
        QTest::newRow("two") << 2 << 2;
    }

    void rightAfterARotation()
    {
        QFETCH(int, count);
        QFETCH(int, left);
        Make("app.log");
        for (int second = 1; second <= 3; ++second)
            Make(Rotated(second));
        const ScenarioResult result = RunScenario("logThatRotates", {QDir::currentPath(), QString::number(count)});
        QVERIFY2(result.IsOk(), result.Describe());
        QStringList files = Files();
        QVERIFY(files.removeOne(QStringLiteral("app.log")));
        QCOMPARE(files.size(), left);
        QVERIFY(files.contains(QString::fromLatin1(Rotated(3))));
        QCOMPARE(files.contains(QString::fromLatin1(Rotated(1))), count == 0);
    }
};

NEROLT_TEST_MAIN(tst_RotatedFiles)

#include "tst_RotatedFiles.moc"
