#include "RunningLog.h"
#include "support/LogText.h"
#include "support/ShortMemory.h"
#include "support/TestMain.h"

#include <NeroltOrvaneBase/FileUtilities.h>
#include <NeroltOrvaneBase/Logger.h>
#include <NeroltOrvaneBase/RegisteredThread.h>
#include <NeroltOrvaneBase/StackTrace.h>

#include <QtCore/QDateTime>
#include <QtTest/QtTest>

#include <csignal>
#include <cstring>
#include <dlfcn.h>
#include <functional>
#include <iterator>
#include <memory>
#include <sys/wait.h>
#include <unistd.h>

using TestSupport::Scenario;

namespace {

const QString kLog = QStringLiteral("app.log");
constexpr int kLevels = LoggerDefs::Information | LoggerDefs::Warning | LoggerDefs::Error | LoggerDefs::Exception;

// The outcome of a run.
constexpr int kRefused = 0;
constexpr int kNotAsked = 3; // the run made fewer allocations: the test is done
constexpr int kFrameworkCrashed = 4;

// In some places the framework writes to memory that it did not get. The function that crashed distinguishes that from
// a crash of ours.
void TellTheFrameworksCrash(int, siginfo_t*, void* context)
{
    Dl_info info = {};
    const auto* const at = reinterpret_cast<void*>(static_cast<ucontext_t*>(context)->uc_mcontext.gregs[REG_RIP]);
    if (::dladdr(at, &info) != 0 && std::strstr(info.dli_fname, "/libQt" QT_STRINGIFY(QT_VERSION_MAJOR) "Core.so"))
        ::_exit(kFrameworkCrashed);
    std::signal(SIGSEGV, SIG_DFL);
}

void AllowTheFrameworkToCrash()
{
    struct sigaction action = {};
    action.sa_flags = SA_SIGINFO;
    action.sa_sigaction = TellTheFrameworksCrash;
    ::sigaction(SIGSEGV, &action, nullptr);
}

// Memory runs out during one call of the log. Afterwards there is enough, and the log works.
int WhileShort(const QStringList& arguments, bool runs, const std::function<void()>& call)
{
    AllowTheFrameworkToCrash();
    Logger::GetInstance()->SetLevel(kLevels);
    if (runs)
        Logger::SetLoggerFileName(QStringLiteral("before.log"), false);
    Logger::LogWarning("F", QStringLiteral("before"));
    const bool refused = ShortMemory::Refuse(arguments.value(0).toInt(), arguments.value(1).toInt(), call);
    Logger::SetLoggerFileName(kLog, runs); // a failed start sets no name
    Logger::LogWarning("F", QStringLiteral("after"));
    Logger::StopLogging();
    return refused ? kRefused : kNotAsked;
}

const Scenario start("start", [](const QStringList& arguments) {
    return WhileShort(arguments, false, [] { Logger::SetLoggerFileName(kLog, false); });
});

const Scenario change("change", [](const QStringList& arguments) {
    return WhileShort(arguments, true, [] { Logger::SetLoggerFileName(kLog, true); });
});

const Scenario line("line", [](const QStringList& arguments) {
    const QString text(6000, QLatin1Char('x'));
    return WhileShort(arguments, true, [text] {
        Logger::LogError(1, LoggerDefs::ExtraText, "F", text, text);
        Logger::LogInformation("F", text);
    });
});

const Scenario stop("stop", [](const QStringList& arguments) {
    return WhileShort(arguments, true, [] { Logger::StopLogging(); });
});

// Memory runs out in the class's own part only: without the framework's part there is no thread.
const Scenario thread("thread", [](const QStringList& arguments) {
    const int frameworks = ShortMemory::Count([] { QThread probe; });
    Logger::GetInstance()->SetLevel(kLevels | LoggerDefs::Debug);
    Logger::SetLoggerFileName(kLog, false);
    const QString name = QStringLiteral("worker");
    alignas(RegisteredThread) unsigned char memory[sizeof(RegisteredThread)];
    RegisteredThread* worker = nullptr;
    const int more = arguments.value(1).toInt();
    const bool refused = ShortMemory::Refuse(arguments.value(0).toInt() + frameworks, more, [&] {
        worker = new (memory) RegisteredThread(nullptr, name);
        worker->SetInterrupted();
        RegisteredThread::LogThreads();
    });
    worker->start();
    const bool works = worker->IsInterrupted() && worker->Name() == name && worker->isRunning();
    ShortMemory::Refuse(arguments.value(0).toInt(), more, [&] { RegisteredThread::LogThreads(); });
    worker->quit();
    worker->wait();
    worker->~RegisteredThread();
    Logger::StopLogging();
    return !works ? 1 : refused ? kRefused : kNotAsked;
});

// Writing a batch allocates nothing, a rotation does.
const Scenario writer("writer", [](const QStringList& arguments) {
    AllowTheFrameworkToCrash();
    Logger::GetInstance()->SetLevel(kLevels);
    Logger::SetLoggerFileName(kLog, false);
    Logger::LogWarning("F", QStringLiteral("before"));
    RunningLog::HandOver();
    ShortMemory::RefuseThread("RegisteredThrea", arguments.value(0).toInt(), arguments.value(1).toInt());
    FileUtilities::SetTime(kLog, QDateTime::currentDateTime().addDays(-2), FileTimeCreation, false);
    for (int i = 0; i < 5; ++i) {
        Logger::LogWarning("F", QStringLiteral("meanwhile"));
        RunningLog::HandOver();
    }
    const bool refused = ShortMemory::HasRefusedThread();
    ShortMemory::RefuseThread("", 0, 0);
    Logger::LogWarning("F", QStringLiteral("after"));
    Logger::StopLogging();
    return refused ? kRefused : kNotAsked;
});

// Whatever the trace says of itself in the log.
const Scenario trace("trace", [](const QStringList&) {
    Logger::SetLoggerFileName(kLog, false);
    for (const int mask : {0, int(LoggerDefs::Trace), int(LoggerDefs::Debug)}) {
        Logger::GetInstance()->SetLevel(mask);
        QString text;
        const auto call = [&text] { text = StackTrace::TraceCode(); };
        ShortMemory::Refuse(ShortMemory::kForGood, 0, call); // the framework needs memory the first time
        const auto frames = text.count(QLatin1Char('\n'));
        int number = 0;
        while (ShortMemory::Refuse(number, ShortMemory::kForGood, call))
            ++number;
        if (number < 10 || frames == 0 || text.count(QLatin1Char('\n')) != frames)
            return 1;
    }
    Logger::StopLogging();
    return 0;
});

// In the log and in the rotated files.
QByteArray Written(const QDir& folder)
{
    QByteArray text;
    for (const QString& name : folder.entryList({QStringLiteral("app*.log")}))
        text += LogText::Read(folder.filePath(name));
    return text;
}

// The logging thread gets no memory when it ends.
const Scenario writersEnd("writersEnd", [](const QStringList& arguments) {
    Logger::GetInstance()->SetLevel(kLevels);
    Logger::SetLoggerFileName(kLog, false);
    Logger::LogWarning("F", QStringLiteral("before"));
    RunningLog::HandOver();
    Logger::LogWarning("F", QStringLiteral("after"));
    ShortMemory::RefuseThread("RegisteredThrea", arguments.value(0).toInt(), arguments.value(1).toInt());
    Logger::StopLogging();
    return ShortMemory::HasRefusedThread() ? kRefused : kNotAsked;
});

// The logging thread gets no memory from its start on, as long as the log runs.
const Scenario writerWithout("writerWithout", [](const QStringList&) {
    ShortMemory::RefuseThread("RegisteredThrea", 0, ShortMemory::kForGood);
    Logger::GetInstance()->SetLevel(kLevels);
    Logger::SetLoggerFileName(kLog, false);
    Logger::LogWarning("F", QStringLiteral("after"));
    Logger::StopLogging();
    return 0;
});

// The very first use of the log.
const Scenario firstUse("firstUse", [](const QStringList& arguments) {
    const QString text = QStringLiteral("first");
    const std::function<void()> calls[] = {
        [&] { Logger::LogWarning("F", text); },
        [&] { Logger::LogError(1, LoggerDefs::ExtraText, "F", text, text); },
        [&] { Logger::SetLoggerFileName(kLog, false); },
        [] { Logger::StopLogging(); },
        [] { Logger::SetErrorReporter(nullptr); },
        [] { Logger::SetStackTrace(true); },
        [] { Logger::ResetLoggingLevel(kLevels); },
        [] { Logger::LoggingEnabledTrace(); },
        [] { Logger::GetLoggerFileName(); },
    };
    AllowTheFrameworkToCrash();
    const int number = arguments.value(0).toInt();
    const int count = int(std::size(calls));
    const bool refused = ShortMemory::Refuse(number / count, arguments.value(1).toInt(), calls[number % count]);
    return refused || number % count != count - 1 ? kRefused : kNotAsked;
});

// A forked process that gets no memory.
const Scenario copy("copy", [](const QStringList& arguments) {
    if (arguments.value(0).toInt() > 20)
        return kNotAsked;
    Logger::GetInstance()->SetLevel(kLevels);
    int status = -1;
    ShortMemory::Refuse(arguments.value(0).toInt(), arguments.value(1).toInt(), [&status] {
        const pid_t child = ::fork();
        if (child == 0)
            ::_exit(0);
        ::waitpid(child, &status, 0);
    });
    return status == 0 ? kRefused : 1;
});

} // namespace

// Each allocation fails in turn, alone or with many that follow.
class tst_NoMemory : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void noExceptionLeaves_data()
    {
        QTest::addColumn<QString>("scenario");
        QTest::newRow("stop of a thread without memory") << "writerWithout"; // what did not fit is dropped
        QTest::newRow("stack trace") << "trace";
    }
    void noExceptionLeaves()
    {
        QFETCH(QString, scenario);
        const auto result = TestSupport::RunScenario(scenario.toLatin1().constData());
        QVERIFY2(result.IsOk(), result.Describe());
    }

    void nobodyEndsAndNothingHangs_data()
    {
        QTest::addColumn<QString>("scenario");
        QTest::addColumn<int>("more");
        QTest::addColumn<int>("least");
        constexpr int kForAWhile = 5;
        const auto rows = [](const char* what, const char* scenario, int least, int more = ShortMemory::kForGood) {
            QTest::addRow("%s, once", what) << QString(scenario) << 0 << least;
            QTest::addRow("%s, and later ones", what) << QString(scenario) << more << least;
        };
        rows("start", "start", 20, kForAWhile);
        rows("change of files", "change", 20, kForAWhile);
        rows("line", "line", 2);
        rows("stop", "stop", 3);
        rows("registered thread", "thread", 3);
        rows("logging thread", "writer", 3, kForAWhile);
        rows("end of the logging thread", "writersEnd", 0);
        rows("first use", "firstUse", 9);
        rows("copy", "copy", 5);
    }
    void nobodyEndsAndNothingHangs()
    {
        QFETCH(QString, scenario);
        QFETCH(int, more);
        QFETCH(int, least);
        const QList<int> exitCodes{kRefused, kNotAsked, kFrameworkCrashed};
        const bool hasAfter = !QStringList{"stop", "thread", "firstUse", "copy"}.contains(scenario);
        int number = 0;
        int exitCode = kRefused;
        while (exitCode != kNotAsked) {
            const auto result = TestSupport::RunScenario(scenario.toLatin1().constData(),
                                                         {QString::number(number), QString::number(more)});
            exitCode = result.iExitCode;
            const QByteArray told = "allocation " + QByteArray::number(number) + ": " + result.Describe();
            QVERIFY2(!result.iTimedOut && !result.iCrashed && exitCodes.contains(exitCode), told);
            if (hasAfter && exitCode != kFrameworkCrashed)
                QVERIFY2(Written(result.iFolder).contains("|30|Warning|F|after\n"), told);
            ++number;
        }
        QVERIFY2(number > least, QByteArray::number(number));
    }
};

NEROLT_TEST_MAIN(tst_NoMemory)

#include "tst_NoMemory.moc"
