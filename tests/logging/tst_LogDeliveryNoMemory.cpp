#include "support/LogText.h"
#include "support/PrivateAccess.h"
#include "support/ShortMemory.h"
#include "support/TestMain.h"

#include <NeroltOrvaneBase/LoggerAgent.h>
#include <NeroltOrvaneBase/RegisteredThread.h>

#include <QtCore/QAbstractEventDispatcher>
#include <QtCore/QFileInfo>
#include <QtCore/QSemaphore>
#include <QtTest/QtTest>

NEROLT_PRIVATE(LoggerAgent, iThread, RegisteredThread*)

namespace {

constexpr int kSize = 5001; // the thread is not woken for it while it looks

// A log whose thread does what it is told in between.
class Log
{
public:
    Log()
        : iAgent(0, nullptr)
    {
        iAgent.SetLoggerFileName(QStringLiteral("app.log"));
        iThere.moveToThread(iAgent.*LoggerAgent_iThread());
    }

    ~Log() { Stop(); }

    void Stop()
    {
        Leave();
        iAgent.StopLogging();
    }

    // Nothing is done on its thread from now on.
    void Leave()
    {
        if (iThere.thread())
            Do([this] { iThere.moveToThread(nullptr); });
    }

    Q_DISABLE_COPY(Log)

    // Stays in the buffer until the stop.
    void Say() { iAgent.DoLog(1, "F", "Debug", QStringLiteral("last")); }

    void Put()
    {
        Q_EMIT iAgent.logMessage(iBatch);
        ++iPut;
    }

    // False when it did not ask for memory.
    bool PutWithoutMemory()
    {
        return ShortMemory::Refuse(0, ShortMemory::kForGood, [this] { Put(); });
    }

    template <typename Call>
    void Do(Call call, Qt::ConnectionType type = Qt::BlockingQueuedConnection)
    {
        QMetaObject::invokeMethod(&iThere, call, type);
    }

    // Until the thread has done what came so far, and sleeps.
    void LetSleep()
    {
        QSemaphore sleeps;
        const auto connection = QObject::connect(
            iThere.thread()->eventDispatcher(), &QAbstractEventDispatcher::aboutToBlock, &iThere,
            [&sleeps] { sleeps.release(); }, Qt::DirectConnection);
        Do([] {});
        sleeps.acquire();
        Do([&connection] { QObject::disconnect(connection); });
    }

    int Missing() const { return iPut - int(QFileInfo(QStringLiteral("app.log")).size()) / kSize; }

private:
    const QByteArray iBatch = QByteArray(kSize - 1, 'x') + '\n';
    LoggerAgent iAgent;
    QObject iThere;
    int iPut = 0;
};

} // namespace

// Memory that lacks for telling of a batch delays it, but loses neither it nor the next ones.
class tst_LogDeliveryNoMemory : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init() { TestSupport::EnterFreshFolder(); }

    void batchThatTheRestingThreadIsNotToldOf()
    {
        Log log;
        log.LetSleep();
        QVERIFY(log.PutWithoutMemory());
        log.Put();
        QTRY_COMPARE(log.Missing(), 0);
    }

    void batchThatTheLookingThreadIsNotToldOf()
    {
        Log log;
        QSemaphore held;
        QSemaphore go;
        log.Put();
        log.Do(
            [&] {
                held.release();
                go.acquire();
            },
            Qt::QueuedConnection);
        held.acquire();
        const bool lacked = log.PutWithoutMemory();
        go.release();
        QVERIFY(lacked);
        QTRY_COMPARE(log.Missing(), 0);
    }

    void batchThatTheThreadIsNotToldOfComesBeforeTheLastLines()
    {
        Log log;
        log.LetSleep();
        log.Leave();
        QVERIFY(log.PutWithoutMemory());
        log.Say();
        log.Stop();
        const QList<QByteArray> lines = LogText::Lines(LogText::Read(QStringLiteral("app.log")));
        QCOMPARE(lines.size(), 2);
        QCOMPARE(lines.first().size(), kSize - 1);
        QCOMPARE(LogText::Body(lines.last()), QByteArray("|1|Debug|F|last"));
    }

    void threadThatGetsNoTimer()
    {
        Log log;
        log.LetSleep();
        ShortMemory::RefuseThread("RegisteredThrea", 0, ShortMemory::kForGood);
        log.Put();
        log.LetSleep();
        const bool lacked = ShortMemory::HasRefusedThread();
        ShortMemory::RefuseThread("", 0, 0);
        QVERIFY(lacked);
        const int lost = log.Missing();
        log.Put();
        QTRY_COMPARE(log.Missing(), lost);
    }
};

NEROLT_TEST_MAIN(tst_LogDeliveryNoMemory)

#include "tst_LogDeliveryNoMemory.moc"
