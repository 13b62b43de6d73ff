#include "logging/BatchPool.h"
#include "support/TestMain.h"

#include <QtCore/QByteArray>
#include <QtCore/QList>
#include <QtTest/QtTest>

#include <atomic>
#include <numeric>
#include <sys/mman.h>
#include <sys/resource.h>
#include <thread>
#include <vector>

namespace {

void Drain()
{
    QList<QByteArray> taken;
    for (int i = 0; i < 40; ++i)
        taken += BatchPool::Take();
}

#ifndef NEROLT_SANITIZED
// Of the calling thread, those for which nothing had to be read.
int PageFaults()
{
    struct rusage usage = {};
    ::getrusage(RUSAGE_THREAD, &usage);
    return int(usage.ru_minflt);
}

// Systems can take memory ahead from Linux 5.14 on.
bool CanPopulate()
{
    constexpr size_t kBytes = 1 << 16;
    constexpr int kPopulateWrite = 23; // MADV_POPULATE_WRITE, which older headers lack
    void* const memory = ::mmap(nullptr, kBytes, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    const bool can = memory != MAP_FAILED && ::madvise(memory, kBytes, kPopulateWrite) == 0;
    ::munmap(memory, kBytes);
    return can;
}

QString Text(const QList<int>& numbers)
{
    QStringList texts;
    for (const int number : numbers)
        texts += QString::number(number);
    return texts.join(QLatin1Char(' '));
}
#endif

} // namespace

class tst_BatchPool : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init() { Drain(); }

    void newBufferIsEmptyAndRoomy()
    {
        const QByteArray buffer = BatchPool::Take();
        QVERIFY(buffer.isEmpty());
        QVERIFY(buffer.capacity() >= 6024);
    }

    void usedBufferComesBackEmpty()
    {
        QByteArray buffer = BatchPool::Take();
        buffer.append("line\n");
        const char* const memory = buffer.constData();
        BatchPool::GiveBack(buffer);
        buffer = QByteArray();
        buffer = BatchPool::Take();
        QCOMPARE(buffer.constData(), memory);
        QVERIFY(buffer.isEmpty());
        QVERIFY(buffer.capacity() >= 6024);
    }

    void sharedBufferIsNotUsedAgain()
    {
        QByteArray shared = BatchPool::Take();
        shared.append("line\n");
        BatchPool::GiveBack(shared);
        QByteArray other = BatchPool::Take();
        QVERIFY(other.capacity() >= 6024);
        other.append("other\n");
        QCOMPARE(shared, QByteArray("line\n"));
        QVERIFY(other.constData() != shared.constData());
    }

    void smallAndHugeBuffersAreNotKept()
    {
        for (const int capacity : {100, 1000000}) {
            QByteArray buffer;
            buffer.reserve(capacity);
            buffer.append("line\n");
            const char* const memory = buffer.constData();
            BatchPool::GiveBack(buffer);
            const QByteArray taken = BatchPool::Take();
            QVERIFY(taken.constData() != memory);
            QVERIFY(taken.capacity() < 100000);
        }
    }

    void keepsAFewInOrder()
    {
        QList<QByteArray> buffers;
        QList<const char*> memory;
        for (int i = 0; i < 33; ++i) {
            buffers += BatchPool::Take();
            buffers.last().append("x");
            memory += buffers.last().constData();
        }
        for (const QByteArray& buffer : qAsConst(buffers))
            BatchPool::GiveBack(buffer);
        // The thirty-third is still ours, so that its memory cannot come back by chance.
        const QByteArray extra = buffers.last();
        buffers.clear();
        QList<QByteArray> taken;
        for (int i = 0; i < 33; ++i) {
            taken += BatchPool::Take();
            QCOMPARE(taken.last().constData() == memory[i], i < 32);
        }
    }

#ifndef NEROLT_SANITIZED // the sanitizers have an allocator of their own
    // When the writer is behind. Taking the memory page by page would cost a fault for each.
    void manyBuffersFindTheirMemoryThere()
    {
        QList<int> faults;
        std::thread([&faults] {
            QList<QByteArray> buffers;
            for (int i = 0; i < 24; ++i) {
                const int before = PageFaults();
                buffers += BatchPool::Take();
                faults += PageFaults() - before;
            }
        }).join();
        // A few are taken as they come, so that a log that says little occupies little.
        QVERIFY2(std::accumulate(faults.begin(), faults.begin() + 4, 0) >= 4, qPrintable(Text(faults)));
        // The fifth takes along the memory of the rest.
        const bool isThere = std::accumulate(faults.begin() + 5, faults.end(), 0) <= 4;
        QVERIFY2(isThere == CanPopulate(), qPrintable(Text(faults)));
    }
#endif

    void buffersAreNeverHandedOutTwice()
    {
        std::atomic<bool> failed{false};
        std::vector<std::thread> threads;
        for (int t = 0; t < 4; ++t) {
            threads.emplace_back([&failed, t] {
                for (int i = 0; i < 20000; ++i) {
                    QByteArray buffer = BatchPool::Take();
                    buffer.append(QByteArray(100, char('a' + t)));
                    if (buffer.count(char('a' + t)) != 100 || buffer.size() != 100)
                        failed = true;
                    BatchPool::GiveBack(buffer);
                    BatchPool::Idle();
                }
            });
        }
        for (std::thread& thread : threads)
            thread.join();
        QVERIFY(!failed);
    }
};

NEROLT_TEST_MAIN(tst_BatchPool)

#include "tst_BatchPool.moc"
