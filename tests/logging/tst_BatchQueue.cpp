#include "logging/BatchQueue.h"
#include "logging/WriterDispatcher.h"
#include "support/TestMain.h"

#include <QtCore/QAbstractEventDispatcher>
#include <QtCore/QByteArray>
#include <QtCore/QList>
#include <QtTest/QtTest>

#include <array>
#include <atomic>
#include <memory>
#include <thread>
#include <vector>

namespace {

constexpr qint64 kPlenty = 1 << 30;
constexpr qint64 kBatch = 1000;
constexpr qint64 kThree = 3 * kBatch + 500; // what it costs to hold them included

QByteArray BatchOf(char letter)
{
    QByteArray batch(kBatch, letter);
    batch[int(kBatch / 2)] = '\n';
    batch[int(kBatch - 1)] = '\n';
    return batch;
}

QList<QByteArray> Deliver(BatchQueue& queue)
{
    QList<QByteArray> batches;
    queue.Deliver([&batches](const QByteArray& batch) { batches += batch; });
    return batches;
}

} // namespace

class tst_BatchQueue : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void emptyDeliversNothing()
    {
        WriterDispatcher reader;
        BatchQueue queue(reader, kPlenty);
        QCOMPARE(Deliver(queue), QList<QByteArray>());
        QVERIFY(!reader.hasPendingEvents());
    }

    void batchesComeOnceAndInOrder()
    {
        WriterDispatcher reader;
        BatchQueue queue(reader, kPlenty);
        queue.Put("first");
        queue.Put("second");
        QCOMPARE(Deliver(queue), (QList<QByteArray>{"first", "second"}));
        QCOMPARE(Deliver(queue), QList<QByteArray>());
        queue.Put("third");
        QCOMPARE(Deliver(queue), QList<QByteArray>{"third"});
        QCOMPARE(Deliver(queue), QList<QByteArray>());
    }

    void emptyBatchIsABatch()
    {
        WriterDispatcher reader;
        BatchQueue queue(reader, kPlenty);
        queue.Put("");
        QCOMPARE(Deliver(queue), QList<QByteArray>{""});
    }

    // More than there is room for at first.
    void backlogKeepsItsOrder()
    {
        WriterDispatcher reader;
        BatchQueue queue(reader, kPlenty);
        QList<QByteArray> expected;
        for (int i = 0; i < 1000; ++i) {
            expected += QByteArray::number(i);
            queue.Put(expected.last());
        }
        QCOMPARE(Deliver(queue), expected);
    }

    void eachBatchWakesTheReader()
    {
        WriterDispatcher reader;
        BatchQueue queue(reader, kPlenty);
        for (int i = 0; i < 2; ++i) {
            queue.Put("batch");
            QVERIFY(reader.hasPendingEvents());
            reader.processEvents(QEventLoop::AllEvents);
            QVERIFY(!reader.hasPendingEvents());
        }
    }

    // It can be used again as soon as it is written.
    void batchIsLetGoOfBeforeTheNext()
    {
        WriterDispatcher reader;
        BatchQueue queue(reader, kPlenty);
        QByteArray first("first");
        queue.Put(first);
        queue.Put("second");
        QVERIFY(!first.isDetached());
        queue.Deliver([&first](const QByteArray& batch) { QCOMPARE(first.isDetached(), batch == "second"); });
        QVERIFY(first.isDetached());
    }

    void batchThatIsPutMeanwhileWaits()
    {
        WriterDispatcher reader;
        BatchQueue queue(reader, kPlenty);
        queue.Put("first");
        QList<QByteArray> batches;
        queue.Deliver([&](const QByteArray& batch) {
            queue.Put("again");
            batches += batch;
        });
        QCOMPARE(batches, QList<QByteArray>{"first"});
        QCOMPARE(Deliver(queue), QList<QByteArray>{"again"});
    }

    void closedQueueDropsWhatItHasAndWhatComes()
    {
        auto reader = std::make_unique<WriterDispatcher>();
        BatchQueue queue(*reader, kPlenty);
        queue.Put("before");
        queue.Close();
        reader->processEvents(QEventLoop::AllEvents);
        queue.Put("after");
        QVERIFY(!reader->hasPendingEvents());
        reader.reset();
        queue.Put("later");
        QCOMPARE(Deliver(queue), QList<QByteArray>());
        queue.Close();
    }

    void whatDoesNotFitIsDroppedAndItsLinesAreCounted()
    {
        WriterDispatcher reader;
        BatchQueue queue(reader, kThree);
        QList<QByteArray> batches;
        const auto take = [&batches](const QByteArray& batch) { batches += batch; };
        for (const char letter : {'a', 'b', 'c'})
            queue.Put(BatchOf(letter));
        QCOMPARE(queue.Deliver(take), qint64(0));
        for (const char letter : {'d', 'e', 'f', 'g', 'h'})
            queue.Put(BatchOf(letter));
        QCOMPARE(queue.Deliver(take), qint64(4));
        queue.Put(BatchOf('i'));
        QCOMPARE(queue.Deliver(take), qint64(0));
        QList<QByteArray> expected;
        for (const char letter : {'a', 'b', 'c', 'd', 'e', 'f', 'i'})
            expected += BatchOf(letter);
        QCOMPARE(batches, expected);
    }

    void roomIsWhatABatchOccupies()
    {
        WriterDispatcher reader;
        BatchQueue queue(reader, kThree);
        for (int i = 0; i < 10; ++i) {
            QByteArray small;
            small.reserve(kBatch);
            small += "small\n";
            queue.Put(small);
        }
        int written = 0;
        QCOMPARE(queue.Deliver([&](const QByteArray&) { ++written; }), qint64(7));
        QCOMPARE(written, 3);
        QCOMPARE(queue.Deliver([](const QByteArray&) {}), qint64(0));
        for (int i = 0; i < 3; ++i)
            queue.Put(BatchOf('a'));
        QCOMPARE(Deliver(queue).size(), 3); // all the room is there again
    }

    // Or the lines would not be in their order, and nobody could say where some are missing.
    void nothingComesBehindWhatWasDroppedUntilTheReaderHasTakenTheRest()
    {
        WriterDispatcher reader;
        BatchQueue queue(reader, kThree);
        for (const char letter : {'a', 'b', 'c', 'd'})
            queue.Put(BatchOf(letter));
        queue.Put("small\n");
        QCOMPARE(queue.Deliver([](const QByteArray&) {}), qint64(3));
    }

    void whatIsBeingWrittenStillTakesRoom()
    {
        WriterDispatcher reader;
        BatchQueue queue(reader, kThree);
        for (const char letter : {'a', 'b', 'c'})
            queue.Put(BatchOf(letter));
        int written = 0;
        queue.Deliver([&](const QByteArray&) {
            queue.Put(BatchOf('x'));
            ++written;
        });
        QCOMPARE(written, 3);
        QCOMPARE(queue.Deliver([&](const QByteArray&) { ++written; }), qint64(6));
        QCOMPARE(written, 3);
    }

    // A reader that has done with what it had would never tell of it otherwise.
    void whatIsDroppedWakesTheReader()
    {
        WriterDispatcher reader;
        BatchQueue queue(reader, 0);
        queue.Put(BatchOf('a'));
        QVERIFY(reader.hasPendingEvents());
    }

    void emptyBatchesTakeRoom()
    {
        WriterDispatcher reader;
        BatchQueue queue(reader, kThree);
        for (int i = 0; i < 1000; ++i)
            queue.Put("");
        QVERIFY(Deliver(queue).size() < 100);
    }

    void manyPutAtOnce()
    {
        constexpr int kThreads = 4;
        constexpr int kBatches = 2000;
        WriterDispatcher reader;
        BatchQueue queue(reader, kPlenty);
        std::atomic<int> busy{kThreads};
        std::vector<std::thread> threads;
        for (int thread = 0; thread < kThreads; ++thread) {
            threads.emplace_back([&queue, &busy, thread] {
                for (int i = 0; i < kBatches; ++i)
                    queue.Put(QByteArray::number(thread) + ' ' + QByteArray::number(i));
                --busy;
            });
        }
        QList<QByteArray> batches;
        while (busy > 0)
            batches += Deliver(queue);
        for (std::thread& thread : threads)
            thread.join();
        batches += Deliver(queue);

        QCOMPARE(batches.size(), kThreads * kBatches);
        std::array<int, kThreads> next = {};
        for (const QByteArray& batch : qAsConst(batches)) {
            const int thread = batch.left(1).toInt();
            QCOMPARE(batch.mid(2).toInt(), next[size_t(thread)]++);
        }
    }
};

NEROLT_TEST_MAIN(tst_BatchQueue)

#include "tst_BatchQueue.moc"
