#include "support/ForgedClock.h"
#include "support/LogScenario.h"
#include "support/OrdinaryUser.h"
#include "util/CallFailure.h"

#include <NeroltOrvaneBase/FileUtilities.h>
#include <NeroltOrvaneBase/LoggerWorker.h>
#include <NeroltOrvaneBase/RegisteredTimer.h>

#include <QtCore/QAbstractEventDispatcher>
#include <QtCore/QFile>
#include <QtCore/QPointer>
#include <QtCore/QScopeGuard>
#include <QtTest/QtTest>

#include <cerrno>
#include <sched.h>
#include <sys/stat.h>

NEROLT_PRIVATE(LoggerWorker, iQueue, QList<QByteArray>)

using Batches = QList<QByteArray>;

namespace {

const QString kLog = QStringLiteral("app.log");
const QString kRotated = QStringLiteral("app-2024-03-05_14-07-09.log");
const QByteArray kHeader = "2024-03-05 14:07:09.042continued from app-2024-03-05_14-07-09.log\n";
constexpr qint64 kMaxBytes = 104857600;

QDateTime Now()
{
    return QDateTime(QDate(2024, 3, 5), QTime(14, 7, 9, 42));
}

QByteArray Log()
{
    return LogText::Read(kLog);
}

QStringList Files()
{
    return QDir().entryList(QDir::Files | QDir::System, QDir::Name);
}

// What a rotation at this moment would give the log for a name, and begin the next file with.
QString Rotated()
{
    return QDateTime::currentDateTime().toString(QStringLiteral("'app-'yyyy-MM-dd_hh-mm-ss'.log'"));
}

QByteArray Header()
{
    return QDateTime::currentDateTime().toString(QStringLiteral("yyyy-MM-dd hh:mm:ss.zzz'continued from '")).toUtf8()
        + Rotated().toUtf8();
}

void MakeFile(const QString& path, const QByteArray& content)
{
    QFile file(path);
    QVERIFY(file.open(QIODevice::WriteOnly));
    QCOMPARE(file.write(content), qint64(content.size()));
}

void MakeOld(const QString& path)
{
    QVERIFY(FileUtilities::SetTime(path, Now().addDays(-2), FileTimeCreation, false));
}

// It runs.
class Worker : public LoggerWorker
{
public:
    explicit Worker(const QString& path = kLog)
        : LoggerWorker(path)
    {
        onStartWorker();
    }

    Batches& Queue() { return this->*LoggerWorker_iQueue(); }
    QList<RegisteredTimer*> Timers() const { return findChildren<RegisteredTimer*>(); }
};

} // namespace

class tst_LoggerWorker : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init()
    {
        ForgedClock::Freeze(Now());
        TestSupport::EnterFreshFolder();
    }

    void theCallersThreadKeepsItsPolicy()
    {
        const int before = ::sched_getscheduler(0);
        const Worker worker;
        QCOMPARE(::sched_getscheduler(0), before);
    }

    void onlyBatchesFromTheStartToTheStop()
    {
        LoggerWorker worker(kLog);
        QVERIFY(!worker.parent());
        worker.onLogMessage("early\n");
        QVERIFY(Files().isEmpty());
        worker.onStartWorker();
        worker.onLogMessage("one\n");
        QCOMPARE(Log(), QByteArray("one\n"));
        worker.onStopWorker("last\n");
        worker.onLogMessage("late\n");
        QCoreApplication::processEvents();
        QCOMPARE(Log(), QByteArray("one\nlast\n"));
    }

    void stopDrainsInOrderThenTheStopBatch_data()
    {
        QTest::addColumn<Batches>("queue");
        QTest::addColumn<QByteArray>("last");
        QTest::newRow("three batches") << Batches{"one\n", "two\n", "three\n"} << QByteArray("stop\n");
        QTest::newRow("nothing queued") << Batches() << QByteArray("stop\n");
        QTest::newRow("nothing at all") << Batches() << QByteArray();
    }
    void stopDrainsInOrderThenTheStopBatch()
    {
        QFETCH(Batches, queue);
        QFETCH(QByteArray, last);
        Worker worker;
        worker.Queue() = queue;
        worker.onStopWorker(last);
        QCOMPARE(Files(), QStringList{kLog});
        QCOMPARE(Log(), queue.join() + last);
        QVERIFY(worker.Queue().isEmpty() && worker.Timers().isEmpty());
    }

    void oneBatchForEachPassOfTheLoop()
    {
        Worker worker;
        worker.Queue() = Batches{"one\n", "two\n"};
        worker.onLogMessage("three\n");
        QCOMPARE(Log(), QByteArray("one\n"));
        const QPointer<RegisteredTimer> first = worker.Timers().value(0);
        QVERIFY(first && first->isActive() && first->isSingleShot());
        QCOMPARE(first->interval(), 0);

        while (first) // disposed of by the slot that it calls
            QAbstractEventDispatcher::instance()->processEvents(QEventLoop::AllEvents);
        QCOMPARE(Log(), QByteArray("one\ntwo\n"));
        QCOMPARE(worker.Timers().size(), 1);

        QTRY_VERIFY(worker.Queue().isEmpty() && worker.Timers().isEmpty());
        QCOMPARE(Log(), QByteArray("one\ntwo\nthree\n"));
    }

    void logWithoutSchedulingLeavesTheRest()
    {
        Worker worker;
        worker.Log(true);
        worker.onLog();
        QVERIFY(Files().isEmpty());
        worker.Queue() = Batches{"one\n", "two\n"};
        worker.Log(false);
        QCOMPARE(Log(), QByteArray("one\n"));
        QCOMPARE(worker.Queue(), Batches{"two\n"});
        QVERIFY(worker.Timers().isEmpty());
    }

    void whatTheTimersSayInTheLog()
    {
        const auto lines = LogScenario::LoggedBy(
            [] {
                Worker worker;
                worker.setObjectName(QStringLiteral("the worker"));
                worker.Queue() = Batches{"one\n", "two\n"};
                worker.Log(true);
                // The second time the timer is disposed of by the slot that it calls.
                worker.Queue() += "three\n";
                worker.onLog();
            },
            LoggerDefs::Trace | LoggerDefs::Debug);
        const QByteArray cleanup = "Cleanup registered timer, parent is the worker";
        const QByteArray adding = "|20|Debug|RTimerGarbageCollector::AddTimer|Adding timer to garbage collector ";
        QCOMPARE(lines,
                 (Batches{"|20|Debug|RegisteredTimer::CleanupTimer|" + cleanup, adding,
                          "|25|Trace|RegisteredTimer::Cleanup|Enter.", "|20|Debug|RegisteredTimer::Cleanup|" + cleanup,
                          adding}));
        QCOMPARE(Log(), QByteArray("one\ntwo\n"));
    }

    void rotation_data()
    {
        QTest::addColumn<qint64>("size");
        QTest::addColumn<qint64>("ageMSecs");
        QTest::addColumn<bool>("rotates");
        QTest::newRow("exactly the size") << kMaxBytes - 4 << qint64(0) << false;
        QTest::newRow("one byte over") << kMaxBytes - 3 << qint64(0) << true;
        QTest::newRow("over before the batch") << kMaxBytes + 5 << qint64(0) << true;
        QTest::newRow("exactly a day") << qint64(4) << qint64(86400000) << false;
        QTest::newRow("a day and most of a second") << qint64(4) << qint64(86400999) << false;
        QTest::newRow("a day and a second") << qint64(4) << qint64(86401000) << true;
        QTest::newRow("not born yet") << qint64(4) << qint64(-172800000) << false;
        QTest::newRow("too large and not born yet") << kMaxBytes << qint64(-172800000) << true;
    }
    void rotation()
    {
        QFETCH(qint64, size);
        QFETCH(qint64, ageMSecs);
        QFETCH(bool, rotates);
        MakeFile(kLog, "");
        QVERIFY(QFile::resize(kLog, size)); // a hole
        QVERIFY(FileUtilities::SetTime(kLog, Now().addMSecs(-ageMSecs), FileTimeCreation, false));
        Worker worker;
        worker.onLogMessage("one\n");
        QCOMPARE(Files(), rotates ? (QStringList{kRotated, kLog}) : QStringList{kLog});
        QFile old(rotates ? kRotated : kLog);
        QVERIFY(old.open(QIODevice::ReadOnly) && old.seek(size));
        QCOMPARE(old.readAll(), QByteArray("one\n"));
        worker.Queue() = Batches{"two\n"};
        worker.onStopWorker("stop\n");
        if (rotates)
            QCOMPARE(Log(), kHeader + "two\nstop\n");
    }

    void ageOfTheNewFileCountsFromTheRotation()
    {
        MakeFile(kLog, "old\n");
        MakeOld(kLog);
        Worker worker;
        worker.onLogMessage("one\n");
        QCOMPARE(FileUtilities::GetTime(kLog, FileTimeCreation, false), Now());
        ForgedClock::Advance(86400000);
        worker.onLogMessage("two\n");
        QCOMPARE(Files(), (QStringList{kRotated, kLog}));
        ForgedClock::Advance(1000);
        worker.onLogMessage("three\n");
        const QString next = QStringLiteral("app-2024-03-06_14-07-10.log");
        QCOMPARE(LogText::Read(next), kHeader + "two\nthree\n");
        QCOMPARE(Log(), "2024-03-06 14:07:10.042continued from " + next.toUtf8() + '\n');
    }

    void takenNameEmptiesTheFile()
    {
        MakeFile(kLog, "old\n");
        MakeFile(kRotated, "somebody else's\n");
        MakeOld(kLog);
        Worker().onLogMessage("one\n");
        QCOMPARE(LogText::Read(kRotated), QByteArray("somebody else's\n"));
        QCOMPARE(Log(), kHeader);
        QCOMPARE(FileUtilities::GetTime(kLog, FileTimeCreation, false), Now());
    }

    // Where no creation time can be set the file stays as old as it was.
    void emptiedFileIsYoungWithoutAttributes()
    {
        const CallFailure noReading(CallFailure::GetAttribute, ENOTSUP);
        const CallFailure noWriting(CallFailure::SetAttribute, ENOTSUP);
        ForgedClock::Release();
        MakeFile(kLog, "old\n");
        ForgedClock::Freeze(QDateTime::currentDateTime().addDays(2));
        Worker worker;
        const auto sayIt = [&worker](const QByteArray& line) {
            MakeFile(Rotated(), "somebody else's\n"); // or the file would be moved
            worker.onLogMessage(line);
            return LogText::Bodies(Log());
        };
        const QList<QByteArray> begun{"<no stamp>" + Header()};
        QCOMPARE(sayIt("one\n"), begun);
        QCOMPARE(sayIt("|two\n"), begun + QList<QByteArray>{"<no stamp>|two"});
        ForgedClock::Advance(86400999);
        QCOMPARE(sayIt("|three\n").size(), 3);
        ForgedClock::Advance(1);
        QCOMPARE(sayIt("four\n"), QList<QByteArray>{"<no stamp>" + Header()});
    }

    void anotherFileIsAsOldAsItIs()
    {
        const CallFailure noReading(CallFailure::GetAttribute, ENOTSUP);
        const CallFailure noWriting(CallFailure::SetAttribute, ENOTSUP);
        ForgedClock::Release();
        MakeFile(kLog, "old\n");
        MakeFile(QStringLiteral("other.log"), "old, too\n");
        ForgedClock::Freeze(QDateTime::currentDateTime().addDays(2));
        Worker worker;
        worker.onLogMessage("one\n");
        ForgedClock::Advance(1000);
        QVERIFY(QFile::remove(kLog) && QFile::rename(QStringLiteral("other.log"), kLog));
        worker.onLogMessage("two\n");
        QCOMPARE(LogText::Read(Rotated()), QByteArray("old, too\ntwo\n"));
    }

    // In a folder where anybody may put a link into the log's place and only he may take it away again; for root, who
    // may be two users, and else where nobody may take it away.
    void linkInTheLogsPlaceIsNotEmptied()
    {
        QVERIFY(QDir().mkpath(QStringLiteral("shared")) && QDir().mkpath(QStringLiteral("own")));
        const auto tidy = qScopeGuard([] { ::chmod("shared", 0755); });
        const QString precious = QStringLiteral("own/precious.txt");
        MakeFile(precious, "precious\n");
        OrdinaryUser::Own(QDir().absoluteFilePath(precious));
        QVERIFY(FileUtilities::SetTime(precious, Now().addDays(-2), FileTimeCreation, false));
        QVERIFY(QFile::link(QStringLiteral("../own/precious.txt"), QStringLiteral("shared/app.log")));
        QCOMPARE(::chmod("shared", OrdinaryUser::IsTestRoot() ? 01777 : 0555), 0);
        {
            const OrdinaryUser user;
            Worker worker(QStringLiteral("shared/app.log"));
            worker.onLogMessage("one\n");
            worker.onLogMessage("two\n");
        }
        QCOMPARE(LogText::Read(precious), QByteArray("precious\none\ntwo\n"));
        QCOMPARE(QDir(QStringLiteral("shared")).entryList(QDir::Files | QDir::System), QStringList{kLog});
    }

    void batchThatCannotBeWrittenIsNotTriedAgain()
    {
        const QString path = QStringLiteral("later/app.log");
        Worker worker(path);
        worker.onLogMessage("lost\n");
        QVERIFY(worker.Queue().isEmpty());
        QVERIFY(QDir().mkpath(QStringLiteral("later")));
        worker.onLogMessage("one\n");
        QCOMPARE(LogText::Read(path), QByteArray("one\n"));
    }
};

NEROLT_TEST_MAIN(tst_LoggerWorker)

#include "tst_LoggerWorker.moc"
