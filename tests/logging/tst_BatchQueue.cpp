#include "logging/BatchQueue.h"
#include "logging/WriterDispatcher.h"
#include "support/TestMain.h"

#include <QtCore/QByteArray>
#include <QtCore/QCoreApplication>
#include <QtCore/QList>
#include <QtTest/QtTest>

#include <array>
#include <atomic>
#include <fstream>
#include <thread>
#include <unistd.h>

namespace {

constexpr qint64 kPlenty = 1 << 30;
constexpr qint64 kChunk = 256 << 10;
constexpr int kTogether = 64 << 10;
constexpr quint64 kAll = ~quint64(0);

// Notes what it is told.
class Reader : public QObject
{
public:
    // Whether its thread was woken since.
    bool IsWoken() { return iEvents.processEvents({}); }

    WriterDispatcher iEvents;
    BatchQueue* iQueue = nullptr;

    QList<quint64> Told()
    {
        QCoreApplication::sendPostedEvents(this);
        return std::exchange(iTold, {});
    }

    bool event(QEvent* event) override
    {
        if (event->type() != BatchQueue::Arrival::ItsType())
            return QObject::event(event);
        iTold += iQueue->Until(static_cast<BatchQueue::Arrival&>(*event));
        return true;
    }

private:
    QList<quint64> iTold;
};

QList<QByteArray> Split(const LogBatches& batches)
{
    QList<QByteArray> split;
    const char* at = batches.iBytes;
    for (int i = 0; i < batches.iCount; ++i) {
        split += QByteArray(at, batches.At(i).iSize);
        at += batches.At(i).iSize;
    }
    return split;
}

// The next ones together, for each time that the reader asks.
QList<QList<QByteArray>> TakeGroups(BatchQueue& queue)
{
    QList<QList<QByteArray>> groups;
    const quint64 until = queue.Count();
    for (LogBatches next = queue.Next(until); next.iCount > 0; next = queue.Next(until)) {
        groups += Split(next);
        queue.Done(next.iCount);
    }
    return groups;
}

QList<QByteArray> Take(BatchQueue& queue)
{
    QList<QByteArray> batches;
    for (const QList<QByteArray>& group : TakeGroups(queue))
        batches += group;
    return batches;
}

#if defined(Q_OS_LINUX) && !defined(NEROLT_SANITIZED) // the memory of sanitizers is not ours
qint64 ResidentBytes()
{
    std::ifstream file("/proc/self/statm");
    qint64 total = 0;
    qint64 resident = 0;
    file >> total >> resident;
    return resident * ::sysconf(_SC_PAGESIZE);
}
#endif

} // namespace

class tst_BatchQueue : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void emptyHasNothing()
    {
        Reader reader;
        BatchQueue queue(reader, reader.iEvents, kPlenty);
        reader.iQueue = &queue;
        QCOMPARE(queue.Count(), quint64(0));
        QCOMPARE(Take(queue), QList<QByteArray>());
        QCOMPARE(reader.Told(), QList<quint64>());
        QCOMPARE(queue.TakeDropped(), qint64(0));
        QVERIFY(queue.Rest());
    }

    void batchesComeOnceInOrderAndTogether()
    {
        Reader reader;
        BatchQueue queue(reader, reader.iEvents, kPlenty);
        reader.iQueue = &queue;
        queue.Put("first\n", {}, false);
        queue.Put("", {}, false);
        queue.Put("second\n", {}, false);
        QCOMPARE(TakeGroups(queue), (QList<QList<QByteArray>>{{"first\n", "", "second\n"}}));
        QCOMPARE(TakeGroups(queue), QList<QList<QByteArray>>());
        queue.Put("third\n", {}, false);
        QCOMPARE(TakeGroups(queue), (QList<QList<QByteArray>>{{"third\n"}}));
        QCOMPARE(queue.Count(), quint64(4));
    }

    void batchIsACopy()
    {
        Reader reader;
        BatchQueue queue(reader, reader.iEvents, kPlenty);
        reader.iQueue = &queue;
        QByteArray batch("before");
        queue.Put(batch, {}, false);
        QVERIFY(batch.isDetached());
        batch[0] = 'X';
        QCOMPARE(Take(queue), QList<QByteArray>{"before"});
    }

    void whatIsNotDoneStays()
    {
        Reader reader;
        BatchQueue queue(reader, reader.iEvents, kPlenty);
        reader.iQueue = &queue;
        for (const char* batch : {"a", "b", "c"})
            queue.Put(batch, {}, false);
        QCOMPARE(Split(queue.Next(kAll - 1)), (QList<QByteArray>{"a", "b", "c"}));
        queue.Done(1);
        QCOMPARE(Split(queue.Next(kAll - 1)), (QList<QByteArray>{"b", "c"}));
    }

    void nothingBeyondTheNumber()
    {
        Reader reader;
        BatchQueue queue(reader, reader.iEvents, kPlenty);
        reader.iQueue = &queue;
        for (const char* batch : {"a", "b", "c"})
            queue.Put(batch, {}, false);
        QCOMPARE(Split(queue.Next(2)), (QList<QByteArray>{"a", "b"}));
        queue.Done(2);
        QCOMPARE(queue.Next(2).iCount, 0);
        QCOMPARE(queue.Next(1).iCount, 0);
        QCOMPARE(Split(queue.Next(3)), QList<QByteArray>{"c"});
    }

    void togetherIsBounded_data()
    {
        QTest::addColumn<QList<int>>("sizes");
        QTest::addColumn<QList<int>>("groups");
        QTest::newRow("at the bound") << QList<int>{kTogether - 1, 1, 1} << QList<int>{2, 1};
        QTest::newRow("beyond") << QList<int>{kTogether - 1, 2} << QList<int>{1, 1};
        QTest::newRow("one that is larger") << QList<int>{kTogether + 1, 1} << QList<int>{1, 1};
        QTest::newRow("13 of the usual size")
            << QList<int>{5000, 5000, 5000, 5000, 5000, 5000, 5000, 5000, 5000, 5000, 5000, 5000, 5000, 5000}
            << QList<int>{13, 1};
    }
    void togetherIsBounded()
    {
        QFETCH(QList<int>, sizes);
        QFETCH(QList<int>, groups);
        Reader reader;
        BatchQueue queue(reader, reader.iEvents, kPlenty);
        reader.iQueue = &queue;
        for (const int size : sizes)
            queue.Put(QByteArray(size, 'x'), {}, false);
        QList<int> found;
        for (const QList<QByteArray>& group : TakeGroups(queue))
            found += group.size();
        QCOMPARE(found, groups);
    }

    // Across chunks, one of them larger than all others, with something left of them or not.
    void anyOrderOfSizes()
    {
        const QList<int> sizes{5000, int(kChunk), 1, int(kChunk) * 3 + 1, int(kChunk) / 2, int(kChunk) / 2, 0, 70000};
        for (int before = 0; before < sizes.size(); ++before) {
            Reader reader;
            BatchQueue queue(reader, reader.iEvents, kPlenty);
            reader.iQueue = &queue;
            QList<QByteArray> expected;
            QList<QByteArray> found;
            for (int i = 0; i < 3 * sizes.size(); ++i) {
                expected += QByteArray(sizes.at((i + before) % sizes.size()), char('a' + i));
                queue.Put(expected.last(), {}, false);
                if (i == before)
                    found += Take(queue);
            }
            found += Take(queue);
            QVERIFY(found == expected);
        }
    }

    void aBacklogKeepsItsOrder()
    {
        Reader reader;
        BatchQueue queue(reader, reader.iEvents, kPlenty);
        reader.iQueue = &queue;
        QList<QByteArray> expected;
        for (int i = 0; i < 100000; ++i) {
            expected += QByteArray::number(i);
            queue.Put(expected.last(), {}, false);
        }
        QVERIFY(Take(queue) == expected);
    }

    void threadIsWokenWhenTheReaderRestsOrAtOnce()
    {
        Reader reader;
        BatchQueue queue(reader, reader.iEvents, kPlenty);
        reader.iQueue = &queue;
        QVERIFY(!reader.IsWoken());
        queue.Put("a", {}, false);
        QVERIFY(reader.IsWoken());
        queue.Put("b", {}, false);
        QVERIFY(!reader.IsWoken());
        queue.Put("c", {}, true);
        QVERIFY(reader.IsWoken());
        QVERIFY(!queue.Rest()); // there is something
        Take(queue);
        queue.Put("d", {}, false);
        QVERIFY(!reader.IsWoken());
        Take(queue);
        QVERIFY(queue.Rest());
        queue.Put("e", {}, false);
        QVERIFY(reader.IsWoken());
    }

    // One event covers what comes before the reader has asked and before anything else is posted.
    void eventsCoverWhatCameBeforeTheNext()
    {
        Reader reader;
        BatchQueue queue(reader, reader.iEvents, kPlenty);
        reader.iQueue = &queue;
        const auto posted = [&reader] { reader.iEvents.wakeUp(); }; // the events here are those of another dispatcher
        queue.Put("a", {}, false);
        QCOMPARE(reader.Told(), QList<quint64>{1}); // it looks from now on
        queue.Put("b", {}, false);
        QCOMPARE(reader.Told(), QList<quint64>{2});
        queue.Put("c", {}, false);
        posted();
        queue.Put("d", {}, false);
        QCOMPARE(reader.Told(), QList<quint64>{4});
        queue.Put("e", {}, false);
        posted();
        posted(); // somebody else's
        queue.Put("f", {}, false);
        QCOMPARE(reader.Told(), (QList<quint64>{5, 6}));
    }

    void tooMuchIsDroppedAndCounted()
    {
        Reader reader;
        BatchQueue queue(reader, reader.iEvents, 2 * kChunk);
        reader.iQueue = &queue;
        const QByteArray half(int(kChunk) / 2 - 100, 'x');
        for (int i = 0; i < 4; ++i)
            queue.Put(half, {}, false);
        queue.Put(half + "one\ntwo\n", {}, false);
        queue.Put("three\n", {}, false); // it would fit, but would leave a gap before it
        QCOMPARE(queue.TakeDropped(), qint64(0)); // not while there is something before
        QVERIFY(!queue.Rest());
        QCOMPARE(Take(queue), (QList<QByteArray>{half, half, half, half}));
        QVERIFY(!queue.Rest());
        QCOMPARE(queue.TakeDropped(), qint64(3));
        QCOMPARE(queue.TakeDropped(), qint64(0));
        queue.Put("four\n", {}, false);
        QCOMPARE(Take(queue), QList<QByteArray>{"four\n"});
        QVERIFY(queue.Rest());
    }

    void whatDoesNotFitAtAllIsDropped()
    {
        Reader reader;
        BatchQueue queue(reader, reader.iEvents, kChunk);
        reader.iQueue = &queue;
        queue.Put(QByteArray(int(kChunk), '\n'), {}, false);
        QCOMPARE(Take(queue), QList<QByteArray>());
        QCOMPARE(queue.TakeDropped(), kChunk);
    }

    // What is in use counts, and what was used before does not.
    void roomComesBack()
    {
        Reader reader;
        BatchQueue queue(reader, reader.iEvents, 4 * kChunk);
        reader.iQueue = &queue;
        const QByteArray most(int(kChunk) - 200, 'x');
        const QList<QByteArray> three{most, most, most};
        for (int i = 0; i < 100; ++i) {
            for (const QByteArray& batch : three)
                queue.Put(batch, {}, false);
            queue.Put(QByteArray(int(kChunk) + i, 'y'), {}, false); // takes more than is left
            QCOMPARE(Take(queue), three);
            QCOMPARE(queue.TakeDropped(), qint64(0));
        }
    }

    void closedTakesNothing()
    {
        Reader reader;
        BatchQueue queue(reader, reader.iEvents, kPlenty);
        reader.iQueue = &queue;
        queue.Put("before", {}, false);
        queue.Close();
        queue.Put("after\n", {}, true);
        QCOMPARE(queue.Count(), quint64(1));
        QCOMPARE(queue.TakeDropped(), qint64(0));
        QCOMPARE(reader.Told(), QList<quint64>{1});
    }

#if defined(Q_OS_LINUX) && !defined(NEROLT_SANITIZED) // the memory of sanitizers is not ours
    void memoryOfABurstGoesBack()
    {
        Reader reader;
        BatchQueue queue(reader, reader.iEvents, kPlenty);
        reader.iQueue = &queue;
        const QByteArray batch(5000, 'x');
        queue.Put(batch, {}, false);
        const qint64 before = ResidentBytes();
        for (int i = 0; i < 10000; ++i)
            queue.Put(batch, {}, false);
        const qint64 between = ResidentBytes();
        QVERIFY2(between - before > 49000000, QByteArray::number(between - before));
        const quint64 until = queue.Count();
        for (LogBatches next = queue.Next(until); next.iCount > 0; next = queue.Next(until))
            queue.Done(next.iCount);
        const qint64 atHand = ResidentBytes() - before; // batches may go on coming
        QVERIFY2(atHand < 9 << 20, QByteArray::number(atHand));
        for (int i = 0; i < 16; ++i)
            queue.Shrink();
        const qint64 half = ResidentBytes() - before;
        QVERIFY2(half < 5 << 20, QByteArray::number(half));
        QVERIFY(queue.Rest());
        const qint64 kept = ResidentBytes() - before;
        QVERIFY2(kept < 1 << 20, QByteArray::number(kept));
    }
#endif

    void manyThreadsPut()
    {
        constexpr int threads = 4;
        constexpr int each = 20000;
        Reader reader;
        BatchQueue queue(reader, reader.iEvents, kPlenty);
        reader.iQueue = &queue;
        std::atomic<int> left{threads};
        std::vector<std::thread> writers;
        for (int thread = 0; thread < threads; ++thread) {
            writers.emplace_back([&queue, &left, thread] {
                for (int i = 0; i < each; ++i)
                    queue.Put(QByteArray::number(i) + char('a' + thread), {}, i % 100 == 0);
                --left;
            });
        }
        std::array<int, threads> next = {};
        bool inOrder = true;
        for (bool last = false; !last;) {
            last = left == 0;
            for (const QByteArray& batch : Take(queue))
                inOrder = inOrder && batch.chopped(1).toInt() == next[size_t(batch.back() - 'a')]++;
            queue.Rest();
        }
        for (std::thread& writer : writers)
            writer.join();
        QVERIFY(inOrder);
        QCOMPARE(next, (std::array<int, threads>{each, each, each, each}));
    }
};

NEROLT_TEST_MAIN(tst_BatchQueue)

#include "tst_BatchQueue.moc"
