#include "Lines.h"
#include "RunningLog.h"
#include "support/LogScenario.h"
#include "support/StartedLog.h"

#include <NeroltOrvaneBase/IErrorReporter.h>
#include <NeroltOrvaneBase/RegisteredThread.h>

#include <QtCore/QTimerEvent>
#include <QtTest/QtTest>

#include <atomic>
#include <cerrno>
#include <csignal>
#include <cstdarg>
#include <cstring>
#include <dlfcn.h>
#include <fcntl.h>
#include <sys/resource.h>
#include <unistd.h>

using namespace Lines;
using namespace StartedLog;
using TestSupport::Scenario;

namespace {

std::atomic<bool> gNoThreads{false};
std::atomic<bool> gBrokenPipe{false};

template <typename Function>
Function* Original(Function*, const char* name)
{
    return reinterpret_cast<Function*>(::dlsym(RTLD_NEXT, name));
}

// The write end of a pipe without a reader.
int BrokenPipe()
{
    int ends[2] = {-1, -1};
    if (::pipe(ends) != 0)
        return -1;
    ::close(ends[0]);
    return ends[1];
}

// Does what the agent's timer does.
void Tick()
{
    QTimerEvent event(1);
    QCoreApplication::sendEvent((Logger::GetInstance()->*Logger_iAgent()).load(), &event);
}

// --- The system refuses threads

const Scenario noThread("noThread", [](const QStringList&) {
    gNoThreads = true;
    Start();
    SayTen(0);
    (Logger::GetInstance()->*Logger_iAgent()).load()->SendBufferToThread();
    SayTen(10);
    Logger::StopLogging();
    return 0;
});

const Scenario noThreadAtAChange("noThreadAtAChange", [](const QStringList&) {
    gNoThreads = true;
    Start(QStringLiteral("before.log"));
    SayTen(0);
    Logger::SetLoggerFileName(kLog, true);
    gNoThreads = false;
    Logger::SetLoggerFileName(QStringLiteral("after.log"), true);
    SayTen(10);
    RunningLog::HandOver();
    Logger::StopLogging();
    return 0;
});

// The log tries again.
const Scenario threadLater("threadLater", [](const QStringList&) {
    gNoThreads = true;
    Start();
    SayTen(0);
    Tick();
    gNoThreads = false;
    Tick();
    RunningLog::HandOver();
    ::_exit(0);
    return 0;
});

// --- Signals of a write

bool IsIn(const sigset_t& set, int signal)
{
    return sigismember(&set, signal) == 1;
}

// The host's threads keep their masks.
const Scenario brokenPipe("brokenPipe", [](const QStringList&) {
    Start();
    SayTen(0);
    RunningLog::HandOver();
    gBrokenPipe = true;
    SayTen(10);
    RunningLog::HandOver();
    gBrokenPipe = false;
    SayTen(20);
    sigset_t mask;
    ::pthread_sigmask(SIG_BLOCK, nullptr, &mask);
    Logger::StopLogging();
    return IsIn(mask, SIGPIPE) || IsIn(mask, SIGXFSZ) ? 1 : 0;
});

// If the stop writes itself, it restores the caller's mask, and leaves no new pending signal.
const Scenario signalsAtAStopWithoutAThread("signalsAtAStopWithoutAThread", [](const QStringList& arguments) {
    const bool hasOwn = arguments.contains(QStringLiteral("own"));
    if (hasOwn) {
        sigset_t own;
        sigemptyset(&own);
        sigaddset(&own, SIGPIPE);
        ::pthread_sigmask(SIG_BLOCK, &own, nullptr);
        ::raise(SIGPIPE);
    }
    gNoThreads = true;
    Start();
    SayTen(0);
    gBrokenPipe = arguments.contains(QStringLiteral("pipe"));
    if (!gBrokenPipe) {
        const struct rlimit none = {0, RLIM_INFINITY};
        ::setrlimit(RLIMIT_FSIZE, &none);
    }
    Logger::StopLogging();
    sigset_t mask;
    sigset_t pending;
    ::pthread_sigmask(SIG_BLOCK, nullptr, &mask);
    ::sigpending(&pending);
    const bool isAsBefore = IsIn(mask, SIGPIPE) == hasOwn && IsIn(pending, SIGPIPE) == hasOwn && !IsIn(mask, SIGXFSZ)
        && !IsIn(pending, SIGXFSZ);
    return isAsBefore ? 0 : 1;
});

// --- A thread that is terminated while it logs

class CancellingReporter final : public IErrorReporter
{
public:
    void ReportError(const QString&, const QString&) override
    {
        iCalled = true;
        RegisteredThread::LogThreads();
        ::pthread_testcancel();
    }

    std::atomic<bool> iCalled{false};
};

// The thread's termination is pending when it calls functions that must not be unwound. Each line reaches a place where
// it would take effect.
const Scenario terminatedInTheList("terminatedInTheList", [](const QStringList&) {
    Start();
    Logger::GetInstance()->SetLevel(kAlwaysOn | LoggerDefs::Debug);
    Logger::SetFlushLevels(LoggerDefs::Warning | LoggerDefs::Debug);
    LoggerAgent* const agent = (Logger::GetInstance()->*Logger_iAgent()).load();
    int places = 0;
    const auto place = QObject::connect(agent, &LoggerAgent::logMessage, [&places] {
        ++places;
        ::pthread_testcancel();
    });
    RegisteredThread listed(nullptr, QStringLiteral("listed"));
    std::atomic<bool> hasBegun{false};
    std::atomic<bool> isTerminated{false};
    bool hasReturned = false;
    const std::unique_ptr<QThread> thread(QThread::create([&] {
        hasBegun = true;
        while (!isTerminated)
            QThread::yieldCurrentThread();
        listed.SetInterrupted();
        RegisteredThread::LogThreads();
        hasReturned = true;
        ::pthread_setcancelstate(PTHREAD_CANCEL_DISABLE, nullptr); // the framework's own end does not bear it
    }));
    thread->start();
    while (!hasBegun)
        QThread::yieldCurrentThread();
    thread->terminate();
    isTerminated = true;
    if (!thread->wait(30000) || !hasReturned || places < 2)
        return 1;
    QObject::disconnect(place);
    Logger::GetInstance()->SetLevel(kAlwaysOn);
    SayTen(0);
    Logger::StopLogging();
    return 0;
});

const Scenario terminated("terminated", [](const QStringList&) {
    CancellingReporter reporter;
    Start();
    Logger::SetErrorReporter(&reporter);
    const std::unique_ptr<QThread> thread(QThread::create([] {
        for (;;)
            Logger::LogError(1, LoggerDefs::NoExtraInfo, "F", QStringLiteral("again"), 0, 0);
    }));
    thread->start();
    while (!reporter.iCalled)
        QThread::yieldCurrentThread();
    thread->terminate();
    if (!thread->wait(30000))
        return 1;
    SayTen(0);
    Logger::StopLogging();
    return 0;
});

} // namespace

extern "C" Q_DECL_EXPORT int pthread_create(pthread_t* thread, const pthread_attr_t* attributes, void* (*run)(void*),
                                            void* argument) noexcept
{
    static auto* const original = Original(&pthread_create, "pthread_create");
    return gNoThreads ? EAGAIN : original(thread, attributes, run, argument);
}

extern "C" Q_DECL_EXPORT int open(const char* path, int flags, ...)
{
    using Open = int(const char*, int, ...);
    static auto* const original = reinterpret_cast<Open*>(::dlsym(RTLD_NEXT, "open"));
    va_list arguments;
    va_start(arguments, flags);
    const auto mode = va_arg(arguments, unsigned int);
    va_end(arguments);
    return gBrokenPipe && std::strstr(path, "app.log") ? BrokenPipe() : original(path, flags, mode);
}

// What the system refuses, what it sends, and what the host does to its own threads: the host and the log continue.
class tst_HostLives : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void hostAndLogContinue_data()
    {
        QTest::addColumn<QString>("scenario");
        QTest::addColumn<QStringList>("arguments");
        QTest::addColumn<QList<int>>("numbers"); // of the lines in the logs, by their names
        const auto row
            = [](const char* name, const char* scenario, const QStringList& arguments, const QList<int>& numbers) {
                  QTest::newRow(name) << QString(scenario) << arguments << numbers;
              };
        row("no thread: the stop writes", "noThread", {}, Expected(0, 20));
        // The lines in the buffer at a change begin the next file: after.log, app.log and before.log.
        row("no thread: a change of files writes", "noThreadAtAChange", {},
            Expected(0, 20) + Expected(0, 10) + Expected(0, 10));
        row("the thread is asked for again", "threadLater", {}, Expected(0, 10));
        row("pipe without a reader", "brokenPipe", {}, Expected(0, 10) + Expected(20, 30));
        const char* const signalsAtAStop = "signalsAtAStopWithoutAThread";
        row("pipe at the stop", signalsAtAStop, {"pipe"}, {});
        row("limit of the file's size at the stop", signalsAtAStop, {"size"}, {});
        row("pipe, with a signal of the host's pending", signalsAtAStop, {"pipe", "own"}, {});
        row("limit, with a signal of the host's pending", signalsAtAStop, {"size", "own"}, {});
        row("thread is terminated in the reporter", "terminated", {}, Expected(0, 10));
        row("thread is terminated in the list of threads", "terminatedInTheList", {}, Expected(0, 10));
    }
    void hostAndLogContinue()
    {
        QFETCH(QString, scenario);
        QFETCH(QStringList, arguments);
        const auto result = TestSupport::RunScenario(scenario.toLatin1().constData(), arguments);
        QVERIFY2(result.IsOk(), result.Describe());
        QList<int> numbers;
        for (const QString& name : result.iFolder.entryList({QStringLiteral("*.log")}, QDir::Files, QDir::Name))
            numbers += Numbers(LogText::Read(result.iFolder.filePath(name)));
        QTEST(numbers, "numbers");
    }
};

NEROLT_TEST_MAIN(tst_HostLives)

#include "tst_HostLives.moc"
