#include "support/ForgedClock.h"
#include "support/LogText.h"
#include "support/OrdinaryUser.h"
#include "support/PrivateAccess.h"
#include "support/TestMain.h"
#include "util/CallFailure.h"

#include <NeroltOrvaneBase/FileUtilities.h>
#include <NeroltOrvaneBase/Logger.h>
#include <NeroltOrvaneBase/LoggerWorker.h>
#include <NeroltOrvaneBase/RegisteredTimer.h>

#include <QtCore/QAbstractEventDispatcher>
#include <QtCore/QFile>
#include <QtCore/QMetaMethod>
#include <QtCore/QPointer>
#include <QtCore/QScopeGuard>
#include <QtTest/QtTest>

#include <cerrno>
#include <sched.h>
#include <sys/stat.h>

NEROLT_PRIVATE(LoggerWorker, iQueue, QList<QByteArray>)
NEROLT_PRIVATE(LoggerWorker, iFileName, QString)
NEROLT_PRIVATE(LoggerWorker, iRunning, bool)
NEROLT_PRIVATE(LoggerWorker, iPendingWrite, RegisteredTimer*)

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
    return QDir(TestSupport::Scratch()).entryList(QDir::Files | QDir::System, QDir::Name);
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

// A file with a hole, so that a size limit costs no disk.
void MakeLargeFile(const QString& path, qint64 size)
{
    QFile file(path);
    QVERIFY(file.open(QIODevice::WriteOnly));
    QVERIFY(file.resize(size));
}

void OnePass()
{
    QAbstractEventDispatcher::instance()->processEvents(QEventLoop::AllEvents);
}

qint64 OffsetOf(const LoggerWorker& worker, const void* member)
{
    return reinterpret_cast<const char*>(member) - reinterpret_cast<const char*>(&worker);
}

const TestSupport::Scenario destructorSaysEnter("destructorSaysEnter", [](const QStringList&) {
    Logger::GetInstance()->SetLevel(LoggerDefs::Trace | LoggerDefs::Debug);
    Logger::SetLoggerFileName(kLog, false);
    {
        LoggerWorker worker(QStringLiteral("other.log"));
        worker.setObjectName(QStringLiteral("the worker"));
        (worker.*LoggerWorker_iQueue()) << "one\n"
                                        << "two\n";
        worker.Log(true);
        // The second time the timer is disposed of by the slot that it calls.
        (worker.*LoggerWorker_iQueue()) << "three\n";
        worker.onLog();
    }
    Logger::StopLogging();
    return 0;
});

} // namespace

class tst_LoggerWorker : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init()
    {
        ForgedClock::Freeze(Now());
        for (const QString& file : Files())
            QVERIFY(QFile::remove(file));
    }
    void cleanup() { ForgedClock::Release(); }

    void theCallersThreadKeepsItsPolicy()
    {
        int before = -1;
        int after = -1;
        const std::unique_ptr<QThread> thread(QThread::create([&] {
            before = ::sched_getscheduler(0);
            LoggerWorker(kLog).onStartWorker();
            after = ::sched_getscheduler(0);
        }));
        thread->start();
        QVERIFY(thread->wait(60000));
        QCOMPARE(after, before);
    }

    void fieldsInTheirOrderAndDefaults()
    {
        const LoggerWorker worker(kLog);
        QCOMPARE((worker.*LoggerWorker_iQueue()).size(), 0);
        QCOMPARE(worker.*LoggerWorker_iFileName(), kLog);
        QCOMPARE(worker.*LoggerWorker_iRunning(), false);
        QVERIFY(!(worker.*LoggerWorker_iPendingWrite()));
        QVERIFY(!worker.parent());
        const QList<qint64> offsets{OffsetOf(worker, &(worker.*LoggerWorker_iQueue())),
                                    OffsetOf(worker, &(worker.*LoggerWorker_iFileName())),
                                    OffsetOf(worker, &(worker.*LoggerWorker_iRunning())),
                                    OffsetOf(worker, &(worker.*LoggerWorker_iPendingWrite()))};
        QCOMPARE(offsets.first(), qint64(sizeof(QObject)));
        QVERIFY(std::is_sorted(offsets.begin(), offsets.end()));
        QCOMPARE(qint64(sizeof(LoggerWorker)), offsets.last() + qint64(sizeof(void*)));
    }

    void slotsInTheirOrder()
    {
        const QMetaObject& meta = LoggerWorker::staticMetaObject;
        QCOMPARE(meta.className(), "LoggerWorker");
        QCOMPARE(meta.superClass(), &QObject::staticMetaObject);
        QList<QByteArray> methods;
        for (int i = meta.methodOffset(); i < meta.methodCount(); ++i) {
            QCOMPARE(meta.method(i).methodType(), QMetaMethod::Slot);
            methods += meta.method(i).methodSignature();
        }
        QCOMPARE(
            methods,
            (QList<QByteArray>{"onStartWorker()", "onStopWorker(QByteArray)", "onLogMessage(QByteArray)", "onLog()"}));
    }

    void batchesBeforeTheStartAreDropped()
    {
        LoggerWorker worker(kLog);
        worker.onLogMessage("early\n");
        QVERIFY(Files().isEmpty());
        worker.onStartWorker();
        worker.onLogMessage("one\n");
        QCOMPARE(Log(), QByteArray("one\n"));
    }

    void batchesAfterTheStopAreDropped()
    {
        LoggerWorker worker(kLog);
        worker.onStartWorker();
        worker.onStopWorker("last\n");
        worker.onLogMessage("late\n");
        QCoreApplication::processEvents();
        QCOMPARE(Log(), QByteArray("last\n"));
        QVERIFY((worker.*LoggerWorker_iQueue()).isEmpty());
    }

    void stopDrainsInOrderThenTheStopBatch()
    {
        LoggerWorker worker(kLog);
        worker.onStartWorker();
        (worker.*LoggerWorker_iQueue()) << "one\n"
                                        << "two\n"
                                        << "three\n";
        worker.onStopWorker("stop\n");
        QCOMPARE(Log(), QByteArray("one\ntwo\nthree\nstop\n"));
        QVERIFY((worker.*LoggerWorker_iQueue()).isEmpty());
        QVERIFY(!(worker.*LoggerWorker_iPendingWrite()));
        QVERIFY(worker.findChildren<QTimer*>().isEmpty());
    }

    void stopWithoutStartWritesItsBatch()
    {
        LoggerWorker worker(kLog);
        worker.onStopWorker("stop\n");
        QCOMPARE(Log(), QByteArray("stop\n"));
    }

    void emptyStopBatchCreatesTheFile()
    {
        LoggerWorker worker(kLog);
        worker.onStartWorker();
        worker.onStopWorker(QByteArray());
        QCOMPARE(Files(), QStringList{kLog});
        QCOMPARE(Log(), QByteArray());
    }

    void oneBatchForEachPassOfTheLoop()
    {
        LoggerWorker worker(kLog);
        worker.onStartWorker();
        (worker.*LoggerWorker_iQueue()) << "one\n"
                                        << "two\n";
        worker.onLogMessage("three\n");
        QCOMPARE(Log(), QByteArray("one\n"));
        const QPointer<RegisteredTimer> first = worker.*LoggerWorker_iPendingWrite();
        QVERIFY(first && first->isActive() && first->isSingleShot());
        QCOMPARE(first->interval(), 0);
        QCOMPARE(first->parent(), &worker);

        while (first) // disposed of by the slot that it calls
            OnePass();
        QCOMPARE(Log(), QByteArray("one\ntwo\n"));
        QCOMPARE(worker.findChildren<RegisteredTimer*>(),
                 QList<RegisteredTimer*>{worker.*LoggerWorker_iPendingWrite()});

        QTRY_VERIFY((worker.*LoggerWorker_iQueue()).isEmpty());
        QCOMPARE(Log(), QByteArray("one\ntwo\nthree\n"));
        QVERIFY(!(worker.*LoggerWorker_iPendingWrite()));
        QVERIFY(worker.findChildren<QTimer*>().isEmpty());
    }

    void logWithoutSchedulingLeavesTheRest()
    {
        LoggerWorker worker(kLog);
        (worker.*LoggerWorker_iQueue()) << "one\n"
                                        << "two\n";
        worker.Log(false);
        QCOMPARE(Log(), QByteArray("one\n"));
        QCOMPARE(worker.*LoggerWorker_iQueue(), QList<QByteArray>{"two\n"});
        QVERIFY(worker.findChildren<QTimer*>().isEmpty());
    }

    void logOfAnEmptyQueueDoesNothing()
    {
        LoggerWorker worker(kLog);
        worker.Log(true);
        worker.onLog();
        QVERIFY(Files().isEmpty());
        QVERIFY(worker.findChildren<QTimer*>().isEmpty());
    }

    void destructionDisposesOfThePendingTimer()
    {
        QPointer<RegisteredTimer> pending;
        {
            LoggerWorker worker(kLog);
            (worker.*LoggerWorker_iQueue()) << "one\n"
                                            << "two\n";
            worker.Log(true);
            pending = worker.*LoggerWorker_iPendingWrite();
            QVERIFY(pending);
        }
        QVERIFY(!pending);
        QCOMPARE(Log(), QByteArray("one\n"));
    }

    void whatTheTimersSayInTheLog()
    {
        const auto result = TestSupport::RunScenario("destructorSaysEnter");
        QVERIFY2(result.IsOk(), result.Describe().constData());
        QList<QByteArray> bodies = LogText::Bodies(LogText::Read(result.iFolder.filePath(kLog)));
        // The log's own lines about its own thread stand around ours.
        bodies.erase(std::remove_if(bodies.begin(), bodies.end(),
                                    [](const QByteArray& body) { return body.contains("|LoggerAgent::"); }),
                     bodies.end());
        QCOMPARE(bodies,
                 (QList<QByteArray>{
                     "|20|Debug|RegisteredTimer::CleanupTimer|Cleanup registered timer, parent is the worker",
                     "|20|Debug|RTimerGarbageCollector::AddTimer|Adding timer to garbage collector ",
                     "|25|Trace|RegisteredTimer::Cleanup|Enter.",
                     "|20|Debug|RegisteredTimer::Cleanup|Cleanup registered timer, parent is the worker",
                     "|20|Debug|RTimerGarbageCollector::AddTimer|Adding timer to garbage collector ",
                 }));
        QCOMPARE(LogText::Read(result.iFolder.filePath(QStringLiteral("other.log"))), QByteArray("one\ntwo\n"));
    }

    void size_data()
    {
        QTest::addColumn<qint64>("before");
        QTest::addColumn<bool>("rotates");
        QTest::newRow("exactly the limit") << kMaxBytes - 4 << false;
        QTest::newRow("one byte over") << kMaxBytes - 3 << true;
        QTest::newRow("over before the batch") << kMaxBytes + 5 << true;
    }
    void size()
    {
        QFETCH(qint64, before);
        QFETCH(bool, rotates);
        MakeLargeFile(kLog, before);
        LoggerWorker worker(kLog);
        worker.onStartWorker();
        worker.onLogMessage("one\n");
        if (!rotates) {
            QCOMPARE(Files(), QStringList{kLog});
            QCOMPARE(QFileInfo(kLog).size(), before + 4);
            return;
        }
        QCOMPARE(Files(), (QStringList{kRotated, kLog}));
        QCOMPARE(QFileInfo(kRotated).size(), before + 4);
        QCOMPARE(Log(), kHeader);
        QFile old(kRotated);
        QVERIFY(old.open(QIODevice::ReadOnly) && old.seek(before));
        QCOMPARE(old.readAll(), QByteArray("one\n"));
        worker.onLogMessage("two\n");
        QCOMPARE(Log(), kHeader + "two\n");
    }

    void rotationByTheStopBatch()
    {
        MakeLargeFile(kLog, kMaxBytes);
        LoggerWorker worker(kLog);
        (worker.*LoggerWorker_iQueue()) << "one\n"
                                        << "two\n";
        worker.onStopWorker("stop\n");
        QCOMPARE(QFileInfo(kRotated).size(), kMaxBytes + 4);
        QCOMPARE(Log(), kHeader + "two\nstop\n");
    }

    void age_data()
    {
        QTest::addColumn<qint64>("age");
        QTest::addColumn<bool>("rotates");
        QTest::newRow("exactly a day") << qint64(86400000) << false;
        QTest::newRow("a day and most of a second") << qint64(86400999) << false;
        QTest::newRow("a day and a second") << qint64(86401000) << true;
        QTest::newRow("two days") << qint64(172800000) << true;
        QTest::newRow("not born yet") << qint64(-172800000) << false;
    }
    void age()
    {
        QFETCH(qint64, age);
        QFETCH(bool, rotates);
        MakeFile(kLog, "old\n");
        QVERIFY(FileUtilities::SetTime(kLog, Now().addMSecs(-age), FileTimeCreation, false));
        LoggerWorker worker(kLog);
        worker.onStartWorker();
        worker.onLogMessage("one\n");
        QCOMPARE(Log(), rotates ? kHeader : QByteArray("old\none\n"));
        QCOMPARE(LogText::Read(kRotated), rotates ? QByteArray("old\none\n") : QByteArray());
    }

    void ageOfTheNewFileCountsFromTheRotation()
    {
        MakeFile(kLog, "old\n");
        QVERIFY(FileUtilities::SetTime(kLog, Now().addDays(-2), FileTimeCreation, false));
        LoggerWorker worker(kLog);
        worker.onStartWorker();
        worker.onLogMessage("one\n");
        QCOMPARE(FileUtilities::GetTime(kLog, FileTimeCreation, false), Now());

        ForgedClock::Advance(86400000);
        worker.onLogMessage("two\n");
        QCOMPARE(Files(), (QStringList{kRotated, kLog}));
        ForgedClock::Advance(1000);
        worker.onLogMessage("three\n");
        QCOMPARE(Files(), (QStringList{kRotated, QStringLiteral("app-2024-03-06_14-07-10.log"), kLog}));
        QCOMPARE(LogText::Read(QStringLiteral("app-2024-03-06_14-07-10.log")), kHeader + "two\nthree\n");
        QCOMPARE(Log(), QByteArray("2024-03-06 14:07:10.042continued from app-2024-03-06_14-07-10.log\n"));
    }

    void takenNameEmptiesTheFile()
    {
        MakeFile(kLog, "old\n");
        MakeFile(kRotated, "somebody else's\n");
        QVERIFY(FileUtilities::SetTime(kLog, Now().addDays(-2), FileTimeCreation, false));
        LoggerWorker worker(kLog);
        worker.onStartWorker();
        worker.onLogMessage("one\n");
        QCOMPARE(LogText::Read(kRotated), QByteArray("somebody else's\n"));
        QCOMPARE(Log(), kHeader);
        QCOMPARE(FileUtilities::GetTime(kLog, FileTimeCreation, false), Now());
    }

    void readOnlyFolderEmptiesTheFile()
    {
        QVERIFY(QDir().mkpath(QStringLiteral("folder")));
        const QString path = QStringLiteral("folder/app.log");
        MakeFile(path, "old\n");
        OrdinaryUser::Own(QDir(TestSupport::Scratch()).filePath(path));
        QVERIFY(FileUtilities::SetTime(path, Now().addDays(-2), FileTimeCreation, false));
        QCOMPARE(::chmod("folder", 0555), 0);
        {
            const OrdinaryUser user;
            LoggerWorker worker(path);
            worker.onStartWorker();
            worker.onLogMessage("one\n");
        }
        QCOMPARE(::chmod("folder", 0755), 0);
        QCOMPARE(QDir(QStringLiteral("folder")).entryList(QDir::Files), QStringList{kLog});
        QCOMPARE(LogText::Read(path), kHeader);
        QVERIFY(QFile::remove(path));
    }

    // Where no creation time can be set the file stays as old as it was.
    void emptiedFileIsYoungWithoutAttributes()
    {
        const CallFailure noReading(CallFailure::GetAttribute, ENOTSUP);
        const CallFailure noWriting(CallFailure::SetAttribute, ENOTSUP);
        ForgedClock::Release();
        MakeFile(kLog, "old\n");
        ForgedClock::Freeze(QDateTime::currentDateTime().addDays(2));
        LoggerWorker worker(kLog);
        worker.onStartWorker();
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
        LoggerWorker worker(kLog);
        worker.onStartWorker();
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
        const auto tidy = qScopeGuard([] {
            ::chmod("shared", 0755);
            QDir(QStringLiteral("shared")).removeRecursively();
            QDir(QStringLiteral("own")).removeRecursively();
        });
        const QString precious = QStringLiteral("own/precious.txt");
        MakeFile(precious, "precious\n");
        OrdinaryUser::Own(QDir(TestSupport::Scratch()).filePath(precious));
        QVERIFY(FileUtilities::SetTime(precious, Now().addDays(-2), FileTimeCreation, false));
        QVERIFY(QFile::link(QStringLiteral("../own/precious.txt"), QStringLiteral("shared/app.log")));
        QCOMPARE(::chmod("shared", OrdinaryUser::IsTestRoot() ? 01777 : 0555), 0);
        {
            const OrdinaryUser user;
            LoggerWorker worker(QStringLiteral("shared/app.log"));
            worker.onStartWorker();
            worker.onLogMessage("one\n");
            worker.onLogMessage("two\n");
        }
        QCOMPARE(LogText::Read(precious), QByteArray("precious\none\ntwo\n"));
        QCOMPARE(QDir(QStringLiteral("shared")).entryList(QDir::Files | QDir::System), QStringList{kLog});
    }

    void fileThatVanishedIsBegunAnew()
    {
        LoggerWorker worker(kLog);
        worker.onStartWorker();
        worker.onLogMessage("one\n");
        QVERIFY(QFile::rename(kLog, QStringLiteral("moved.log")));
        worker.onLogMessage("two\n");
        QCOMPARE(LogText::Read(QStringLiteral("moved.log")), QByteArray("one\n"));
        QCOMPARE(Log(), QByteArray("two\n"));
    }

    void batchThatCannotBeWrittenIsNotTriedAgain()
    {
        const QString path = QStringLiteral("later/app.log");
        LoggerWorker worker(path);
        worker.onStartWorker();
        worker.onLogMessage("lost\n");
        QVERIFY((worker.*LoggerWorker_iQueue()).isEmpty());
        QVERIFY(QDir().mkpath(QStringLiteral("later")));
        worker.onLogMessage("one\n");
        QCOMPARE(LogText::Read(path), QByteArray("one\n"));
        QVERIFY(QDir(QStringLiteral("later")).removeRecursively());
    }
};

NEROLT_TEST_MAIN(tst_LoggerWorker)

#include "tst_LoggerWorker.moc"
