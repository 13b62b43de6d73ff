#include "DiskFaults.h"
#include "Lines.h"
#include "Mounts.h"
#include "RunningLog.h"
#include "support/LogText.h"
#include "support/StartedLog.h"
#include "support/TestMain.h"

#include <NeroltOrvaneBase/Logger.h>

#include <QtCore/QFile>
#include <QtCore/QProcess>
#include <QtTest/QtTest>

#include <algorithm>
#include <cstdio>
#include <fcntl.h>
#include <sched.h>
#include <sys/resource.h>
#include <unistd.h>
#include <utility>

using TestSupport::Scenario;

namespace {

const Scenario fault("fault", [](const QStringList& arguments) {
    const DiskFaults::Outcome outcome = DiskFaults::Run(arguments.value(0));
    std::fprintf(stderr, "%s; %d lost, %d torn\n", outcome.iFault.constData(), outcome.iLost, outcome.iTorn);
    return outcome.iFault.isEmpty() ? 0 : 1;
});

const Scenario stopInFault("stopInFault", [](const QStringList& arguments) {
    DiskFaults::RunStop(arguments.value(0));
    return 0;
});

// Its blocks are reserved at once: without room a later store would be a signal.
const Scenario crashFile("crashFile", [](const QStringList&) {
    QDir().mkdir(QStringLiteral("disk"));
    if (!Mounts::MakePrivate() || !Mounts::MountSmall("disk", 64))
        return 1;
    if (Logger::SetCrashFile(QStringLiteral("disk/crash")) || !QDir(QStringLiteral("disk")).isEmpty())
        return 2;
    StartedLog::Start();
    Lines::Say(0, 0);
    Logger::StopLogging();
    return 0;
});

#ifndef NEROLT_SANITIZED
// The log needs a descriptor only for its file, so it can start while none is left.
const Scenario startWithoutDescriptors("startWithoutDescriptors", [](const QStringList&) {
    Logger::GetInstance()->SetLevel(LoggerDefs::Information);
    const int next = ::dup(STDIN_FILENO);
    ::close(next);
    struct rlimit limit = {};
    ::getrlimit(RLIMIT_NOFILE, &limit);
    const rlim_t before = std::exchange(limit.rlim_cur, rlim_t(next));
    if (next < 0 || ::setrlimit(RLIMIT_NOFILE, &limit) != 0 || ::dup(STDIN_FILENO) >= 0)
        return 1;
    Logger::SetLoggerFileName(QStringLiteral("app.log"), false);
    Logger::LogInformation("F", QStringLiteral("meanwhile"));
    RunningLog::HandOver();
    limit.rlim_cur = before;
    ::setrlimit(RLIMIT_NOFILE, &limit);
    Logger::LogInformation("F", QStringLiteral("afterwards"));
    RunningLog::HandOver();
    Logger::StopLogging();
    return 0;
});
#endif

// The sanitizer looks at an object of a class that is new to it through a pipe: it takes the object for a broken one
// when no descriptor is left.
void EachFault()
{
    QTest::addColumn<QString>("name");
    for (const QString& name : DiskFaults::Names()) {
#ifdef NEROLT_SANITIZED
        if (name == QLatin1String("no descriptor left"))
            continue;
#endif
        QTest::newRow(qPrintable(name)) << name;
    }
}

constexpr int kLines = 4000;
constexpr int kMoves = 40;

// Acts as another program that appends to the log and moves it away.
const Scenario intrude("intrude", [](const QStringList&) {
    for (int move = 0; move < kMoves; ++move) {
        const int file = ::open("app.log", O_WRONLY | O_APPEND | O_CREAT | O_CLOEXEC, 0666);
        const QByteArray line = "intruder " + QByteArray::number(move) + '\n';
        if (file < 0 || ::write(file, line.constData(), size_t(line.size())) != line.size() || ::close(file) != 0
            || ::rename("app.log", ("moved" + QByteArray::number(move) + ".log").constData()) != 0)
            return 1;
        while (::access("app.log", F_OK) != 0) // until the log has begun a new file
            ::sched_yield();
    }
    return 0;
});

const Scenario intrudedUpon("intrudedUpon", [](const QStringList&) {
    StartedLog::Start();
    QProcess other;
    TestSupport::StartScenario(other, "intrude");
    int number = 0;
    for (; number < kLines || other.state() != QProcess::NotRunning; ++number) {
        Lines::Say(0, number);
        if (number % 500 == 0)
            other.waitForFinished(1);
    }
    Logger::StopLogging();
    std::printf("%d\n", number);
    return other.exitStatus() == QProcess::NormalExit ? other.exitCode() : 1;
});

} // namespace

class tst_DiskFaults : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void faults_data() { EachFault(); }
    void faults()
    {
        QFETCH(QString, name);
        for (const char* const scenario : {"fault", "stopInFault"}) {
            const auto result = TestSupport::RunScenario(scenario, {name});
            QVERIFY2(result.IsOk(), result.Describe());
        }
    }

#ifndef NEROLT_SANITIZED
    void startsWithoutADescriptor()
    {
        const auto result = TestSupport::RunScenario("startWithoutDescriptors");
        QVERIFY2(result.IsOk(), result.Describe());
        QCOMPARE(LogText::Bodies(LogText::Read(result.iFolder.filePath(QStringLiteral("app.log")))),
                 (QList<QByteArray>{"|10|Information|F|afterwards",
                                    "|10|Information|Logger::StopLogging|stopping logging file path is app.log"}));
    }
#endif

    void aCrashFileNeedsRoom()
    {
        if (!Mounts::AreAllowed())
            QSKIP("this user may not mount", 0);
        const auto result = TestSupport::RunScenario("crashFile");
        QVERIFY2(result.IsOk(), result.Describe());
    }

    void anotherAppendsAndMovesTheLogAway()
    {
        const auto result = TestSupport::RunScenario("intrudedUpon");
        QVERIFY2(result.IsOk(), result.Describe());
        QByteArray text;
        for (const QString& name : result.iFolder.entryList({QStringLiteral("*.log")}))
            text += LogText::Read(result.iFolder.filePath(name));
        QList<int> found = Lines::Numbers(text);
        std::sort(found.begin(), found.end());
        QCOMPARE(found, Lines::Expected(0, result.iStdout.toInt()));
        for (int move = 0; move < kMoves; ++move)
            QCOMPARE(text.count("intruder " + QByteArray::number(move) + '\n'), 1);
        QCOMPARE(text.count('\n'), found.size() + kMoves + 1); // the line of the stop
    }
};

NEROLT_TEST_MAIN(tst_DiskFaults)

#include "tst_DiskFaults.moc"
