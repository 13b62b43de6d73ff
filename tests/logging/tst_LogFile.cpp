#include "Append.h"
#include "logging/Descriptor.h"
#include "logging/Rotation.h"
#include "support/ForgedClock.h"
#include "support/TestMain.h"

#include <QtCore/QFile>
#include <QtCore/QScopeGuard>
#include <QtTest/QtTest>

#include <cerrno>
#include <csignal>
#include <cstring>
#include <fcntl.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>
#include <utility>

namespace {

int gOpenInterrupts = 0; ///< so often a signal comes first
int gWriteInterrupts = 0;
int gLeased = -1;

int OpenDescriptors()
{
    return int(
        QDir(QStringLiteral("/proc/self/fd")).entryList(QDir::NoDotAndDotDot | QDir::AllEntries | QDir::System).size());
}

} // namespace

extern "C" Q_DECL_EXPORT int open(const char* name, int flags, ...)
{
    if (gOpenInterrupts > 0) {
        --gOpenInterrupts;
        errno = EINTR;
        return -1;
    }
    return int(::syscall(SYS_openat, AT_FDCWD, name, flags, 0666));
}

extern "C" Q_DECL_EXPORT ssize_t write(int file, const void* bytes, size_t size)
{
    if (gWriteInterrupts > 0) {
        --gWriteInterrupts;
        errno = EINTR;
        return -1;
    }
    return ::syscall(SYS_write, file, bytes, size);
}

class tst_LogFile : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init()
    {
        TestSupport::EnterFreshFolder();
        ForgedClock::Freeze(kNow);
    }

    void bytesGoBehindWhatIsThere()
    {
        QByteArray all;
        for (int i = 0; i < 256; ++i)
            all += char(i);
        QVERIFY(Append(kLog, QByteArray()));
        QVERIFY(QFile::exists(kLog));
        QVERIFY(Append(kLog, all));
        QFile other(kLog);
        QVERIFY(other.open(QIODevice::Append | QIODevice::Unbuffered));
        other.write("other\n");
        QVERIFY(Append(kLog, "two\n"));
        QCOMPARE(Log(), all + "other\ntwo\n");
    }

    void cannotBeOpened_data()
    {
        QTest::addColumn<QString>("path");
        QTest::newRow("empty name") << QString();
        QTest::newRow("folder missing") << QStringLiteral("missing/a.log");
        QTest::newRow("a folder") << QStringLiteral("folder");
        QTest::newRow("a file as folder") << QStringLiteral("file/a.log");
        QTest::newRow("NUL in the name") << QStringLiteral("file") + QChar(0) + QStringLiteral("x");
        QTest::newRow("name too long") << QString(300, QLatin1Char('n'));
        QTest::newRow("pipe without a reader") << QStringLiteral("pipe");
    }
    void cannotBeOpened()
    {
        QFETCH(QString, path);
        QVERIFY(QDir().mkdir(QStringLiteral("folder")));
        QVERIFY(Append(QStringLiteral("file"), QByteArray()));
        QCOMPARE(::mkfifo("pipe", 0600), 0);
        const int before = OpenDescriptors();
        LogFile file(path);
        QCOMPARE(AppendTogether(file, {"one\n", "two\n"}), (QVector<int>{1, 1}));
        QVERIFY(!file.Append("one\n"));
        QCOMPARE(OpenDescriptors(), before);
        QCOMPARE(LogText::Read(QStringLiteral("file")), QByteArray());
    }

    void halfALineIsTakenBackUnlessSomebodyWroteBehindIt()
    {
        const Descriptor file("a.log");
        QCOMPARE(file.Write("line\nhalf", 9, 0), qint64(9));
        file.TakeBack(4);
        QCOMPARE(Log(), QByteArray("line\n"));
        QCOMPARE(file.Write("half", 4, 0), qint64(4));
        QVERIFY(Append(kLog, "another's\n"));
        file.TakeBack(4);
        QCOMPARE(Log(), QByteArray("line\nhalfanother's\n"));
    }

    void signalsInterruptNothing()
    {
        gOpenInterrupts = gWriteInterrupts = 3;
        const bool isOpen = Append(kLog, "one\n");
        const int left = std::exchange(gOpenInterrupts, 0) + std::exchange(gWriteInterrupts, 0);
        QVERIFY(isOpen);
        QCOMPARE(left, 0);
        QCOMPARE(Log(), QByteArray("one\n"));
    }

    // Another process that has a lease on the file is asked for it.
    void leaseIsWaitedFor_data()
    {
        QTest::addColumn<int>("lease");
        QTest::newRow("for reading") << F_RDLCK;
        QTest::newRow("for writing") << F_WRLCK;
    }
    void leaseIsWaitedFor()
    {
        QFETCH(int, lease);
        QVERIFY(Append(kLog, "one\n"));
        const auto before = std::signal(SIGIO, [](int) { ::fcntl(gLeased, F_SETLEASE, F_UNLCK); });
        gLeased = ::open("a.log", (lease == F_RDLCK ? O_RDONLY : O_RDWR) | O_CLOEXEC);
        const auto restore = qScopeGuard([before] {
            std::signal(SIGIO, before);
            ::close(gLeased);
        });
        if (::fcntl(gLeased, F_SETLEASE, lease) != 0) {
            // Network file systems and some of those in user space grant none, so that there is nothing to wait for.
            QVERIFY2(errno == EINVAL || errno == EOPNOTSUPP, std::strerror(errno));
            QSKIP("the file system of the temporary folder grants no leases", 0);
        }
        QVERIFY(Append(kLog, "two\n"));
        QCOMPARE(Log(), QByteArray("one\ntwo\n"));
    }

    void togetherUpToTheBatchThatMakesTheFileTooLarge_data()
    {
        QTest::addColumn<int>("room");
        QTest::addColumn<QVector<int>>("done");
        QTest::newRow("all fit") << 60 << QVector<int>{6};
        QTest::newRow("up to the limit is not beyond it") << 50 << QVector<int>{6};
        QTest::newRow("the fourth crosses") << 39 << QVector<int>{4, 2};
        QTest::newRow("the fourth is the first beyond") << 30 << QVector<int>{4, 2};
        QTest::newRow("the first crosses") << 9 << QVector<int>{1, 5};
    }
    void togetherUpToTheBatchThatMakesTheFileTooLarge()
    {
        QFETCH(int, room);
        QFETCH(QVector<int>, done);
        const qint64 before = Rotation::kMaxBytes - room;
        QVERIFY(Append(kLog, QByteArray()) && QFile::resize(kLog, before));
        QList<QByteArray> batches;
        for (int i = 0; i < 6; ++i)
            batches += QByteArray::number(i) + "23456789\n"; // ten bytes
        LogFile file(kLog);
        QCOMPARE(AppendTogether(file, batches), done);
        const bool isRotated = 60 > room;
        QCOMPARE(QFile::exists(kRotated), isRotated);
        QFile old(isRotated ? kRotated : kLog);
        QVERIFY(old.open(QIODevice::ReadOnly) && old.seek(before));
        QCOMPARE(old.readAll(), batches.mid(0, done.first()).join());
        if (isRotated)
            QCOMPARE(Log(), kHeader + batches.mid(done.first()).join());
    }

    // What a full disk does: the write is short, then it fails. Of the batch that does not fit whole lines are kept,
    // and the next one is tried.
    void fullDiskTakesWholeLines_data()
    {
        QTest::addColumn<QList<QByteArray>>("batches");
        QTest::addColumn<int>("room");
        QTest::addColumn<QVector<int>>("done");
        QTest::addColumn<QByteArray>("kept");
        const QList<QByteArray> three{"1a\n1b\n", "2a\n2b\n", "3a\n3b\n"};
        QTest::newRow("nothing") << three << 0 << QVector<int>{1, 1, 1} << QByteArray();
        QTest::newRow("half a line") << three << 2 << QVector<int>{1, 1, 1} << QByteArray();
        QTest::newRow("half a batch") << three << 5 << QVector<int>{1, 1, 1} << QByteArray("1a\n");
        QTest::newRow("one batch") << three << 6 << QVector<int>{2, 1} << QByteArray("1a\n1b\n");
        QTest::newRow("a line more") << three << 10 << QVector<int>{2, 1} << QByteArray("1a\n1b\n2a\n");
        QTest::newRow("all but a byte") << three << 17 << QVector<int>{3} << QByteArray("1a\n1b\n2a\n2b\n3a\n");
        QTest::newRow("all") << three << 18 << QVector<int>{3} << three.join();
        QTest::newRow("first line of one batch cut")
            << QList<QByteArray>{"one-and-more\ntwo\n"} << 10 << QVector<int>{1} << QByteArray();
        QTest::newRow("one batch cut between lines")
            << QList<QByteArray>{"one\nthree\nfour\n"} << 10 << QVector<int>{1} << QByteArray("one\nthree\n");
    }
    void fullDiskTakesWholeLines()
    {
        QFETCH(QList<QByteArray>, batches);
        QFETCH(int, room);
        QFETCH(QByteArray, kept);
        Append(kLog, "old\n");
        const auto signal = std::signal(SIGXFSZ, SIG_IGN);
        rlimit before = {};
        ::getrlimit(RLIMIT_FSIZE, &before);
        const rlimit limit = {rlim_t(4 + room), before.rlim_max};
        ::setrlimit(RLIMIT_FSIZE, &limit);
        LogFile file(kLog);
        const QVector<int> found = AppendTogether(file, batches);
        ::setrlimit(RLIMIT_FSIZE, &before);
        std::signal(SIGXFSZ, signal);
        QTEST(found, "done");
        QCOMPARE(Log(), "old\n" + kept);
        Append(kLog, "later\n");
        QCOMPARE(Log(), "old\n" + kept + "later\n");
    }
};

NEROLT_TEST_MAIN(tst_LogFile)

#include "tst_LogFile.moc"
