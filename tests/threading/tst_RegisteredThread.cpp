#include "support/LogScenario.h"
#include "support/TestMain.h"

#include <NeroltOrvaneBase/RegisteredThread.h>

#include <QtTest/QtTest>

#include <cstdio>
#include <cstring>
#include <memory>
#include <new>
#include <unistd.h>

using LogScenario::Captured;
using LogScenario::kAllLevels;
using LogScenario::LoggedBy;
using TestSupport::Scenario;
using Lines = QList<QByteArray>;

class DerivedThread : public RegisteredThread
{
    Q_OBJECT

public:
    using RegisteredThread::RegisteredThread;
};

namespace Outer {

class NestedThread : public RegisteredThread
{
    Q_OBJECT

public:
    using RegisteredThread::RegisteredThread;
};

} // namespace Outer

namespace {

bool Quit(QThread& thread)
{
    thread.quit();
    return thread.wait();
}

QByteArray LineOf(const QByteArray& name, int running = 0)
{
    return "|30|Warning|RegisteredThread::LogThreads|Thread: " + name + ", running: " + QByteArray::number(running);
}

Lines Listed()
{
    return LoggedBy([] { RegisteredThread::LogThreads(); });
}

// Prints what was logged, and which threads are left, when the framework is about to end the process.
Captured* gLog = nullptr;

void LeaveAtTheFatalMessage(QtMsgType type, const QMessageLogContext&, const QString& msg)
{
    if (type != QtFatalMsg)
        return;
    Lines lines{msg.toUtf8()};
    lines += gLog->Lines();
    Logger::GetInstance()->SetLevel(LoggerDefs::Warning);
    RegisteredThread::LogThreads();
    lines += gLog->Lines();
    std::fputs(lines.join('\n').constData(), stdout);
    std::fflush(stdout);
    ::_exit(0);
}

// Arguments: mask, name.
const Scenario kDestroyRunning("destroyRunning", [](const QStringList& arguments) {
    Captured log(arguments[0].toInt());
    gLog = &log;
    auto* const thread = new DerivedThread(nullptr, arguments[1]);
    const RegisteredThread other(nullptr, QStringLiteral("other"));
    thread->start();
    qInstallMessageHandler(LeaveAtTheFatalMessage);
    delete thread;
    return 1;
});

} // namespace

class tst_RegisteredThread : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void cleanup() { QCOMPARE(Listed(), Lines()); }

    void theNewThread()
    {
        alignas(RegisteredThread) unsigned char memory[sizeof(RegisteredThread)];
        std::memset(memory, 0xff, sizeof memory);
        QObject parent;
        QString name = QStringLiteral("Gr\u00f6\u00dfe %1");
        auto* const thread = new (memory) RegisteredThread(&parent, name);
        name = QStringLiteral("changed");
        const bool interrupted = thread->IsInterrupted();
        const bool isRunning = thread->isRunning();
        const QString kept = thread->Name();
        const QObject* const itsParent = thread->parent();
        thread->~RegisteredThread();
        QVERIFY(!interrupted && !isRunning);
        QCOMPARE(kept, QStringLiteral("Gr\u00f6\u00dfe %1"));
        QCOMPARE(itsParent, &parent);
    }

    void itRunsAnEventLoop()
    {
        RegisteredThread thread(nullptr, QString());
        QObject object;
        object.moveToThread(&thread);
        const QThread* ranOn = nullptr; // the thread sanitizer knows that what comes before the start is ordered
        thread.start();
        const auto call = [&] {
            ranOn = QThread::currentThread();
            object.moveToThread(nullptr);
        };
        QMetaObject::invokeMethod(&object, call, Qt::BlockingQueuedConnection);
        QVERIFY(thread.isRunning());
        QVERIFY(Quit(thread));
        QCOMPARE(ranOn, &thread);
    }

    void logThreads_data() { LogScenario::AddMasks({LoggerDefs::Warning}); }
    void logThreads()
    {
        QFETCH(int, mask);
        RegisteredThread twin(nullptr, QStringLiteral("twin"));
        RegisteredThread finished(nullptr, QStringLiteral("finished"));
        const RegisteredThread marked(nullptr, QStringLiteral("%1 %2"));
        const DerivedThread nameless(nullptr, QString());
        const DerivedThread otherTwin(nullptr, QStringLiteral("twin"));
        finished.start();
        QVERIFY(Quit(finished));
        twin.start();
        const Lines running = LoggedBy([] { RegisteredThread::LogThreads(); }, mask);
        QVERIFY(Quit(twin));
        const Lines lines{LineOf("twin", 1), LineOf("finished"), LineOf("%1 %2"), LineOf(""), LineOf("twin")};
        QCOMPARE(running, LogScenario::Passing(lines, mask));
    }

    void theListIsInOrderOfConstruction()
    {
        auto parent = std::make_unique<QObject>();
        RegisteredThread first(nullptr, QStringLiteral("1"));
        auto* const second = new RegisteredThread(parent.get(), QStringLiteral("2"));
        auto third = std::make_unique<RegisteredThread>(nullptr, QStringLiteral("3"));
        QCOMPARE(Listed(), (Lines{LineOf("1"), LineOf("2"), LineOf("3")}));
        QCOMPARE(second->parent(), parent.get());
        parent.reset();
        QCOMPARE(Listed(), (Lines{LineOf("1"), LineOf("3")}));
        third.reset();
        const RegisteredThread fourth(nullptr, QStringLiteral("4"));
        QCOMPARE(Listed(), (Lines{LineOf("1"), LineOf("4")}));
    }

    void logThreadsStopsWhenWarningsGoOff()
    {
        const RegisteredThread first(nullptr, QString(LogScenario::kOneBatch, QLatin1Char('1')));
        const RegisteredThread second(nullptr, QStringLiteral("second"));
        Captured log(LoggerDefs::Warning);
        log.iWhenComplete = [] { Logger::GetInstance()->SetLevel(kAllLevels ^ LoggerDefs::Warning); };
        RegisteredThread::LogThreads();
        QCOMPARE(log.Lines(), Lines{LineOf(QByteArray(LogScenario::kOneBatch, '1'))});
    }

    void destroyedAtRest()
    {
        Captured log;
        delete new RegisteredThread(nullptr, QStringLiteral("never ran"));
        {
            DerivedThread finished(nullptr, QStringLiteral("finished"));
            finished.start();
            QVERIFY(Quit(finished));
        }
        QCOMPARE(log.Lines(), Lines());
    }

    void destroyedWhileRunning_data()
    {
        QTest::addColumn<int>("mask");
        QTest::addColumn<QString>("name");
        QTest::newRow("only warnings") << int(LoggerDefs::Warning) << QStringLiteral("worker");
        QTest::newRow("all but warnings") << (kAllLevels ^ LoggerDefs::Warning) << QStringLiteral("worker");
        QTest::newRow("template marks") << kAllLevels << QStringLiteral("%1 %2");
    }
    // In a destructor the object has the class of that destructor. The framework, not the library, ends the process,
    // and by then the thread is no longer in the list.
    void destroyedWhileRunning()
    {
        QFETCH(int, mask);
        QFETCH(QString, name);
        const auto result = TestSupport::RunScenario("destroyRunning", {QString::number(mask), name});
        QVERIFY2(result.IsOk(), result.Describe().constData());
        Lines lines{"QThread: Destroyed while thread is still running"};
        if (mask & LoggerDefs::Warning)
            lines += "|30|Warning|RegisteredThread::~RegisteredThread|Thread: " + name.toUtf8()
                + " destroyed while running";
        lines += LineOf("other");
        QCOMPARE(result.iStdout, lines.join('\n'));
    }

    void theFlag()
    {
        const RegisteredThread before(nullptr, QStringLiteral("same"));
        RegisteredThread thread(nullptr, QStringLiteral("same"));
        thread.requestInterruption(); // the framework's flag is another
        QVERIFY(!thread.IsInterrupted());
        thread.SetInterrupted();
        thread.SetInterrupted();
        thread.start();
        QVERIFY(thread.IsInterrupted());
        QVERIFY(!thread.isInterruptionRequested());
        QVERIFY(Quit(thread));
        QVERIFY(thread.IsInterrupted());
        const RegisteredThread after(nullptr, QStringLiteral("same"));
        QVERIFY(!before.IsInterrupted() && !after.IsInterrupted());
    }

    void interrupting_data() { LogScenario::AddMasks({LoggerDefs::Debug}); }
    void interrupting()
    {
        QFETCH(int, mask);
        RegisteredThread plain(nullptr, QStringLiteral("plain"));
        DerivedThread derived(nullptr, QStringLiteral("%1"));
        Outer::NestedThread nested(nullptr, QString());
        const Lines lines{"|20|Debug|RegisteredThread::SetInterrupted|plain",
                          "|20|Debug|DerivedThread::SetInterrupted|%1",
                          "|20|Debug|Outer::NestedThread::SetInterrupted|"};
        const auto interruptAll = [&] {
            for (RegisteredThread* const thread :
                 {&plain, static_cast<RegisteredThread*>(&derived), static_cast<RegisteredThread*>(&nested)})
                thread->SetInterrupted();
        };
        QCOMPARE(LoggedBy(interruptAll, mask), LogScenario::Passing(lines, mask));
        QVERIFY(plain.IsInterrupted() && derived.IsInterrupted() && nested.IsInterrupted());
    }

    void interruptingLogsBeforeItSetsTheFlag()
    {
        RegisteredThread thread(nullptr, QString(LogScenario::kOneBatch, QLatin1Char('n')));
        bool wasInterrupted = true;
        Captured log;
        log.iWhenComplete = [&] { wasInterrupted = thread.IsInterrupted(); };
        thread.SetInterrupted();
        QVERIFY(!wasInterrupted);
        QVERIFY(thread.IsInterrupted());
    }
};

NEROLT_TEST_MAIN(tst_RegisteredThread)

#include "tst_RegisteredThread.moc"
