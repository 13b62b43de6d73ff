#include "Lines.h"
#include "support/LogScenario.h"
#include "support/Others.h"
#include "support/StartedLog.h"

#include <NeroltOrvaneBase/RegisteredThread.h>

#include <QtCore/QAbstractEventDispatcher>
#include <QtTest/QtTest>

#include <sys/wait.h>
#include <unistd.h>

using namespace Lines;
using namespace StartedLog;
using TestSupport::Scenario;

namespace {

// Whether so many children, one after the other, came to their end.
template <typename Child>
bool Fork(int times, const Child& child)
{
    constexpr int isAtItsEnd = 7;
    for (int i = 0; i < times; ++i) {
        const pid_t process = ::fork();
        if (process == 0) {
            child();
            ::_exit(isAtItsEnd);
        }
        int status = 0;
        if (::waitpid(process, &status, 0) != process || !WIFEXITED(status) || WEXITSTATUS(status) != isAtItsEnd)
            return false;
    }
    return true;
}

// It has no logging thread: its lines stay in its buffer and are lost.
const Scenario running("running", [](const QStringList&) {
    Start();
    SayTen(0);
    const bool ended = Fork(5, [] {
        SayTen(100);
        Logger::GetInstance()->SetLevel(kAlwaysOn | LoggerDefs::Debug);
        Logger::GetLoggerFileName();
    });
    SayTen(10);
    Logger::StopLogging();
    return ended ? 0 : 1;
});

// Other threads hold the locks during the fork, and are not in the child to release them.
// The child continues with the event loop that drove the log's timer.
const Scenario underLoad("underLoad", [](const QStringList&) {
    Start();
    LoggerAgent* const agent = (Logger::GetInstance()->*Logger_iAgent()).load();
    const auto hasTimer = [agent] { return !QAbstractEventDispatcher::instance()->registeredTimers(agent).isEmpty(); };
    if (!hasTimer())
        return 2;
    bool ended = false;
    {
        const Others others(3, &Lines::Say);
        ended = Fork(50, [&hasTimer] {
            if (hasTimer())
                ::_exit(1);
            SayTen(0);
            Logger::StopLogging();
        });
    }
    Logger::StopLogging();
    return ended ? 0 : 1;
});

// It may use the log in any way, with a file of its own.
const Scenario beforeTheStart("beforeTheStart", [](const QStringList&) {
    Logger::GetInstance()->SetLevel(kAlwaysOn);
    SayTen(0);
    const bool ended = Fork(1, [] {
        Logger::SetLoggerFileName(QStringLiteral("child.log"), false);
        SayTen(100);
        Logger::StopLogging();
    });
    Logger::SetLoggerFileName(kLog, false);
    SayTen(10);
    Logger::StopLogging();
    return ended ? 0 : 1;
});

// The thread that forks is the only one that the child has.
const Scenario onAListedThread("onAListedThread", [](const QStringList&) {
    class Forking : public RegisteredThread
    {
    public:
        using RegisteredThread::RegisteredThread;
        bool iEnded = false;

    private:
        void run() override
        {
            iEnded = Fork(1, [] {
                Start();
                RegisteredThread::LogThreads();
                Logger::StopLogging();
            });
        }
    };
    const RegisteredThread other(nullptr, QStringLiteral("of the parent"));
    Forking forking(nullptr, QStringLiteral("forks"));
    forking.start();
    return forking.wait() && forking.iEnded ? 0 : 1;
});

// Other threads log, list threads and create new ones during the forks.
const Scenario beforeTheStartUnderLoad("beforeTheStartUnderLoad", [](const QStringList& arguments) {
    const bool logs = arguments.contains("others log");
    if (logs)
        Logger::GetInstance()->SetLevel(kAlwaysOn);
    const Others others(3, [logs](int thread, int number) {
        if (logs)
            Lines::Say(thread, number);
        const RegisteredThread made(nullptr, QStringLiteral("of another"));
        RegisteredThread::LogThreads();
    });
    const bool ended = Fork(50, [] {
        RegisteredThread::LogThreads();
        Start();
        const RegisteredThread own(nullptr, QStringLiteral("of the child"));
        RegisteredThread::LogThreads();
        SayTen(0);
        Logger::StopLogging();
    });
    return ended ? 0 : 1;
});

const Scenario afterTheStop("afterTheStop", [](const QStringList&) {
    Start();
    SayTen(0);
    Logger::StopLogging();
    const bool ended = Fork(1, [] {
        SayTen(100);
        Logger::StopLogging();
        Logger::Cleanup();
    });
    return ended ? 0 : 1;
});

} // namespace

// A forked process, which has none of the other threads.
class tst_HostForks : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void aChildSaysNothing_data()
    {
        QTest::addColumn<QList<int>>("numbers"); // of the lines in the log of the process
        QTest::newRow("running") << Expected(0, 20);
        QTest::newRow("afterTheStop") << Expected(0, 10);
#ifndef NEROLT_SANITIZED // other threads hold the locks of their allocator during the fork, and it has no care for that
        QTest::newRow("underLoad") << QList<int>();
#endif
    }
    void aChildSaysNothing()
    {
        const auto result = TestSupport::RunScenario(QTest::currentDataTag());
        QVERIFY2(result.IsOk(), result.Describe());
        QList<int> numbers;
        for (const QByteArray& body : LogScenario::LeftBy(result)) {
            const auto said = Lines::Whose(body);
            if (said && said->iThread == 0)
                numbers += said->iNumber;
        }
        QTEST(numbers, "numbers");
    }

    void aChildForkedBeforeTheStartHasALogOfItsOwn()
    {
        const auto result = TestSupport::RunScenario("beforeTheStart");
        QVERIFY2(result.IsOk(), result.Describe());
        const auto numbers = [&result](const char* name) {
            return Numbers(LogText::Read(result.iFolder.filePath(QString::fromLatin1(name))));
        };
        QCOMPARE(numbers("app.log"), Expected(0, 20));
        QCOMPARE(numbers("child.log"), Expected(0, 10) + Expected(100, 110));
    }

    void aChildListsTheThreadThatForked()
    {
        const auto result = TestSupport::RunScenario("onAListedThread");
        const QList<QByteArray> lines = LogScenario::LeftBy(result);
        const QByteArray thread = "|30|Warning|RegisteredThread::LogThreads|Thread: ";
        QVERIFY2(lines.contains(thread + "forks, running: 1"), lines.join('\n'));
        QVERIFY2(!lines.contains(thread + "of the parent, running: 0"), lines.join('\n'));
    }

#ifndef NEROLT_SANITIZED // as above
    void aChildForkedBeforeTheStartUnderLoadLogsAndListsThreads_data()
    {
        QTest::addColumn<QString>("what");
        for (const char* what : {"others log", "nobody has logged"})
            QTest::newRow(what) << QString(what);
    }
    void aChildForkedBeforeTheStartUnderLoadLogsAndListsThreads()
    {
        QFETCH(QString, what);
        const auto result = TestSupport::RunScenario("beforeTheStartUnderLoad", {what});
        QVERIFY2(result.IsOk(), result.Describe());
        const QByteArray text = LogText::Read(result.iFolder.filePath(kLog));
        QCOMPARE(text.count("|RegisteredThread::LogThreads|Thread: of the child, running: 0\n"), 50);
        QVERIFY(Numbers(text).size() >= 50 * Expected(0, 10).size());
    }
#endif
};

NEROLT_TEST_MAIN(tst_HostForks)

#include "tst_HostForks.moc"
