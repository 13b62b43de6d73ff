#include "CrashLeft.h"
#include "logging/Rotation.h"
#include "support/OrdinaryUser.h"
#include "support/TestMain.h"

#include <QtCore/QDir>
#include <QtCore/QFile>
#include <QtTest/QtTest>

#include <atomic>
#include <cerrno>
#include <dlfcn.h>
#include <fcntl.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

using TestSupport::RunScenario;
using TestSupport::Scenario;
using TestSupport::ScenarioResult;

namespace {

std::atomic<bool> gCanRead{true};

QByteArray RotatedName()
{
    return Rotation::RotatedPath(LogName(), 1767322645678);
}

// In a process of its own, because of the limit.
const Scenario fullDisk("fullDisk", [](const QStringList& arguments) {
    const QByteArray before = Text(LogName());
    Left left(kFirst + kSecond);
    if (arguments.value(0) == QLatin1String("cut")) {
        left.BeginWrite();
        QFile file(QStringLiteral("app.log"));
        if (!file.open(QIODevice::Append) || file.write(kFirst.left(10)) != 10)
            return 1;
    }
    struct rlimit limit = {};
    ::getrlimit(RLIMIT_FSIZE, &limit);
    const rlim_t all = limit.rlim_cur;
    limit.rlim_cur = rlim_t(kFirst.size() + 20);
    ::setrlimit(RLIMIT_FSIZE, &limit);
    if (left.Complete() || Text(LogName()) != kFirst)
        return 2;
    Write(LogName(), ""); // still there
    limit.rlim_cur = all;
    ::setrlimit(RLIMIT_FSIZE, &limit);
    Write(LogName(), kOther); // the new run's lines
    if (left.Complete() != qint64(1))
        return 3;
    return Text(LogName()) == kFirst + kOther + kSecond ? 0 : 4;
});

} // namespace

// A disk that gives errors.
extern "C" Q_DECL_EXPORT ssize_t pread(int file, void* bytes, size_t size, off_t offset)
{
    static auto* const original = reinterpret_cast<ssize_t (*)(int, void*, size_t, off_t)>(::dlsym(RTLD_NEXT, "pread"));
    if (gCanRead)
        return original(file, bytes, size, offset);
    errno = EIO;
    return -1;
}

class tst_CrashRecovery : public QObject
{
    Q_OBJECT

    // To write the lines; when the first one is done with it is over.
    enum Attempt { None, Begun, FirstDone };

private Q_SLOTS:
    void init() { TestSupport::EnterFreshFolder(); }

    // Wherever the write was cut off.
    void everyCut()
    {
        const QByteArray lines = kFirst + kSecond;
        for (int cut = 0; cut <= lines.size(); ++cut) {
            QFile::remove(QStringLiteral("app.log"));
            Write(LogName(), kOther);
            Left left(lines);
            left.BeginWrite();
            Write(LogName(), lines.left(cut));
            const qint64 expected = 2 - (cut >= kFirst.size()) - (cut == lines.size());
            QCOMPARE(left.Complete(), std::optional<qint64>(expected));
            QCOMPARE(Text(LogName()), kOther + lines);
            // And again, as if it had died before it could tell.
            QCOMPARE(left.Complete(), std::optional<qint64>(0));
            QCOMPARE(Text(LogName()), kOther + lines);
        }
    }

    // A recovery is cut off as well.
    void everyCutOfARecovery()
    {
        const QByteArray lines = kFirst + kSecond;
        for (int cut = 0; cut <= lines.size(); ++cut) {
            QFile::remove(QStringLiteral("app.log"));
            Left left(lines);
            QCOMPARE(left.Complete(), std::optional<qint64>(2));
            QCOMPARE(::truncate("app.log", cut), 0);
            QVERIFY(left.Complete());
            QCOMPARE(Text(LogName()), lines);
        }
    }

    void whatTheLogHolds_data()
    {
        QTest::addColumn<QByteArray>("lines"); // that are left
        QTest::addColumn<QByteArray>("before"); // in the log
        QTest::addColumn<int>("attempt");
        QTest::addColumn<QByteArray>("written"); // since it was begun
        QTest::addColumn<int>("missing");
        QTest::addColumn<QByteArray>("expected");
        const QByteArray both = kFirst + kSecond;
        const auto begun
            = [&both](const char* name, const QByteArray& written, int missing, const QByteArray& expected) {
                  QTest::newRow(name) << both << QByteArray() << int(Begun) << written << missing << expected;
              };
        begun("nothing", "", 2, both);
        begun("another process's line", kOther, 2, kOther + both);
        begun("another one's before", kOther + kFirst, 1, kOther + both);
        begun("another one's between", kFirst + kOther + kSecond, 0, kFirst + kOther + kSecond);
        begun("another one's behind", kFirst + kOther, 1, kFirst + kOther + kSecond);
        begun("cut, and another one's behind", kFirst.left(30) + kOther, 2, kFirst.left(30) + kOther + both);
        begun("within another one's line", kFirst + "half", 1, kFirst + "half\n" + kSecond);
        begun("all, and within another one's line", both + "half", 0, both + "half");
        const QByteArray recovered = "2026-01-02 03:04:05.681|10|Information|Logger::SetCrashFile|recovered 1 l";
        for (const int size : {1, 23, 30, int(recovered.size())})
            begun(qPrintable(QStringLiteral("%1 bytes of the line that tells of a recovery").arg(size)),
                  kOther + recovered.left(size), 2, kOther + both);
        const QByteArray like = kFirst + recovered.left(60) + 's';
        begun("a line like it, of another function", like, 1, like + '\n' + kSecond);
        begun("a line without protection", kFirst + "2026\n", 1, kFirst + "2026\n" + kSecond);
        const auto row = [](const char* name, const QByteArray& lines, const QByteArray& before, Attempt attempt,
                            const QByteArray& written, int missing, const QByteArray& expected) {
            QTest::newRow(name) << lines << before << int(attempt) << written << missing << expected;
        };
        const QByteArray banner = "a banner of the host\n"; // the dead process's log may begin as it likes
        const QByteArray half = kOther + kOther.left(30); // of whoever wrote it, or of a rotation
        row("nothing left but a half line of a recovery", {}, kOther, Begun, recovered, 0, kOther);
        row("an equal line of before", both, kFirst, Begun, {}, 2, kFirst + both);
        row("equal lines", kFirst.repeated(3), {}, Begun, kFirst + kFirst, 1, kFirst.repeated(3));
        row("an equal line of before the attempt", kFirst + kFirst, {}, FirstDone, kFirst, 1, kFirst + kFirst);
        row("the file that it wrote", both, banner, FirstDone, {}, 1, banner + kSecond);
        row("half a line of another", both, half, None, {}, 2, half + '\n' + both);
    }

    void whatTheLogHolds()
    {
        QFETCH(QByteArray, lines);
        QFETCH(QByteArray, before);
        QFETCH(int, attempt);
        QFETCH(QByteArray, written);
        QFETCH(int, missing);
        QFETCH(QByteArray, expected);
        Write(LogName(), before);
        Left left(lines);
        if (attempt != None)
            left.BeginWrite();
        Write(LogName(), written);
        if (attempt == FirstDone)
            left.TakeFirst();
        QCOMPARE(left.Read()->iIsAttemptOpen, attempt == Begun);
        QCOMPARE(left.Complete(), std::optional<qint64>(missing));
        QCOMPARE(Text(LogName()), expected);
        // And again, as if it had died before it could tell.
        QCOMPARE(left.Complete(), std::optional<qint64>(0));
        QCOMPARE(Text(LogName()), expected);
    }

    void manyLines()
    {
        QByteArray lines;
        for (int i = 0; i < 20000; ++i)
            lines += "2026-01-02 03:04:05.678|10|Information|f|" + QByteArray(i % 200, 'x') + '\n';
        for (const int cut : {0, 1, 65535, 65536, 65537, 1000000, int(lines.size()) - 1}) {
            QFile::remove(QStringLiteral("app.log"));
            Left left(lines);
            left.BeginWrite();
            Write(LogName(), lines.left(cut));
            QCOMPARE(left.Complete(), std::optional<qint64>(20000 - lines.left(cut).count('\n')));
            QVERIFY(Text(LogName()) == lines);
        }
    }

    // The write went to the file that another process has rotated since. Where that cannot be looked for, nothing must
    // be written twice.
    void aRotatedFileIsCompleted()
    {
        OrdinaryUser::Own(QDir::currentPath());
        const OrdinaryUser user;
        Left left(kFirst + kSecond);
        left.BeginWrite();
        Write(LogName(), kFirst + kSecond.left(20));
        QCOMPARE(::rename(LogName().constData(), RotatedName().constData()), 0);
        Write(LogName(), kOther);
        QCOMPARE(::chmod(".", 0300), 0);
        QCOMPARE(left.Complete(), std::optional<qint64>());
        QCOMPARE(::chmod(".", 0700), 0);
        QCOMPARE(left.Complete(), std::optional<qint64>(1));
        QCOMPARE(Text(RotatedName()), kFirst + kSecond);
        QCOMPARE(Text(LogName()), kOther);
    }

    void aLogThatIsGoneIsMadeAnew()
    {
        Left left(kFirst + kSecond);
        left.BeginWrite();
        Write(LogName(), kFirst);
        QVERIFY(QFile::remove(QStringLiteral("app.log")));
        QCOMPARE(left.Complete(), std::optional<qint64>(2));
        QCOMPARE(Text(LogName()), kFirst + kSecond);
    }

    void aLogThatWasEmptiedGetsAll()
    {
        Write(LogName(), kOther + kOther + kOther);
        Left left(kFirst + kSecond);
        left.BeginWrite();
        Write(LogName(), kFirst);
        QCOMPARE(::truncate(LogName().constData(), 0), 0);
        QCOMPARE(left.Complete(), std::optional<qint64>(2));
        QCOMPARE(Text(LogName()), kFirst + kSecond);
        QCOMPARE(left.Complete(), std::optional<qint64>(0)); // as if it had died before it could tell
        QCOMPARE(Text(LogName()), kFirst + kSecond);
    }

    void whatCannotBeReadIsNotWrittenAgain()
    {
        Left left(kFirst);
        left.BeginWrite();
        Write(LogName(), kFirst);
        gCanRead = false;
        const std::optional<qint64> lines = left.Complete();
        gCanRead = true;
        QVERIFY(!lines);
        QCOMPARE(Text(LogName()), kFirst);
    }

    void aFullDisk_data()
    {
        QTest::addColumn<QString>("how");
        QTest::newRow("nothing was written") << QString();
        QTest::newRow("the write was cut") << QStringLiteral("cut");
    }

    void aFullDisk()
    {
        QFETCH(QString, how);
        const ScenarioResult result = RunScenario("fullDisk", {how});
        QVERIFY2(result.IsOk(), result.Describe());
    }

    void withoutALogTheNextGetsThem()
    {
        Left left(kFirst, QByteArray());
        QCOMPARE(left.Complete(LogName()), std::optional<qint64>(1));
        QCOMPARE(Text(LogName()), kFirst);
    }

    void nothingToDoNeedsNoLog() { QCOMPARE(Left(QByteArray(), "/none/app.log").Complete(), std::optional<qint64>(0)); }

    void onlyLogsAreWrittenTo_data()
    {
        QTest::addColumn<QByteArray>("text");
        QTest::addColumn<bool>("isLog");
        QTest::newRow("empty") << QByteArray() << true;
        QTest::newRow("a log") << kOther << true;
        QTest::newRow("a log after a rotation") << QByteArray("2026-01-02 03:04:05.678continued from x\n") << true;
        QTest::newRow("a script") << QByteArray("#!/bin/sh\necho this is no log file\n") << false;
        QTest::newRow("short") << QByteArray("2026-01-02 03:04:05") << false;
        QTest::newRow("another form") << QByteArray("2026-01-02T03:04:05.678|10|\n") << false;
    }

    void onlyLogsAreWrittenTo()
    {
        QFETCH(QByteArray, text);
        QFETCH(bool, isLog);
        Write(LogName(), text);
        Left left(kFirst);
        QCOMPARE(left.Complete().has_value(), isLog);
        QCOMPARE(Text(LogName()), text + (isLog ? kFirst : QByteArray()));
    }

    void whatCannotBeALog()
    {
        QVERIFY(QDir().mkdir(QStringLiteral("app.log")));
        QVERIFY(!Left(kFirst).Complete());
        QVERIFY(QDir().rmdir(QStringLiteral("app.log")));
        QVERIFY(!Left(kFirst, "/none/app.log").Complete());
        QCOMPARE(::mkfifo("app.log", 0600), 0);
        QVERIFY(!Left(kFirst).Complete()); // nobody reads it
        const int reader = ::open("app.log", O_RDONLY | O_NONBLOCK);
        QCOMPARE(Left(kFirst).Complete(), std::optional<qint64>(1));
        QByteArray read(200, '\0');
        read.truncate(int(::read(reader, read.data(), size_t(read.size()))));
        ::close(reader);
        QCOMPARE(read, kFirst);
    }
};

NEROLT_TEST_MAIN(tst_CrashRecovery)

#include "tst_CrashRecovery.moc"
