#include "logging/RotatedFiles.h"
#include "logging/Rotation.h"
#include "support/TestMain.h"

#include <NeroltOrvaneBase/Logger.h>

#include <QtCore/QFile>
#include <QtTest/QtTest>

#include <sys/stat.h>
#include <unistd.h>

using TestSupport::RunScenario;
using TestSupport::Scenario;
using TestSupport::ScenarioResult;

namespace {

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
        QTest::addColumn<QByteArray>("file");
        QTest::addColumn<bool>("matches");
        const auto row = [](const char* what, const QByteArray& log, const QByteArray& file, bool matches) {
            QTest::newRow(what) << log << file << matches;
        };
        const QByteArray log = "/logs/app.log";
        row("as a rotation makes it", log, "/logs/app-2026-01-02_03-04-05.log", true);
        row("leap day", log, "/logs/app-2024-02-29_23-59-59.log", true);
        row("no leap day", log, "/logs/app-2026-02-29_23-59-59.log", false);
        row("the log itself", log, log, false);
        row("a log with a longer name", log, "/logs/app-net-2026-01-02_03-04-05.log", false);
        row("a rotated file of a rotated file", log, "/logs/app-2026-01-02_03-04-05-2026-01-02_03-04-05.log", false);
        row("a shorter name", log, "/logs/ap-2026-01-02_03-04-05.log", false);
        row("another folder", log, "/other/app-2026-01-02_03-04-05.log", false);
        row("another suffix", log, "/logs/app-2026-01-02_03-04-05.txt", false);
        row("another suffix behind", log, "/logs/app-2026-01-02_03-04-05.log.gz", false);
        row("no suffix", log, "/logs/app-2026-01-02_03-04-05", false);
        row("case", log, "/logs/App-2026-01-02_03-04-05.log", false);
        row("a digit less", log, "/logs/app-2026-1-02_03-04-05.log", false);
        row("a digit more", log, "/logs/app-2026-01-02_03-04-055.log", false);
        row("a year of five digits", log, "/logs/app-12026-01-02_03-04-05.log", false);
        row("a letter for a digit", log, "/logs/app-2026-01-02_03-04-0x.log", false);
        row("a sign for a digit", log, "/logs/app-2026-01-02_03-04-+5.log", false);
        row("colons", log, "/logs/app-2026-01-02_03:04:05.log", false);
        row("a blank", log, "/logs/app-2026-01-02 03-04-05.log", false);
        row("month 13", log, "/logs/app-2026-13-02_03-04-05.log", false);
        row("hour 24", log, "/logs/app-2026-01-02_24-04-05.log", false);
        row("minute 60", log, "/logs/app-2026-01-02_03-60-05.log", false);
        row("second 60", log, "/logs/app-2026-01-02_03-04-60.log", false);
        row("a log without a suffix", "/logs/app", "/logs/app-2026-01-02_03-04-05.", true);
        row("and without the dot", "/logs/app", "/logs/app-2026-01-02_03-04-05", false);
        row("a suffix with dots", "/logs/app.log.txt", "/logs/app.log-2026-01-02_03-04-05.txt", true);
        row("and as one", "/logs/app.log.txt", "/logs/app-2026-01-02_03-04-05.log.txt", false);
        row("a hidden log", "/logs/.log", "/logs/-2026-01-02_03-04-05.log", true);
        row("a dot in the folder", "/lo.gs/app", "/lo.gs/app-2026-01-02_03-04-05.", true);
        row("a name that looks like a time", "/logs/2026.log", "/logs/2026-2026-01-02_03-04-05.log", true);
        row("a hyphen at the end", "/logs/app-.log", "/logs/app--2026-01-02_03-04-05.log", true);
        row("and not one", "/logs/app-.log", "/logs/app-2026-01-02_03-04-05.log", false);
        row("too short for both ends", "/logs/app.log", "/logs/app-.log", false);
    }

    void names()
    {
        QFETCH(QByteArray, log);
        QFETCH(QByteArray, file);
        QFETCH(bool, matches);
        QCOMPARE(Rotation::IsRotatedPath(log, file), matches);
    }

    void aRotationMakesSuchNames()
    {
        for (const QByteArray log : {"/l/app.log", "/l/app", "/l/a.b.c", "/l/.log", "app.log"})
            QVERIFY(Rotation::IsRotatedPath(log, Rotation::RotatedPath(log, 1767322645678)));
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
        QTest::newRow("two") << 2 << qint64(0) << 2;
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
        for (const int second : {3, 1, 5, 2, 4}) // not in the order of their times
            Make(Rotated(second));
        for (int second = 6 - left; second <= 5; ++second)
            expected += QString::fromLatin1(Rotated(second));
        expected += QStringLiteral("app.log");
        RotatedFiles::SetBound(count, bytes);
        RotatedFiles::Prune(QFile::encodeName(QDir().absoluteFilePath(QStringLiteral("app.log"))));
        QCOMPARE(Files(), expected);
    }

    // The time in the name counts, and not that of the file.
    void inTheOrderOfTheNames()
    {
        for (const int second : {2, 1})
            Make(Rotated(second));
        QFile newer(QString::fromLatin1(Rotated(1)));
        QVERIFY(newer.open(QIODevice::ReadWrite));
        QVERIFY(newer.setFileTime(QDateTime::currentDateTime().addDays(1), QFileDevice::FileModificationTime));
        RotatedFiles::SetBound(1, 0);
        RotatedFiles::Prune("app.log");
        QCOMPARE(Files(), QStringList{QString::fromLatin1(Rotated(2))});
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
        QCOMPARE(files.contains(QString::fromLatin1(Rotated(3))), true);
        QCOMPARE(files.contains(QString::fromLatin1(Rotated(1))), count == 0);
    }
};

NEROLT_TEST_MAIN(tst_RotatedFiles)

#include "tst_RotatedFiles.moc"
