#include "support/ForgedClock.h"
#include "support/LogText.h"
#include "support/PrivateAccess.h"
#include "support/TestMain.h"

#include <NeroltOrvaneBase/IErrorReporter.h>
#include <NeroltOrvaneBase/LoggerAgent.h>
#include <NeroltOrvaneBase/LoggerWorker.h>
#include <NeroltOrvaneBase/RegisteredThread.h>

#include <QtCore/QAbstractEventDispatcher>
#include <QtCore/QElapsedTimer>
#include <QtCore/QFile>
#include <QtCore/QFileInfo>
#include <QtCore/QMetaMethod>
#include <QtCore/QPointer>
#include <QtCore/QSemaphore>
#include <QtCore/QTimerEvent>
#include <QtTest/QtTest>

#include <atomic>
#include <functional>
#include <new>
#include <thread>

NEROLT_PRIVATE(LoggerAgent, iMutex, QMutex)
NEROLT_PRIVATE(LoggerAgent, iLevel, std::atomic<int>)
NEROLT_PRIVATE(LoggerAgent, iFirstInt, int)
NEROLT_PRIVATE(LoggerAgent, iSecondInt, int)
NEROLT_PRIVATE(LoggerAgent, iExtraText, QString)
NEROLT_PRIVATE(LoggerAgent, iFirstHex, QString)
NEROLT_PRIVATE(LoggerAgent, iSecondHex, QString)
NEROLT_PRIVATE(LoggerAgent, iErrorReporter, IErrorReporter*)
NEROLT_PRIVATE(LoggerAgent, iThread, RegisteredThread*)
NEROLT_PRIVATE(LoggerAgent, iFileName, QString)
NEROLT_PRIVATE(LoggerAgent, iBuffer, QByteArray)
NEROLT_PRIVATE(LoggerAgent, iWorker, LoggerWorker*)
NEROLT_PRIVATE(LoggerAgent, iStackTrace, bool)
NEROLT_PRIVATE(LoggerAgent, iResettingLevel, bool)
NEROLT_PRIVATE(LoggerAgent, iTimerId, int)
NEROLT_PRIVATE(LoggerAgent, iLastLineSecs, std::atomic<qint64>)

using namespace LoggerDefs;

namespace {

constexpr int kAll = Information | LoggerDefs::Error | LoggerDefs::Warning | Trace | LoggerDefs::Exception | Debug;
const QByteArray kStamp = "2024-03-05 14:07:09.042";

QDateTime Now()
{
    return QDateTime(QDate(2024, 3, 5), QTime(14, 7, 9, 42));
}

QByteArray BufferOf(const LoggerAgent& agent)
{
    return agent.*LoggerAgent_iBuffer();
}

QList<QByteArray> BodiesIn(const QString& path)
{
    return LogText::Bodies(LogText::Read(path));
}

// Hears of an agent's batches on the spot.
class Batches
{
public:
    explicit Batches(LoggerAgent& agent)
    {
        QObject::connect(&agent, &LoggerAgent::logMessage, [this](const QByteArray& batch) { iBatches += batch; });
    }
    Q_DISABLE_COPY(Batches)

    QList<QByteArray> iBatches;
};

// Where events go. The thread sanitizer is told of those for classes of ours, not of those for the framework's own.
class PostedThere : public QObject
{
};

class Reporter final : public IErrorReporter
{
public:
    explicit Reporter(const LoggerAgent& agent)
        : iAgent(agent)
    {
    }
    Q_DISABLE_COPY(Reporter)

    void ReportError(const QString& errorCode, const QString& message) override
    {
        iCodes += errorCode;
        iMessages += message;
        iBuffers += BufferOf(iAgent);
    }

    QStringList iCodes;
    QStringList iMessages;
    QList<QByteArray> iBuffers;

private:
    const LoggerAgent& iAgent;
};

// Fills the buffer of a new agent up to exactly `size` bytes with one line.
void FillTo(LoggerAgent& agent, int size)
{
    const int frame = QByteArray("2024-03-05 14:07:09.042|1|Debug|F|\n").size();
    agent.DoLog(1, "F", "Debug", QString(size - frame, QLatin1Char('x')));
}

void Tick(LoggerAgent& agent)
{
    QTimerEvent event(agent.*LoggerAgent_iTimerId());
    QCoreApplication::sendEvent(&agent, &event);
}

QStringList gWarnings;

void NoteWarning(QtMsgType, const QMessageLogContext&, const QString& message)
{
    gWarnings += message;
}

// A logging thread that is kept busy just after it has been told to stop, beyond the life of the agent.
const TestSupport::Scenario threadThatDoesNotEnd("threadThatDoesNotEnd", [](const QStringList&) {
    auto* const agent = new LoggerAgent(kAll, nullptr);
    agent->SetLoggerFileName(QStringLiteral("app.log"));
    const QPointer<LoggerWorker> worker = agent->*LoggerAgent_iWorker();
    const QPointer<RegisteredThread> thread = agent->*LoggerAgent_iThread();
    QSemaphore busy;
    QSemaphore release;
    const auto beBusy = [&] {
        busy.release();
        release.acquire();
    };
    const auto keepBusy = QObject::connect(agent, &LoggerAgent::stopWorker, [&](const QByteArray&) {
        QMetaObject::invokeMethod(worker, beBusy, Qt::QueuedConnection);
        busy.acquire();
    });
    QElapsedTimer elapsed;
    elapsed.start();
    agent->SetLoggerFileName(QStringLiteral("next.log"));
    const bool waited = elapsed.elapsed() >= 10000;
    QObject::disconnect(keepBusy);
    agent->StopLogging();
    delete agent;
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    const bool stillThere = thread && thread->isRunning() && worker;
    release.release();
    const bool ended = QTest::qWaitFor([&] { return thread.isNull() && worker.isNull(); });
    return waited && stillThere && ended ? 0 : 1;
});

} // namespace

class tst_LoggerAgent : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init()
    {
        ForgedClock::Freeze(Now());
        QDir scratch(TestSupport::Scratch());
        for (const QString& file : scratch.entryList(QDir::Files))
            QVERIFY(scratch.remove(file));
    }
    void cleanup() { ForgedClock::Release(); }

    void defaults()
    {
        QObject parent;
        LoggerAgent* const agent = new LoggerAgent(5, &parent);
        QCOMPARE(agent->parent(), &parent);
        QCOMPARE(agent->Level(), 5);
        QCOMPARE(agent->*LoggerAgent_iFirstInt(), 0);
        QCOMPARE(agent->*LoggerAgent_iSecondInt(), 0);
        QCOMPARE(agent->*LoggerAgent_iExtraText(), QString());
        QCOMPARE(agent->*LoggerAgent_iFirstHex(), QString());
        QCOMPARE(agent->*LoggerAgent_iSecondHex(), QString());
        QVERIFY(!(agent->*LoggerAgent_iErrorReporter()));
        QVERIFY(!(agent->*LoggerAgent_iThread()));
        QCOMPARE(agent->FileName(), QString());
        QCOMPARE(agent->*LoggerAgent_iBuffer(), QByteArray());
        QVERIFY(!(agent->*LoggerAgent_iWorker()));
        QVERIFY(!agent->StackLoggingEnabled());
        QVERIFY(!(agent->*LoggerAgent_iResettingLevel()));
        QCOMPARE(agent->*LoggerAgent_iTimerId(), 0);
        QCOMPARE(agent->*LoggerAgent_iLastLineSecs(), qint64(0));
        QVERIFY((agent->*LoggerAgent_iMutex()).isRecursive());
    }

    void fieldsInTheirOrder()
    {
        const LoggerAgent agent(0, nullptr);
        const auto offset = [&agent](const auto& member) {
            return reinterpret_cast<const char*>(&member) - reinterpret_cast<const char*>(&agent);
        };
        const QList<qint64> offsets{
            offset(agent.*LoggerAgent_iMutex()),      offset(agent.*LoggerAgent_iLevel()),
            offset(agent.*LoggerAgent_iFirstInt()),   offset(agent.*LoggerAgent_iSecondInt()),
            offset(agent.*LoggerAgent_iExtraText()),  offset(agent.*LoggerAgent_iFirstHex()),
            offset(agent.*LoggerAgent_iSecondHex()),  offset(agent.*LoggerAgent_iErrorReporter()),
            offset(agent.*LoggerAgent_iThread()),     offset(agent.*LoggerAgent_iFileName()),
            offset(agent.*LoggerAgent_iBuffer()),     offset(agent.*LoggerAgent_iWorker()),
            offset(agent.*LoggerAgent_iStackTrace()), offset(agent.*LoggerAgent_iResettingLevel()),
            offset(agent.*LoggerAgent_iTimerId()),    offset(agent.*LoggerAgent_iLastLineSecs())};
        QCOMPARE(offsets.first(), qint64(sizeof(QObject)));
        QVERIFY(std::is_sorted(offsets.begin(), offsets.end()));
        QCOMPARE(qint64(sizeof(LoggerAgent)), offsets.last() + qint64(sizeof(qint64)));
    }

    void signalsInTheirOrderAndNoSlots()
    {
        const QMetaObject& meta = LoggerAgent::staticMetaObject;
        QCOMPARE(meta.className(), "LoggerAgent");
        QCOMPARE(meta.methodCount() - meta.methodOffset(), 2);
        QCOMPARE(meta.method(meta.methodOffset()).methodSignature(), QByteArray("logMessage(QByteArray)"));
        QCOMPARE(meta.method(meta.methodOffset() + 1).methodSignature(), QByteArray("stopWorker(QByteArray)"));
        QCOMPARE(meta.method(meta.methodOffset()).methodType(), QMetaMethod::Signal);
        QCOMPARE(meta.method(meta.methodOffset() + 1).methodType(), QMetaMethod::Signal);
        QCOMPARE(meta.propertyCount(), meta.propertyOffset());
    }

    void filter_data()
    {
        QTest::addColumn<int>("level");
        QTest::addColumn<QByteArray>("word");
        QTest::newRow("information") << int(Information) << QByteArray("Information");
        QTest::newRow("error") << int(LoggerDefs::Error) << QByteArray("Error");
        QTest::newRow("warning") << int(LoggerDefs::Warning) << QByteArray("Warning");
        QTest::newRow("trace") << int(Trace) << QByteArray("Trace");
        QTest::newRow("exception") << int(LoggerDefs::Exception) << QByteArray("Exception");
        QTest::newRow("debug") << int(Debug) << QByteArray("Debug");
        for (const int level : {0, 3, 18, 63, 64, 128, 255, 256, -1})
            QTest::addRow("no level: %d", level) << level << QByteArray();
    }
    void filter()
    {
        QFETCH(int, level);
        QFETCH(QByteArray, word);
        const QByteArray line = word.isEmpty() ? QByteArray() : kStamp + "|7|" + word + "|F|m\n";
        for (int mask = 0; mask < 256; ++mask) {
            LoggerAgent agent(mask, nullptr);
            Reporter reporter(agent);
            agent.SetErrorReporter(&reporter);
            agent.Log(LogValues(level), NoExtraInfo, 7, "F", QStringLiteral("m"));
            const bool passes = !word.isEmpty() && (level & mask) == level;
            QCOMPARE(BufferOf(agent), passes ? line : QByteArray());
            const bool isReported = passes && (level == LoggerDefs::Error || level == LoggerDefs::Exception);
            QCOMPARE(reporter.iCodes, isReported ? QStringList(QStringLiteral("7")) : QStringList());
        }
    }

    void loggingEnabledWantsEveryBit()
    {
        LoggerAgent agent(4, nullptr);
        QVERIFY(!agent.LoggingEnabled(LogValues(6)));
        QVERIFY(agent.LoggingEnabled(LoggerDefs::Warning));
        QVERIFY(agent.LoggingEnabled(LogValues(0)));
        agent.SetLevel(6);
        QCOMPARE(agent.Level(), 6);
        QVERIFY(agent.LoggingEnabled(LogValues(6)));
        QVERIFY(!agent.LoggingEnabled(LogValues(7)));
    }

    void codeOfAnError_data()
    {
        QTest::addColumn<int>("kind");
        QTest::addColumn<QString>("code");
        const auto row = [](const char* name, int kind, const char* code) {
            QTest::newRow(name) << kind << QString::fromLatin1(code);
        };
        row("no extra", 0, "7");
        row("second int in hexadecimal", 1, "7_ff");
        row("both ints", 2, "7_ff_-12");
        row("first int", 3, "7_-12");
        row("text", 4, "7_some %1 text");
        row("two unsigned ints", 5, "7_deadbeef_1f");
        row("above the table", 6, "7");
        row("far above the table", 1000, "7");
        row("below the table", -1, "7");
    }
    void codeOfAnError()
    {
        QFETCH(int, kind);
        QFETCH(QString, code);
        LoggerAgent agent(kAll, nullptr);
        Reporter reporter(agent);
        // Stored by one call each, rendered by the last, which supplies none.
        agent.Log(Debug, NoExtraInfo, 1, "F", QStringLiteral("m"), -12, 255);
        agent.Log(Debug, NoExtraInfo, 1, "F", QStringLiteral("m"), QStringLiteral("some %1 text"));
        agent.Log(Debug, NoExtraInfo, 1, 0xdeadbeefU, 0x1fU, "F", QStringLiteral("m"));
        agent.SetErrorReporter(&reporter);
        agent.Log(LoggerDefs::Error, ExtraErrorInfoType(kind), 7, "F", QStringLiteral("mess\nage %1"));
        QCOMPARE(reporter.iCodes, QStringList(code));
        QCOMPARE(reporter.iMessages, QStringList(QStringLiteral("mess\nage %1")));
        QCOMPARE(LogText::Bodies(BufferOf(agent)).last(), QByteArray("|7|Error|F|message %1"));
    }

    void codeOfAnException_data()
    {
        QTest::addColumn<int>("kind");
        QTest::addColumn<QString>("code");
        for (int kind = -1; kind < 8; ++kind)
            QTest::addRow("kind %d", kind) << kind << QString::fromLatin1(kind == 3 ? "7_-12" : "7");
    }
    void codeOfAnException()
    {
        QFETCH(int, kind);
        QFETCH(QString, code);
        LoggerAgent agent(kAll, nullptr);
        Reporter reporter(agent);
        agent.SetErrorReporter(&reporter);
        agent.Log(LoggerDefs::Exception, ExtraErrorInfoType(kind), 7, "F", QStringLiteral("m"), -12, 255);
        QCOMPARE(reporter.iCodes, QStringList(code));
        QCOMPARE(LogText::Bodies(BufferOf(agent)).last(), QByteArray("|7|Exception|F|m"));
    }

    void extrasBeforeAnyWereStored_data()
    {
        QTest::addColumn<int>("kind");
        QTest::addColumn<QString>("code");
        QTest::newRow("second int") << 1 << QStringLiteral("7_0");
        QTest::newRow("both ints") << 2 << QStringLiteral("7_0_0");
        QTest::newRow("first int") << 3 << QStringLiteral("7_0");
        QTest::newRow("text") << 4 << QStringLiteral("7_");
        QTest::newRow("unsigned ints") << 5 << QStringLiteral("7__");
    }
    void extrasBeforeAnyWereStored()
    {
        QFETCH(int, kind);
        QFETCH(QString, code);
        LoggerAgent agent(kAll, nullptr);
        Reporter reporter(agent);
        agent.SetErrorReporter(&reporter);
        agent.Log(LoggerDefs::Error, ExtraErrorInfoType(kind), 7, "F", QStringLiteral("m"));
        QCOMPARE(reporter.iCodes, QStringList(code));
    }

    void extrasOfAFilteredMessageAreStored()
    {
        LoggerAgent agent(0, nullptr);
        Reporter reporter(agent);
        agent.SetErrorReporter(&reporter);
        agent.Log(LoggerDefs::Error, FirstIntDec, 7, "F", QStringLiteral("m"), 1, 2);
        agent.Log(LoggerDefs::Error, ExtraText, 7, "F", QStringLiteral("m"), QStringLiteral("text"));
        agent.Log(LoggerDefs::Error, TwoUIntsHex, 7, 10U, 11U, "F", QStringLiteral("m"));
        agent.SetLevel(LoggerDefs::Error);
        for (const ExtraErrorInfoType kind : {SecondIntHex, BothIntsHexDec, ExtraText, TwoUIntsHex})
            agent.Log(LoggerDefs::Error, kind, 7, "F", QStringLiteral("m"));
        QCOMPARE(reporter.iCodes,
                 (QStringList{QStringLiteral("7_2"), QStringLiteral("7_2_1"), QStringLiteral("7_text"),
                              QStringLiteral("7_a_b")}));
    }

    void oneIntReplacesTheFirstOnly()
    {
        LoggerAgent agent(kAll, nullptr);
        Reporter reporter(agent);
        agent.SetErrorReporter(&reporter);
        agent.Log(LoggerDefs::Error, BothIntsHexDec, 7, "F", QStringLiteral("m"), 1, 2);
        agent.Log(LoggerDefs::Error, BothIntsHexDec, 7, "F", QStringLiteral("m"), 3);
        QCOMPARE(reporter.iCodes, (QStringList{QStringLiteral("7_2_1"), QStringLiteral("7_2_3")}));
    }

    void negativeIntInHexadecimalIsAsTheFrameworkHasIt()
    {
        LoggerAgent agent(kAll, nullptr);
        Reporter reporter(agent);
        agent.SetErrorReporter(&reporter);
        agent.Log(LoggerDefs::Error, SecondIntHex, 7, "F", QStringLiteral("m"), 0, -1);
        QCOMPARE(reporter.iCodes, QStringList(QStringLiteral("%1_%2").arg(7).arg(-1, 0, 16)));
        QCOMPARE(reporter.iCodes, QStringList(QStringLiteral("7_ffffffffffffffff")));
    }

    void largestCode()
    {
        LoggerAgent agent(kAll, nullptr);
        Reporter reporter(agent);
        agent.SetErrorReporter(&reporter);
        agent.Log(LoggerDefs::Error, NoExtraInfo, 4294967295U, "F", QStringLiteral("m"));
        QCOMPARE(reporter.iCodes, QStringList(QStringLiteral("4294967295")));
    }

    void lineComesBeforeTheReport()
    {
        LoggerAgent agent(kAll, nullptr);
        Reporter reporter(agent);
        agent.SetErrorReporter(&reporter);
        agent.Log(LoggerDefs::Error, NoExtraInfo, 7, "F", QStringLiteral("m"));
        QCOMPARE(reporter.iBuffers, QList<QByteArray>{kStamp + "|7|Error|F|m\n"});
        agent.SetErrorReporter(nullptr);
        agent.Log(LoggerDefs::Error, NoExtraInfo, 7, "F", QStringLiteral("m"));
        QCOMPARE(reporter.iCodes.size(), 1);
    }

    void doLogTakesAnyWordWhateverTheMask()
    {
        LoggerAgent agent(0, nullptr);
        agent.DoLog(4, "F", "Whatever", QStringLiteral("m"));
        agent.DoLog(4, nullptr, "Debug", QStringLiteral("m"));
        QCOMPARE(BufferOf(agent), kStamp + "|4|Whatever|F|m\n" + kStamp + "|4|Debug||m\n");
        QCOMPARE(agent.*LoggerAgent_iLastLineSecs(), Now().toSecsSinceEpoch());
    }

    void batchIsHandedOverByTheLineThatPasses5000Bytes()
    {
        LoggerAgent agent(kAll, nullptr);
        const Batches heard(agent);
        FillTo(agent, 5000);
        QVERIFY(heard.iBatches.isEmpty());
        QCOMPARE(BufferOf(agent).size(), 5000);
        const QByteArray before = BufferOf(agent);
        agent.DoLog(1, "F", "Debug", QString());
        QCOMPARE(heard.iBatches, QList<QByteArray>{before + kStamp + "|1|Debug|F|\n"});
        QCOMPARE(BufferOf(agent), QByteArray());

        FillTo(agent, 5001);
        QCOMPARE(heard.iBatches.size(), 2);
        QCOMPARE(heard.iBatches.last().size(), 5001);
        QCOMPARE(BufferOf(agent), QByteArray());
    }

    void sizeCountsBytesNotCharacters()
    {
        LoggerAgent agent(kAll, nullptr);
        const Batches heard(agent);
        agent.DoLog(1, "F", "Debug", QString(1700, QChar(0x20ac)));
        QCOMPARE(heard.iBatches.size(), 1);
    }

    void hugeLineIsOneBatch()
    {
        LoggerAgent agent(kAll, nullptr);
        const Batches heard(agent);
        agent.DoLog(1, "F", "Debug", QString(3000000, QLatin1Char('x')));
        QCOMPARE(heard.iBatches.size(), 1);
        QCOMPARE(heard.iBatches.first().size(), 3000000 + kStamp.size() + 12);
    }

    void batchThatIsHandedOverStaysAsItIs()
    {
        LoggerAgent agent(kAll, nullptr);
        const Batches heard(agent);
        agent.DoLog(1, "F", "Debug", QStringLiteral("one"));
        agent.SendBufferToThread();
        agent.DoLog(1, "F", "Debug", QStringLiteral("two"));
        QCOMPARE(heard.iBatches, QList<QByteArray>{kStamp + "|1|Debug|F|one\n"});
    }

    void sendOfAnEmptyBuffer()
    {
        LoggerAgent agent(kAll, nullptr);
        const Batches heard(agent);
        agent.SendBufferToThread();
        QCOMPARE(heard.iBatches, QList<QByteArray>{QByteArray()});
    }

    void busyBufferDropsTheLineAfterASecond()
    {
        LoggerAgent agent(kAll, nullptr);
        QSemaphore held;
        QSemaphore release;
        std::thread holder([&] {
            QMutexLocker lock(&(agent.*LoggerAgent_iMutex()));
            held.release();
            release.acquire();
        });
        held.acquire();
        QElapsedTimer elapsed;
        elapsed.start();
        agent.Log(Information, NoExtraInfo, 1, "F", QStringLiteral("lost"));
        const qint64 waited = elapsed.elapsed();
        release.release();
        holder.join();
        QVERIFY(waited >= 1000);
        agent.Log(Information, NoExtraInfo, 1, "F", QStringLiteral("kept"));
        QCOMPARE(BufferOf(agent), kStamp + "|1|Information|F|kept\n");
    }

    void busyBufferIsWaitedFor()
    {
        LoggerAgent agent(kAll, nullptr);
        QSemaphore held;
        std::thread holder([&] {
            QMutexLocker lock(&(agent.*LoggerAgent_iMutex()));
            held.release();
            QThread::msleep(100);
        });
        held.acquire();
        agent.Log(Information, NoExtraInfo, 1, "F", QStringLiteral("kept"));
        holder.join();
        QCOMPARE(BufferOf(agent), kStamp + "|1|Information|F|kept\n");
    }

    void timerOfALogThatStartsBeforeItsThreadHasEvents()
    {
        int before = -1;
        int after = -1;
        std::thread([&] {
            LoggerAgent agent(Information, nullptr);
            agent.SetLoggerFileName(QStringLiteral("app.log"));
            before = agent.*LoggerAgent_iTimerId();
            QEventLoop loop;
            loop.processEvents();
            after = agent.*LoggerAgent_iTimerId();
            agent.StopLogging();
        }).join();
        QCOMPARE(before, 0);
        QVERIFY(after > 0);
    }

    void idle_data()
    {
        QTest::addColumn<qint64>("silence");
        QTest::addColumn<bool>("handsOver");
        QTest::newRow("no time") << qint64(0) << false;
        QTest::newRow("30 seconds") << qint64(30000) << false;
        QTest::newRow("just before the 31st second is full") << qint64(30957) << false;
        QTest::newRow("31 seconds by the clock's seconds") << qint64(30958) << true;
        QTest::newRow("an hour") << qint64(3600000) << true;
        QTest::newRow("clock set back") << qint64(-3600000) << true;
    }
    void idle()
    {
        QFETCH(qint64, silence);
        QFETCH(bool, handsOver);
        LoggerAgent agent(Information, nullptr);
        agent.SetLoggerFileName(QStringLiteral("app.log"));
        const Batches heard(agent);
        agent.Log(Information, NoExtraInfo, 1, "F", QStringLiteral("m"));
        ForgedClock::Advance(silence);
        Tick(agent);
        QCOMPARE(heard.iBatches.size(), int(handsOver));
        Tick(agent);
        QCOMPARE(heard.iBatches.size(), int(handsOver));
        agent.StopLogging();
        QCOMPARE(BodiesIn(QStringLiteral("app.log")), QList<QByteArray>{"|1|Information|F|m"});
    }

    void eachLineBeginsTheSilenceAnew()
    {
        LoggerAgent agent(Information, nullptr);
        agent.SetLoggerFileName(QStringLiteral("app.log"));
        const Batches heard(agent);
        for (int i = 0; i < 3; ++i) {
            agent.Log(Information, NoExtraInfo, 1, "F", QStringLiteral("m"));
            ForgedClock::Advance(30000);
            Tick(agent);
        }
        QVERIFY(heard.iBatches.isEmpty());
        ForgedClock::Advance(1000);
        Tick(agent);
        QCOMPARE(heard.iBatches.size(), 1);
        agent.StopLogging();
    }

    void tickWhileStoppedLosesNothing()
    {
        LoggerAgent agent(Information, nullptr);
        const Batches heard(agent);
        agent.Log(Information, NoExtraInfo, 1, "F", QStringLiteral("m"));
        ForgedClock::Advance(60000);
        Tick(agent);
        QVERIFY(heard.iBatches.isEmpty());
        QVERIFY(!BufferOf(agent).isEmpty());
    }

    void timerRunsWhileTheThreadDoes()
    {
        LoggerAgent agent(0, nullptr);
        const auto timers = [&agent] { return QAbstractEventDispatcher::instance()->registeredTimers(&agent); };
        QVERIFY(timers().isEmpty());
        agent.StartThread();
        QCOMPARE(timers().size(), 1);
        QCOMPARE(timers().first().interval, 5000);
        QCOMPARE(timers().first().timerType, Qt::CoarseTimer);
        QCOMPARE(timers().first().timerId, agent.*LoggerAgent_iTimerId());
        agent.StopLogging();
        QVERIFY(timers().isEmpty());
        QCOMPARE(agent.*LoggerAgent_iTimerId(), 0);
    }

    void threadAndWorker()
    {
        LoggerAgent agent(0, nullptr);
        agent.SetLoggerFileName(QStringLiteral("app.log"));
        const QPointer<RegisteredThread> thread = agent.*LoggerAgent_iThread();
        const QPointer<LoggerWorker> worker = agent.*LoggerAgent_iWorker();
        QVERIFY(thread && worker);
        QCOMPARE(thread->Name(), QStringLiteral("logging thread"));
        QCOMPARE(thread->parent(), &agent);
        QVERIFY(thread->isRunning());
        QCOMPARE(thread->priority(), QThread::InheritPriority);
        QCOMPARE(worker->thread(), thread.data());
        QVERIFY(!worker->parent());
        agent.StartThread(); // runs already
        QCOMPARE(agent.*LoggerAgent_iThread(), thread.data());

        agent.StopLogging();
        QVERIFY(!(agent.*LoggerAgent_iThread()) && !(agent.*LoggerAgent_iWorker()));
        QVERIFY(worker.isNull());
        QVERIFY(thread && thread->isFinished());
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
        QVERIFY(thread.isNull());
    }

    void nothingOfAStoppedWorkerStaysConnected()
    {
        struct Open : LoggerAgent
        {
            using LoggerAgent::receivers;
        };
        LoggerAgent agent(0, nullptr);
        const auto receivers = [&agent](const char* signal) { return (agent.*&Open::receivers)(signal); };
        for (int i = 0; i < 2; ++i) {
            agent.SetLoggerFileName(QStringLiteral("app.log"));
            QCOMPARE(receivers(SIGNAL(logMessage(QByteArray))), 1);
            QVERIFY(receivers(SIGNAL(stopWorker(QByteArray))) > 0);
        }
        agent.StopLogging();
        QCOMPARE(receivers(SIGNAL(logMessage(QByteArray))), 0);
        QCOMPARE(receivers(SIGNAL(stopWorker(QByteArray))), 0);
    }

    // Whether the thread was at rest or looked for batches anyway, and whatever the size of these.
    void batchesKeepTheirOrderAmongPostedEvents_data()
    {
        QTest::addColumn<bool>("looks");
        QTest::addColumn<int>("size");
        QTest::newRow("at rest") << false << 5001;
        QTest::newRow("at rest, at once") << false << 10;
        QTest::newRow("looking") << true << 5001;
        QTest::newRow("looking, at once") << true << 10;
    }
    void batchesKeepTheirOrderAmongPostedEvents()
    {
        QFETCH(bool, looks);
        QFETCH(int, size);
        const QString path = QStringLiteral("app.log");
        LoggerAgent agent(0, nullptr);
        agent.SetLoggerFileName(path);
        PostedThere there;
        there.moveToThread(agent.*LoggerAgent_iThread());
        const QByteArray batch = QByteArray(size - 1, 'x') + '\n';
        const auto put = [&] { Q_EMIT agent.logMessage(batch); };
        if (looks)
            put();
        const qint64 before = looks ? size : 0;
        QTRY_COMPARE(QFileInfo(path).size(), before);
        QSemaphore held;
        QSemaphore go;
        QVector<qint64> seen;
        const auto post = [&](const std::function<void()>& call) { QMetaObject::invokeMethod(&there, call); };
        const auto look = [&] { seen += QFileInfo(path).size() - before; };
        post([&] {
            held.release();
            go.acquire();
        });
        held.acquire();
        post(look);
        put();
        put();
        post(look);
        post(look);
        put();
        post(look);
        put();
        post([&] { there.moveToThread(nullptr); });
        go.release();
        agent.StopLogging();
        QCOMPARE(seen, (QVector<qint64>{0, 2 * size, 2 * size, 3 * size}));
        QCOMPARE(QFileInfo(path).size(), before + 4 * size);
    }

    // They waited to be written together, but the file is rotated between them.
    void batchesBehindARotationAreInTheNextFile()
    {
        constexpr qint64 kMaxBytes = 104857600;
        const QString path = QStringLiteral("app.log");
        const QByteArray batch = QByteArray(5000, 'x') + '\n';
        QFile file(path);
        QVERIFY(file.open(QIODevice::WriteOnly) && file.resize(kMaxBytes + 1 - 2 * batch.size()));
        file.close();
        LoggerAgent agent(0, nullptr);
        agent.SetLoggerFileName(path);
        PostedThere there;
        there.moveToThread(agent.*LoggerAgent_iThread());
        QSemaphore go;
        QMetaObject::invokeMethod(&there, [&] {
            go.acquire();
            there.moveToThread(nullptr);
        });
        for (int i = 0; i < 4; ++i) // the first one wakes the thread, and comes by itself
            Q_EMIT agent.logMessage(batch);
        go.release();
        agent.StopLogging();
        const QString rotated = QStringLiteral("app-2024-03-05_14-07-09.log");
        QCOMPARE(QFileInfo(rotated).size(), kMaxBytes + 1);
        QCOMPARE(LogText::Read(path), kStamp + "continued from " + rotated.toUtf8() + '\n' + batch + batch);
    }

    void batchesAreLookedForAgainAfterARest()
    {
        const QString path = QStringLiteral("app.log");
        LoggerAgent agent(0, nullptr);
        agent.SetLoggerFileName(path);
        const QByteArray batch = QByteArray(5000, 'x') + '\n';
        qint64 size = 0;
        for (int burst = 0; burst < 2; ++burst) {
            for (int i = 0; i < 5; ++i) {
                Q_EMIT agent.logMessage(batch);
                size += batch.size();
                QThread::msleep(3); // it sleeps between two looks
            }
            QTRY_COMPARE(QFileInfo(path).size(), size);
            QThread::msleep(100); // it rests by then
        }
        agent.StopLogging();
    }

    // Its memory stays in the caches of who logs.
    void bufferIsUsedAgain()
    {
        LoggerAgent agent(kAll, nullptr);
        FillTo(agent, 5001);
        agent.DoLog(1, "F", "Debug", QString());
        const char* const memory = BufferOf(agent).constData();
        for (int i = 0; i < 10; ++i) {
            FillTo(agent, 5001);
            agent.DoLog(1, "F", "Debug", QString());
            QCOMPARE(static_cast<const void*>(BufferOf(agent).constData()), static_cast<const void*>(memory));
        }
    }

    void bufferIsNotSharedWithAListener()
    {
        LoggerAgent agent(kAll, nullptr);
        const Batches heard(agent);
        FillTo(agent, 5001);
        const QByteArray first = heard.iBatches.value(0);
        const QByteArray copy(first.constData(), first.size());
        FillTo(agent, 5001);
        QCOMPARE(heard.iBatches.size(), 2);
        QCOMPARE(first, copy);
    }

    void bufferOfALongLineIsLetGo()
    {
        LoggerAgent agent(kAll, nullptr);
        agent.DoLog(1, "F", "Debug", QString(1 << 20, QLatin1Char('x')));
        agent.DoLog(1, "F", "Debug", QString());
        QVERIFY(BufferOf(agent).capacity() < 10000);
    }

    void linesOfAListenerStay()
    {
        LoggerAgent agent(kAll, nullptr);
        int heard = 0;
        connect(&agent, &LoggerAgent::logMessage, [&] {
            if (heard++ == 0)
                agent.DoLog(1, "Listener", "Debug", QString());
        });
        FillTo(agent, 5001);
        QCOMPARE(BufferOf(agent), kStamp + "|1|Debug|Listener|\n");
    }

    // Its thread is the host's main one.
    void timerWaitsOnlyForLinesToHandOver_data()
    {
        QTest::addColumn<bool>("hasLines");
        QTest::addColumn<qint64>("quietSecs");
        QTest::addColumn<bool>("waits");
        QTest::newRow("nothing in the buffer") << false << qint64(100) << false;
        QTest::newRow("lines of just now") << true << qint64(30) << false;
        QTest::newRow("lines of long ago") << true << qint64(31) << true;
    }
    void timerWaitsOnlyForLinesToHandOver()
    {
        QFETCH(bool, hasLines);
        QFETCH(qint64, quietSecs);
        QFETCH(bool, waits);
        LoggerAgent agent(kAll, nullptr);
        agent.SetLoggerFileName(QStringLiteral("app.log"));
        agent.DoLog(1, "F", "Debug", QString());
        if (!hasLines)
            agent.SendBufferToThread();
        ForgedClock::Advance(quietSecs * 1000);
        const Batches heard(agent);
        QSemaphore held;
        QSemaphore ticked;
        std::thread holder([&] {
            const QMutexLocker lock(&(agent.*LoggerAgent_iMutex()));
            held.release();
            ticked.tryAcquire(1, waits ? 200 : -1); // the timer waits for a second
        });
        held.acquire();
        QElapsedTimer elapsed;
        elapsed.start();
        Tick(agent);
        QVERIFY(waits || elapsed.elapsed() < 1000);
        ticked.release();
        holder.join();
        QCOMPARE(heard.iBatches.size(), waits ? 1 : 0);
        agent.StopLogging();
    }

    void stopWhileStoppedDoesNothing()
    {
        LoggerAgent agent(kAll, nullptr);
        bool stopped = false;
        connect(&agent, &LoggerAgent::stopWorker, [&stopped] { stopped = true; });
        agent.StopLogging();
        QVERIFY(!stopped);
        QCOMPARE(BufferOf(agent), QByteArray());
    }

    void linesOfItsOwn()
    {
        LoggerAgent agent(Debug, nullptr);
        agent.Log(Debug, NoExtraInfo, 20, "F", QStringLiteral("early"));
        agent.SetLoggerFileName(QStringLiteral("a.log"));
        QCOMPARE(LogText::Bodies(BufferOf(agent)),
                 (QList<QByteArray>{"|20|Debug|F|early", "|30|Debug|LoggerAgent::SetLoggerFileName|Enter",
                                    "|30|Debug|LoggerAgent::StartThread|starting timer"}));
        agent.SetLoggerFileName(QStringLiteral("b.log"));
        QCOMPARE(agent.FileName(), QStringLiteral("b.log"));
        QCOMPARE(agent.FileNameCopy(), QStringLiteral("b.log"));
        agent.StopLogging();

        const QList<QByteArray> before{"|20|Debug|F|early", "|30|Debug|LoggerAgent::SetLoggerFileName|Enter",
                                       "|30|Debug|LoggerAgent::StartThread|starting timer",
                                       "|30|Debug|LoggerAgent::SetLoggerFileName|Enter"};
        const QList<QByteArray> after = before
            + QList<QByteArray>{"|30|Debug|LoggerAgent::StopLogging|stopping timer",
                                "|30|Debug|LoggerAgent::StartThread|starting timer"};
        QCOMPARE(BodiesIn(QStringLiteral("a.log")), before);
        QCOMPARE(BodiesIn(QStringLiteral("b.log")), after);
        QCOMPARE(LogText::Bodies(BufferOf(agent)),
                 after + QList<QByteArray>{"|30|Debug|LoggerAgent::StopLogging|stopping timer"});
    }

    void noLinesOfItsOwnWithDebugOff()
    {
        LoggerAgent agent(kAll & ~Debug, nullptr);
        agent.SetLoggerFileName(QStringLiteral("a.log"));
        agent.SetLoggerFileName(QStringLiteral("b.log"));
        agent.StopLogging();
        QCOMPARE(BufferOf(agent), QByteArray());
        QCOMPARE(LogText::Read(QStringLiteral("a.log")) + LogText::Read(QStringLiteral("b.log")), QByteArray());
    }

    void linesWaitWhileStoppedAndBatchesAreLost()
    {
        LoggerAgent agent(Information, nullptr);
        FillTo(agent, 5001);
        agent.Log(Information, NoExtraInfo, 1, "F", QStringLiteral("waits"));
        agent.SetLoggerFileName(QStringLiteral("app.log"));
        agent.StopLogging();
        QCOMPARE(BodiesIn(QStringLiteral("app.log")), QList<QByteArray>{"|1|Information|F|waits"});
        // The buffer was kept, and opens the next file too.
        agent.StartThread();
        agent.StopLogging();
        QCOMPARE(BodiesIn(QStringLiteral("app.log")),
                 (QList<QByteArray>{"|1|Information|F|waits", "|1|Information|F|waits"}));
    }

    void batchesAndTheRestArriveInOrder()
    {
        LoggerAgent agent(Information, nullptr);
        agent.SetLoggerFileName(QStringLiteral("app.log"));
        QList<QByteArray> expected;
        for (int i = 0; i < 1000; ++i) {
            agent.Log(Information, NoExtraInfo, 1, "F", QString::number(i));
            expected += "|1|Information|F|" + QByteArray::number(i);
        }
        agent.StopLogging();
        QCOMPARE(BodiesIn(QStringLiteral("app.log")), expected);
    }

    // The thread has looked for batches, and finds the stop next.
    void whatTheThreadHasNotSeenComesBeforeTheStop()
    {
        LoggerAgent agent(Information, nullptr);
        QSemaphore looked;
        QSemaphore stopping;
        connect(&agent, &LoggerAgent::stopWorker, [&stopping] { stopping.release(); });
        agent.SetLoggerFileName(QStringLiteral("app.log"));
        QAbstractEventDispatcher* const events = (agent.*LoggerAgent_iThread())->eventDispatcher();
        std::atomic<bool> isFirst{true};
        connect(
            events, &QAbstractEventDispatcher::awake, events,
            [&] {
                if (!isFirst.exchange(false))
                    return;
                looked.release();
                stopping.acquire();
                QThread::msleep(50); // until the stop is posted
            },
            Qt::DirectConnection);
        events->wakeUp();
        looked.acquire();
        const auto batch = [&agent](const QString& name) {
            agent.Log(Information, NoExtraInfo, 1, "F", name);
            agent.SendBufferToThread();
        };
        batch(QStringLiteral("first"));
        batch(QStringLiteral("second"));
        agent.Log(Information, NoExtraInfo, 1, "F", QStringLiteral("rest"));
        QVERIFY(!QFile::exists(QStringLiteral("app.log"))); // only the logging thread writes
        agent.StopLogging();
        QCOMPARE(BodiesIn(QStringLiteral("app.log")),
                 (QList<QByteArray>{"|1|Information|F|first", "|1|Information|F|second", "|1|Information|F|rest"}));
    }

    void batchOfAnotherSenderIsWrittenToo()
    {
        LoggerAgent agent(Information, nullptr);
        agent.SetLoggerFileName(QStringLiteral("app.log"));
        agent.Log(Information, NoExtraInfo, 1, "F", QStringLiteral("line"));
        Q_EMIT agent.logMessage("other\n");
        agent.StopLogging();
        Q_EMIT agent.logMessage("late\n");
        QCOMPARE(LogText::Read(QStringLiteral("app.log")), "other\n" + kStamp + "|1|Information|F|line\n");
    }

    void threadEndedByOthersTakesNoMore()
    {
        LoggerAgent agent(Information, nullptr);
        agent.SetLoggerFileName(QStringLiteral("app.log"));
        RegisteredThread* const thread = agent.*LoggerAgent_iThread();
        thread->quit();
        QVERIFY(thread->wait(10000));
        agent.Log(Information, NoExtraInfo, 1, "F", QStringLiteral("line"));
        agent.SendBufferToThread();
        agent.StopLogging();
        QCOMPARE(LogText::Read(QStringLiteral("app.log")), QByteArray());
    }

    void resetLevel_data()
    {
        QTest::addColumn<int>("before");
        QTest::addColumn<int>("mask");
        QTest::addColumn<bool>("isReset");
        QTest::addColumn<int>("after");
        QTest::addColumn<QByteArray>("message");
        QTest::newRow("locked") << 255 << 0 << false << 255 << QByteArray("log level is 255 and cannot be reset");
        QTest::newRow("locked, to itself")
            << 255 << 255 << false << 255 << QByteArray("log level is 255 and cannot be reset");
        QTest::newRow("information to nothing") << 1 << 0 << true << 0 << QByteArray("m");
        QTest::newRow("information to more") << 1 << 63 << true << 63 << QByteArray("m");
        QTest::newRow("to information") << 18 << 1 << true << 1 << QByteArray("m");
        QTest::newRow("without information") << 18 << 62 << true << 62 << QByteArray();
        QTest::newRow("to locked") << 18 << 255 << true << 255 << QByteArray("m");
        QTest::newRow("all the levels are not locked") << 63 << 2 << true << 2 << QByteArray("m");
    }
    void resetLevel()
    {
        QFETCH(int, before);
        QFETCH(int, mask);
        QFETCH(QByteArray, message);
        LoggerAgent agent(before, nullptr);
        const Batches heard(agent);
        QTEST(agent.ResetLoggingLevel(mask, 10, "F", QStringLiteral("m")), "isReset");
        QTEST(agent.Level(), "after");
        const QList<QByteArray> expected = message.isEmpty()
            ? QList<QByteArray>()
            : QList<QByteArray>{kStamp + "|10|Information|F|" + message + "\n"};
        QCOMPARE(heard.iBatches, expected); // handed over at once
        agent.DoLog(1, "F", "Debug", QStringLiteral("later"));
        QCOMPARE(heard.iBatches, expected); // and later lines not
        QCOMPARE(BufferOf(agent), kStamp + "|1|Debug|F|later\n");
    }

    void resetLevelHandsOverWhatWaits()
    {
        LoggerAgent agent(Information, nullptr);
        const Batches heard(agent);
        agent.Log(Information, NoExtraInfo, 1, "F", QStringLiteral("waits"));
        agent.ResetLoggingLevel(0, 10, "F", QStringLiteral("m"));
        QCOMPARE(heard.iBatches,
                 QList<QByteArray>{kStamp + "|1|Information|F|waits\n" + kStamp + "|10|Information|F|m\n"});
    }

    void resetLevelThatFailsHandsOverNothingMore()
    {
        LoggerAgent agent(Information, nullptr);
        const auto fails = connect(&agent, &LoggerAgent::logMessage, [] { throw std::bad_alloc(); });
        QVERIFY_EXCEPTION_THROWN(agent.ResetLoggingLevel(0, 10, "F", QStringLiteral("m")), std::bad_alloc);
        disconnect(fails);
        const Batches heard(agent);
        agent.Log(Information, NoExtraInfo, 1, "F", QStringLiteral("later"));
        QCOMPARE(heard.iBatches, QList<QByteArray>());
    }

    void stackTraceFlag()
    {
        LoggerAgent agent(0, nullptr);
        agent.SetStackTrace(true);
        QVERIFY(agent.StackLoggingEnabled());
        agent.SetStackTrace(false);
        QVERIFY(!agent.StackLoggingEnabled());
    }

    void secondsSinceTheEpoch()
    {
        QCOMPARE(LoggerAgent::SecsSinceEpoch(QDateTime(QDate(1970, 1, 2), QTime(0, 0, 1, 999), Qt::UTC)),
                 qint64(86401));
        QCOMPARE(LoggerAgent::SecsSinceEpoch(QDateTime(QDate(2040, 1, 1), QTime(0, 0), Qt::UTC)), qint64(2208988800));
    }

    void otherThreadsMayStartAndStop()
    {
        gWarnings.clear();
        qInstallMessageHandler(NoteWarning);
        {
            LoggerAgent agent(Information, nullptr);
            const auto elsewhere = [](const auto& call) { std::thread(call).join(); };
            elsewhere([&agent] { agent.SetLoggerFileName(QStringLiteral("app.log")); });
            QCoreApplication::processEvents();
            QVERIFY(agent.*LoggerAgent_iTimerId() != 0);
            agent.Log(Information, NoExtraInfo, 1, "F", QStringLiteral("m"));
            const QPointer<RegisteredThread> thread = agent.*LoggerAgent_iThread();
            elsewhere([&agent] { agent.StopLogging(); });
            QCoreApplication::processEvents();
            QCOMPARE(agent.*LoggerAgent_iTimerId(), 0);
            QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
            QVERIFY(thread.isNull());
        }
        qInstallMessageHandler(nullptr);
        QCOMPARE(gWarnings, QStringList());
        QCOMPARE(BodiesIn(QStringLiteral("app.log")), QList<QByteArray>{"|1|Information|F|m"});
    }

    void threadThatDoesNotEndIsLeftBehind()
    {
        const auto result = TestSupport::RunScenario("threadThatDoesNotEnd");
        QVERIFY2(result.IsOk(), result.Describe().constData());
    }
};

NEROLT_TEST_MAIN(tst_LoggerAgent)

#include "tst_LoggerAgent.moc"
