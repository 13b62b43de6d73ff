#include "logging/FairLock.h"
#include "support/TestMain.h"

#include <QtCore/QElapsedTimer>
#include <QtCore/QSemaphore>
#include <QtCore/QThread>
#include <QtTest/QtTest>

#include <atomic>
#include <sys/syscall.h>
#include <thread>
#include <unistd.h>
#include <vector>

namespace {

constexpr std::chrono::milliseconds kTimeout(1000);

void BeBusy(qint64 msecs)
{
    QElapsedTimer elapsed;
    elapsed.start();
    while (!elapsed.hasExpired(msecs)) { }
}

thread_local int tSleeps = 0;

} // namespace

extern "C" Q_DECL_EXPORT int nanosleep(const struct timespec* time, struct timespec* rest)
{
    ++tSleeps;
    return int(::syscall(SYS_nanosleep, time, rest));
}

class tst_FairLock : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void freeMutexIsTaken()
    {
        QMutex mutex;
        {
            const auto lock = FairLock::Within(mutex, kTimeout);
            QVERIFY(lock.owns_lock());
            QVERIFY(!mutex.tryLock());
        }
        QVERIFY(mutex.tryLock());
        mutex.unlock();
    }

    void recursiveMutexIsTakenAgain()
    {
        QMutex mutex(QMutex::Recursive);
        const auto outer = FairLock::Within(mutex, kTimeout);
        const auto inner = FairLock::Within(mutex, kTimeout);
        QVERIFY(outer.owns_lock() && inner.owns_lock());
    }

    void heldMutexIsGivenUpInTime()
    {
        QMutex mutex;
        const std::lock_guard<QMutex> holder(mutex);
        bool isOwned = true;
        qint64 waited = 0;
        std::thread([&] {
            QElapsedTimer elapsed;
            elapsed.start();
            isOwned = FairLock::Within(mutex, kTimeout).owns_lock();
            waited = elapsed.elapsed();
        }).join();
        QVERIFY(!isOwned);
        QVERIFY(waited >= 1000);
    }

    void releasedMutexIsTakenLate_data()
    {
        QTest::addColumn<unsigned long>("heldMsecs");
        QTest::newRow("while patient") << 10UL;
        QTest::newRow("after the patience") << 200UL;
    }
    void releasedMutexIsTakenLate()
    {
        QFETCH(unsigned long, heldMsecs);
        QMutex mutex;
        QSemaphore held;
        std::thread holder([&] {
            const std::lock_guard<QMutex> lock(mutex);
            held.release();
            QThread::msleep(heldMsecs);
        });
        held.acquire();
        const bool isOwned = FairLock::Within(mutex, kTimeout).owns_lock();
        holder.join();
        QVERIFY(isOwned);
    }

    // One that releases the mutex only to take it again gets it nearly always, if nobody stands back.
    void hogStandsBack()
    {
        QMutex mutex(QMutex::Recursive);
        std::atomic<bool> end{false};
        QSemaphore started;
        std::thread hog([&] {
            started.release();
            while (!end) {
                const auto lock = FairLock::Within(mutex, kTimeout);
                BeBusy(5);
            }
        });
        started.acquire();
        int taken = 0;
        for (int i = 0; i < 5; ++i)
            taken += FairLock::Within(mutex, kTimeout).owns_lock() ? 1 : 0;
        end = true;
        hog.join();
        QCOMPARE(taken, 5);
    }

    // Those who had waited for long are not there to be waited for. The last test, since here they are.
    void copyOfTheProcessStandsBackForNobody()
    {
        QMutex mutex;
        QMutex other;
        std::unique_lock<QMutex> held(mutex);
        std::thread waiting([&] { FairLock::Within(mutex, kTimeout); });
        const auto standsBack = [&other] {
            tSleeps = 0;
            FairLock::Within(other, kTimeout);
            return tSleeps > 0;
        };
        QTRY_VERIFY(standsBack());
        FairLock::BeginInCopy();
        QVERIFY(!standsBack());
        held.unlock();
        waiting.join();
    }
};

NEROLT_TEST_MAIN(tst_FairLock)

#include "tst_FairLock.moc"
