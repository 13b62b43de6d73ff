#include "Append.h"
#include "support/TestMain.h"

#include <QtCore/QScopeGuard>
#include <QtCore/QSemaphore>
#include <QtTest/QtTest>

#include <cerrno>
#include <fcntl.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <thread>
#include <unistd.h>

namespace {

const QString kPipe = QStringLiteral("pipe");

QVector<int> gPatience; ///< with which pipes were waited for
QSemaphore gWaits;
int gSignals = 0; ///< that come while a pipe is waited for

int OpenReader()
{
    return ::open("pipe", O_RDONLY | O_NONBLOCK | O_CLOEXEC);
}

// Reads from the moment when it is waited for, until the writer has closed the pipe.
QByteArray ReadWhenWaitedFor(int reader)
{
    if (!gWaits.tryAcquire(1, 60000))
        return "nobody waits";
    ::fcntl(reader, F_SETFL, 0); // waits for more from now on
    QByteArray read;
    char some[1000];
    for (ssize_t size = 0; (size = ::read(reader, some, sizeof(some))) > 0;)
        read.append(some, int(size));
    return read;
}

} // namespace

// As the system declares it, which tells compilers that nothing is read there.
struct pollfd
{
    int iDescriptor;
    short iEvents;
    short iFound;
};

extern "C" Q_DECL_EXPORT int poll(pollfd* files, unsigned long count, int timeoutMs)
{
    constexpr short toWrite = 4;
    if (count == 1 && files->iEvents == toWrite) {
        gPatience += timeoutMs;
        gWaits.release();
        if (gSignals > 0) {
            --gSignals;
            errno = EINTR;
            return -1;
        }
    }
    const timespec timeout = {timeoutMs / 1000, timeoutMs % 1000 * 1000000L};
    return int(::syscall(SYS_ppoll, files, count, timeoutMs < 0 ? nullptr : &timeout, nullptr, 0));
}

class tst_LogFilePipe : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init()
    {
        TestSupport::EnterFreshFolder();
        QCOMPARE(::mkfifo("pipe", 0600), 0);
        gPatience.clear();
        gWaits.acquire(gWaits.available());
    }

    void slowReaderGetsEverything_data()
    {
        QTest::addColumn<QList<QByteArray>>("batches");
        QTest::addColumn<int>("signalsMeanwhile");
        QList<QByteArray> many;
        for (int i = 0; i < 40; ++i)
            many += QByteArray(4999 + i, char('a' + i % 26)) + '\n';
        const QByteArray longLine = QByteArray(200000, 'x') + '\n';
        QTest::newRow("many batches") << many << 0;
        QTest::newRow("signals do not end the wait") << many << 3;
        QTest::newRow("line longer than a pipe takes at once")
            << QList<QByteArray>{"short\n" + longLine + "short\nno end"} << 0;
    }
    void slowReaderGetsEverything()
    {
        QFETCH(QList<QByteArray>, batches);
        QFETCH(int, signalsMeanwhile);
        gSignals = signalsMeanwhile;
        QByteArray read;
        const int descriptor = OpenReader();
        std::thread reader([&] { read = ReadWhenWaitedFor(descriptor); });
        LogFile file(kPipe);
        const QVector<int> done = AppendTogether(file, batches);
        reader.join();
        ::close(descriptor);
        QCOMPARE(done, QVector<int>{int(batches.size())});
        QVERIFY(read == batches.join());
        QCOMPARE(gSignals, 0);
        QVERIFY(gPatience.size() > signalsMeanwhile);
        for (int i = 1; i <= signalsMeanwhile; ++i)
            QVERIFY2(gPatience.at(i) <= gPatience.at(i - 1), QByteArray::number(gPatience.at(i)));
    }

    void readerThatStandsGetsWholeLinesAndIsWaitedForOnce()
    {
        constexpr int lines = 3000;
        const int reader = OpenReader();
        QVERIFY(reader >= 0);
        const auto close = qScopeGuard([reader] { ::close(reader); });
        const QByteArray line = QByteArray(99, 'x') + '\n';
        const QByteArray much = line.repeated(lines);
        LogFile file(kPipe);
        QCOMPARE(AppendTogether(file, {line}), QVector<int>{1}); // has a page of the pipe for itself
        for (int i = 0; i < 3; ++i)
            QCOMPARE(AppendTogether(file, {much, line}), (QVector<int>{1, 1}));
        QCOMPARE(gPatience, (QVector<int>{1000, 0, 0, 0, 0, 0}));
        QByteArray read(2 * much.size(), Qt::Uninitialized);
        read.truncate(int(::read(reader, read.data(), size_t(read.size()))));
        QVERIFY2(read.size() > 0 && read.size() < much.size(), QByteArray::number(read.size()));
        QVERIFY(read == line.repeated(read.size() / line.size()));
        // It reads again, and so it is waited for again.
        gPatience.clear();
        QCOMPARE(AppendTogether(file, {line}), QVector<int>{1});
        QCOMPARE(AppendTogether(file, {much}), QVector<int>{1});
        QCOMPARE(gPatience, QVector<int>{1000});
    }
};

NEROLT_TEST_MAIN(tst_LogFilePipe)

#include "tst_LogFilePipe.moc"
