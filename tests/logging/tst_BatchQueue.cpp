#include "logging/BatchQueue.h"
#include "logging/WriterDispatcher.h"
#include "support/TestMain.h"

#include <QtCore/QByteArray>
#include <QtCore/QCoreApplication>
#include <QtCore/QDeadlineTimer>
#include <QtCore/QList>
#include <QtTest/QtTest>

#include <array>
#include <atomic>
#include <future>
#include <thread>

namespace {

constexpr qint64 kChunk = 256 << 10;
constexpr int kTogether = 64 << 10;
constexpr quint64 kAll = ~quint64(0);

// Notes what it is told.
class Reader : public QObject
{
public:
    explicit Reader(qint64 capacity = 1 << 30)
        : iQueue(*this, iEvents, capacity)
    {
    }

    // Whether its thread was woken since.
    bool IsWoken() { return iEvents.processEvents({}); }

    QList<quint64> Told()
    {
        QCoreApplication::sendPostedEvents(this);
        return std::exchange(iTold, {});
    }

    bool event(QEvent* event) override
    {
        if (event->type() != BatchQueue::Arrival::ItsType())
            return QObject::event(event);
        iTold += iQueue.Until(static_cast<BatchQueue::Arrival&>(*event));
        return true;
    }

    WriterDispatcher iEvents;
    BatchQueue iQueue;

private:
    QList<quint64> iTold;
};

// Of lines that are in no crash file.
void Put(BatchQueue& queue, const QByteArray& batch)
{
    queue.Put(batch, {}, false);
}

QList<QByteArray> Split(const LogBatches& batches)
{
    QList<QByteArray> split;
    const char* at = batches.iBytes;
    for (int i = 0; i < batches.iCount; ++i) {
        if (reinterpret_cast<quintptr>(&batches.At(i)) % alignof(LogBatches::Batch) != 0)
            return {"not aligned"};
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

} // namespace

class tst_BatchQueue : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void batchesComeOnceInOrderAndTogether()
    {
        Reader reader;
        BatchQueue& queue = reader.iQueue;
        Put(queue, "first\n");
        Put(queue, "");
        Put(queue, "second\n");
        QCOMPARE(TakeGroups(queue), (QList<QList<QByteArray>>{{"first\n", "", "second\n"}}));
        QCOMPARE(TakeGroups(queue), QList<QList<QByteArray>>());
        Put(queue, "third\n");
        QCOMPARE(TakeGroups(queue), (QList<QList<QByteArray>>{{"third\n"}}));
        QCOMPARE(queue.Count(), quint64(4));
    }

    void upToTheNumberAndUntilItIsDone()
    {
        Reader reader;
        BatchQueue& queue = reader.iQueue;
        QByteArray batch("a"); // is copied
        Put(queue, batch);
        batch[0] = 'X';
        for (const char* more : {"b", "c"})
            Put(queue, more);
        QCOMPARE(Split(queue.Next(kAll - 1)), (QList<QByteArray>{"a", "b", "c"}));
        QCOMPARE(Split(queue.Next(2)), (QList<QByteArray>{"a", "b"}));
        queue.Done(1);
        QCOMPARE(Split(queue.Next(2)), QList<QByteArray>{"b"});
        queue.Done(1);
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
    }
    void togetherIsBounded()
    {
        QFETCH(QList<int>, sizes);
        Reader reader;
        BatchQueue& queue = reader.iQueue;
        for (const int size : sizes)
            Put(queue, QByteArray(size, 'x'));
        QList<int> found;
        for (const QList<QByteArray>& group : TakeGroups(queue))
            found += int(group.size());
        QTEST(found, "groups");
    }

    // Across chunks, one of them larger than all others, with something left of them or not.
    void anyOrderOfSizes()
    {
        const QList<int> sizes{5000, int(kChunk), 1, int(kChunk) * 3 + 1, int(kChunk) / 2, int(kChunk) / 2, 0, 70000};
        for (int before = 0; before < sizes.size(); ++before) {
            Reader reader;
            BatchQueue& queue = reader.iQueue;
            QList<QByteArray> expected;
            QList<QByteArray> found;
            for (int i = 0; i < 3 * sizes.size(); ++i) {
                expected += QByteArray(sizes.at((i + before) % sizes.size()), char('a' + i));
                Put(queue, expected.last());
                if (i == before)
                    found += Take(queue);
            }
            found += Take(queue);
            QVERIFY(found == expected);
        }
    }

    void threadIsWokenWhenTheReaderRestsOrAtOnce()
    {
        Reader reader;
        BatchQueue& queue = reader.iQueue;
        QVERIFY(!reader.IsWoken());
        Put(queue, "a");
        QVERIFY(reader.IsWoken());
        Put(queue, "b");
        QVERIFY(!reader.IsWoken());
        queue.Put("c", {}, true);
        QVERIFY(reader.IsWoken());
        QVERIFY(!queue.Rest()); // there is something
        Take(queue);
        Put(queue, "d");
        QVERIFY(!reader.IsWoken());
        Take(queue);
        QVERIFY(queue.Rest());
        Put(queue, "e");
        QVERIFY(reader.IsWoken());
    }

    // One event covers what comes before the reader has asked and before anything else is posted.
    void eventsCoverWhatCameBeforeTheNext()
    {
        Reader reader;
        BatchQueue& queue = reader.iQueue;
        const auto posted = [&reader] { reader.iEvents.wakeUp(); }; // the events here are those of another dispatcher
        Put(queue, "a");
        QCOMPARE(reader.Told(), QList<quint64>{1}); // it looks from now on
        Put(queue, "b");
        QCOMPARE(reader.Told(), QList<quint64>{2});
        Put(queue, "c");
        posted();
        Put(queue, "d");
        QCOMPARE(reader.Told(), QList<quint64>{4});
        Put(queue, "e");
        posted();
        posted(); // somebody else's
        Put(queue, "f");
        QCOMPARE(reader.Told(), (QList<quint64>{5, 6}));
    }

    void tooMuchIsDroppedAndCounted()
    {
        Reader reader(2 * kChunk);
        BatchQueue& queue = reader.iQueue;
        const QByteArray half(int(kChunk) / 2 - 100, 'x');
        for (int i = 0; i < 4; ++i)
            Put(queue, half);
        Put(queue, half + "one\ntwo\n");
        Put(queue, "three\n"); // it would fit, but would leave a gap before it
        QCOMPARE(queue.TakeDropped(), qint64(0)); // not while there is something before
        QVERIFY(!queue.Rest());
        QCOMPARE(Take(queue), (QList<QByteArray>{half, half, half, half}));
        QVERIFY(!queue.Rest());
        QCOMPARE(queue.TakeDropped(), qint64(3));
        QCOMPARE(queue.TakeDropped(), qint64(0));
        Put(queue, QByteArray(int(kChunk) * 2, '\n')); // would never fit
        QCOMPARE(queue.TakeDropped(), 2 * kChunk);
        Put(queue, "four\n");
        QCOMPARE(Take(queue), QList<QByteArray>{"four\n"});
        QVERIFY(queue.Rest());
    }

    // What is in use counts, and what was used before does not.
    void roomComesBack()
    {
        Reader reader(4 * kChunk);
        BatchQueue& queue = reader.iQueue;
        const QByteArray most(int(kChunk) - 200, 'x');
        const QList<QByteArray> three{most, most, most};
        for (int i = 0; i < 100; ++i) {
            for (const QByteArray& batch : three)
                Put(queue, batch);
            Put(queue, QByteArray(int(kChunk) + i, 'y')); // takes more than is left
            QCOMPARE(Take(queue), three);
            QCOMPARE(queue.TakeDropped(), qint64(0));
        }
    }

    void closedTakesNothing()
    {
        Reader reader;
        BatchQueue& queue = reader.iQueue;
        Put(queue, "before");
        queue.Close();
        queue.Put("after\n", {}, true);
        QCOMPARE(queue.Count(), quint64(1));
        QCOMPARE(queue.TakeDropped(), qint64(0));
        QCOMPARE(reader.Told(), QList<quint64>{1});
    }

    // As the framework does when there is no application object: nobody adds to an event that is gone.
    void anEventThatIsDroppedUnseenIsPostedAnew()
    {
        Reader reader;
        Put(reader.iQueue, "one\n");
        reader.iEvents.wakeUp(); // which the post does where the reader has this dispatcher
        QCoreApplication::removePostedEvents(&reader);
        Put(reader.iQueue, "two\n");
        QCOMPARE(reader.Told(), QList<quint64>{2});
    }

    void nobodyWaitsForWhatIsNotTakenAnyMore()
    {
        Reader reader;
        BatchQueue& queue = reader.iQueue;
        Put(queue, "before");
        const auto isDone = [&queue] { return queue.Progress()->WaitFor(1, QDeadlineTimer(QDeadlineTimer::Forever)); };
        std::future<bool> before = std::async(std::launch::async, isDone);
        queue.Close();
        QVERIFY(!before.get());
        QVERIFY(!isDone());
    }

    void manyThreadsPut()
    {
        constexpr int threads = 4;
        constexpr int each = 20000;
        Reader reader;
        BatchQueue& queue = reader.iQueue;
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
