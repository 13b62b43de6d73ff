#include "logging/BatchPool.h"
#include "support/TestMain.h"

#include <QtCore/QByteArray>
#include <QtCore/QList>
#include <QtTest/QtTest>

#include <atomic>
#include <thread>
#include <vector>

namespace {

void Drain()
{
    QList<QByteArray> taken;
    for (int i = 0; i < 40; ++i)
        taken += BatchPool::Take();
}

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
