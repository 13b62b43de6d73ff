#include "HeldMutex.h"
#include "support/ForgedClock.h"
#include "support/LogText.h"
#include "support/PrivateAccess.h"
#include "support/TestMain.h"

#include <NeroltOrvaneBase/IErrorReporter.h>
#include <NeroltOrvaneBase/LoggerAgent.h>

#include <QtCore/QElapsedTimer>
#include <QtTest/QtTest>

#include <new>

NEROLT_PRIVATE(LoggerAgent, iMutex, QRecursiveMutex)
NEROLT_PRIVATE(LoggerAgent, iBuffer, QByteArray)

using namespace LoggerDefs;

namespace {

constexpr int kAll = 63;
const QByteArray kStamp = "2024-03-05 14:07:09.042";
const QString kMsg = QStringLiteral("m");

class Agent : public LoggerAgent
{
public:
    explicit Agent(int mask)
        : LoggerAgent(mask, nullptr)
    {
        connect(this, &LoggerAgent::logMessage, [this](const QByteArray& batch) { iBatches += batch; });
    }

    void Debug(const QString& msg) { DoLog(1, "F", "Debug", msg); }

    /// What has waited for its handing over.
    QByteArray Waiting()
    {
        SendBufferToThread();
        return iBatches.takeLast();
    }

    QList<QByteArray> iBatches; ///< on the spot, on the thread that logs
};

class Reporter final : public IErrorReporter
{
public:
    explicit Reporter(Agent& agent)
        : iAgent(agent)
    {
        iAgent.SetErrorReporter(this);
    }
    Q_DISABLE_COPY(Reporter)

    void ReportError(const QString& errorCode, const QString& message) override
    {
        iReports += errorCode + QStringLiteral(": ") + message;
        iLog += iAgent.Waiting();
    }

    QStringList iReports;
    QByteArray iLog; ///< what had been logged by the reports

private:
    Agent& iAgent;
};

QByteArray DebugLine(const QByteArray& msg)
{
    return kStamp + "|1|Debug|F|" + msg + '\n';
}

// Its line has so many bytes.
QString MessageFor(int bytes)
{
    return QString(bytes - DebugLine("").size(), QLatin1Char('x'));
}

} // namespace

class tst_LoggerAgent : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init() { ForgedClock::Freeze(QDateTime(QDate(2024, 3, 5), QTime(14, 7, 9, 42))); }

    void whatIsSetAndAsked()
    {
        QObject parent;
        auto* const agent = new LoggerAgent(4, &parent);
        QCOMPARE(agent->parent(), &parent);
        QCOMPARE(agent->Level(), 4);
        QVERIFY(!agent->LoggingEnabled(LogValues(6)));
        QVERIFY(agent->LoggingEnabled(LoggerDefs::Warning));
        QVERIFY(agent->LoggingEnabled(LogValues(0)));
        agent->SetLevel(6);
        QCOMPARE(agent->Level(), 6);
        QVERIFY(agent->LoggingEnabled(LogValues(6)));
        QVERIFY(!agent->LoggingEnabled(LogValues(7)));
        QVERIFY(!agent->StackLoggingEnabled()); // tst_Logger sets it
        const QDateTime time(QDate(2040, 1, 1), QTime(0, 0, 1, 999), Qt::UTC);
        QCOMPARE(LoggerAgent::SecsSinceEpoch(time), qint64(2208988801));
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
        QTest::newRow("debug") << int(LoggerDefs::Debug) << QByteArray("Debug");
        for (const int level : {0, 3, 18, 63, 64, 128, 255, 256, -1})
            QTest::addRow("no level: %d", level) << level << QByteArray();
    }
    void filter()
    {
        QFETCH(int, level);
        QFETCH(QByteArray, word);
        for (int mask = 0; mask < 256; ++mask) {
            Agent agent(mask);
            const Reporter reporter(agent);
            agent.Log(LogValues(level), NoExtraInfo, 7, "F", kMsg);
            const bool passes = !word.isEmpty() && (level & mask) == level;
            QCOMPARE(reporter.iLog + agent.Waiting(), passes ? kStamp + "|7|" + word + "|F|m\n" : QByteArray());
            const bool isReported = passes && (level == LoggerDefs::Error || level == LoggerDefs::Exception);
            QCOMPARE(reporter.iReports.size(), int(isReported));
        }
    }

    // The kind may ask for what another call has stored, or none.
    void codesOfReports_data()
    {
        QTest::addColumn<int>("kind");
        QTest::addColumn<QString>("before");
        QTest::addColumn<QString>("after");
        const auto row = [](const char* name, int kind, const char* before, const char* after) {
            QTest::newRow(name) << kind << QString::fromLatin1(before) << QString::fromLatin1(after);
        };
        row("no extra", 0, "7", "7");
        row("second int in hexadecimal", 1, "7_0", "7_ff");
        row("both ints", 2, "7_0_0", "7_ff_-12");
        row("first int", 3, "7_0", "7_-12");
        row("text", 4, "7_", "7_some %1 text");
        row("two unsigned ints", 5, "7__", "7_deadbeef_1f");
        row("above the table", 6, "7", "7");
        row("far above the table", 1000, "7", "7");
        row("below the table", -1, "7", "7");
    }
    void codesOfReports()
    {
        QFETCH(int, kind);
        QFETCH(QString, before);
        QFETCH(QString, after);
        Agent agent(LoggerDefs::Error | LoggerDefs::Exception);
        const Reporter reporter(agent);
        const QString msg = QStringLiteral("mess\nage %1");
        const auto report = [&](LogValues level) { agent.Log(level, ExtraErrorInfoType(kind), 7, "F", msg); };
        report(LoggerDefs::Error);
        // They are stored whether or not the line passes. A single int replaces the first one only.
        agent.Log(LoggerDefs::Debug, NoExtraInfo, 1, "F", msg, 1, 255);
        agent.Log(LoggerDefs::Debug, NoExtraInfo, 1, "F", msg, -12);
        agent.Log(LoggerDefs::Debug, NoExtraInfo, 1, "F", msg, QStringLiteral("some %1 text"));
        agent.Log(LoggerDefs::Debug, NoExtraInfo, 1, 0xdeadbeefU, 0x1fU, "F", msg);
        report(LoggerDefs::Error);
        report(LoggerDefs::Exception);
        const QString end = QStringLiteral(": ") + msg;
        QCOMPARE(reporter.iReports,
                 (QStringList{before + end, after + end, (kind == FirstIntDec ? after : QStringLiteral("7")) + end}));
        // The line comes first, and shows the plain code.
        const QByteArray error = kStamp + "|7|Error|F|message %1\n";
        QCOMPARE(reporter.iLog, error + error + kStamp + "|7|Exception|F|message %1\n");
    }

    void largestNumbers()
    {
        Agent agent(kAll);
        const Reporter reporter(agent);
        agent.Log(LoggerDefs::Error, SecondIntHex, 4294967295U, "F", kMsg, 0, -1);
        QCOMPARE(reporter.iReports, QStringList(QStringLiteral("4294967295_ffffffffffffffff: m")));
    }

    void doLogTakesAnyWordWhateverTheMask()
    {
        Agent agent(0);
        QCOMPARE(agent.Waiting(), QByteArray());
        agent.DoLog(4, "F", "Whatever", kMsg);
        agent.DoLog(4, nullptr, "Debug", kMsg);
        QCOMPARE(agent.Waiting(), kStamp + "|4|Whatever|F|m\n" + kStamp + "|4|Debug||m\n");
    }

    void handedOverByTheLineThatPasses5000Bytes_data()
    {
        QTest::addColumn<QString>("msg");
        QTest::addColumn<bool>("passes");
        QTest::newRow("5000 bytes") << MessageFor(5000) << false;
        QTest::newRow("5001 bytes") << MessageFor(5001) << true;
        QTest::newRow("bytes, not characters") << QString(1700, QChar(0x20ac)) << true;
        QTest::newRow("megabytes") << QString(3000000, QLatin1Char('x')) << true;
    }
    void handedOverByTheLineThatPasses5000Bytes()
    {
        QFETCH(QString, msg);
        QFETCH(bool, passes);
        Agent agent(kAll);
        agent.Debug(msg);
        QCOMPARE(agent.iBatches.size(), int(passes));
        agent.Debug(kMsg);
        const QByteArray first = DebugLine(msg.toUtf8());
        QCOMPARE(agent.iBatches, passes ? QList<QByteArray>{first} : QList<QByteArray>{first + DebugLine("m")});
        QCOMPARE(agent.Waiting(), passes ? DebugLine("m") : QByteArray());
    }

    // Its memory stays in the caches of who logs, unless there is too much of it.
    void bufferIsUsedAgain()
    {
        LoggerAgent agent(kAll, nullptr);
        const QByteArray& buffer = agent.*LoggerAgent_iBuffer();
        agent.DoLog(1, "F", "Debug", kMsg);
        const char* const memory = buffer.constData();
        agent.SendBufferToThread();
        agent.DoLog(1, "F", "Debug", kMsg);
        QCOMPARE(static_cast<const void*>(buffer.constData()), static_cast<const void*>(memory));
        agent.DoLog(1, "F", "Debug", QString(1 << 20, QLatin1Char('x')));
        agent.DoLog(1, "F", "Debug", kMsg);
        QVERIFY(buffer.capacity() < 10000);
    }

    void linesOfAListenerStay()
    {
        Agent agent(kAll);
        connect(&agent, &LoggerAgent::logMessage, [&agent](const QByteArray& batch) {
            if (batch.size() > 5000)
                agent.Debug(kMsg);
        });
        agent.Debug(MessageFor(5001));
        QCOMPARE(agent.Waiting(), DebugLine("m"));
    }

    void busyBufferDropsTheLineAfterASecond()
    {
        Agent agent(kAll);
        {
            const HeldMutex held(agent.*LoggerAgent_iMutex());
            QElapsedTimer elapsed;
            elapsed.start();
            agent.Debug(QStringLiteral("lost"));
            QVERIFY(elapsed.elapsed() >= 1000);
        }
        agent.Debug(kMsg);
        QCOMPARE(agent.Waiting(), DebugLine("m"));
    }

    void resetLevel_data()
    {
        QTest::addColumn<int>("before");
        QTest::addColumn<int>("mask");
        QTest::addColumn<int>("after");
        QTest::addColumn<QByteArray>("line");
        const QByteArray locked = "log level is 255 and cannot be reset";
        QTest::newRow("locked") << 255 << 0 << 255 << locked;
        QTest::newRow("locked, to itself") << 255 << 255 << 255 << locked;
        QTest::newRow("information to nothing") << 1 << 0 << 0 << QByteArray("m");
        QTest::newRow("information to more") << 1 << 63 << 63 << QByteArray("m");
        QTest::newRow("to information") << 18 << 1 << 1 << QByteArray("m");
        QTest::newRow("without information") << 18 << 62 << 62 << QByteArray();
        QTest::newRow("to locked") << 18 << 255 << 255 << QByteArray("m");
        QTest::newRow("all the levels are not locked") << 63 << 2 << 2 << QByteArray("m");
    }
    void resetLevel()
    {
        QFETCH(int, before);
        QFETCH(int, mask);
        QFETCH(QByteArray, line);
        Agent agent(before);
        agent.Debug(QStringLiteral("waits"));
        QCOMPARE(agent.ResetLoggingLevel(mask, 10, "F", kMsg), before != kLockedLevel);
        QTEST(agent.Level(), "after");
        // The line is handed over at once with what waited for it, and those that come later are not.
        QByteArray waits = DebugLine("waits");
        QList<QByteArray> handedOver;
        if (!line.isEmpty())
            handedOver += std::exchange(waits, "") + kStamp + "|10|Information|F|" + line + '\n';
        agent.Debug(QStringLiteral("later"));
        QCOMPARE(agent.iBatches, handedOver);
        QCOMPARE(agent.Waiting(), waits + DebugLine("later"));
    }

    void resetLevelThatFailsHandsOverNothingMore()
    {
        Agent agent(Information);
        const auto fails = connect(&agent, &LoggerAgent::logMessage, [] { throw std::bad_alloc(); });
        QVERIFY_EXCEPTION_THROWN(agent.ResetLoggingLevel(0, 10, "F", kMsg), std::bad_alloc);
        disconnect(fails);
        agent.iBatches.clear();
        agent.Debug(kMsg);
        QCOMPARE(agent.iBatches, QList<QByteArray>());
    }
};

NEROLT_TEST_MAIN(tst_LoggerAgent)

#include "tst_LoggerAgent.moc"
