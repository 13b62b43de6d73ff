#include "TestMain.h"

#include <QtCore/QMap>
#include <QtCore/QProcess>
#include <QtCore/QTemporaryDir>

#include <cstdio>

namespace {

using Run = std::function<int(const QStringList&)>;

constexpr const char* kScenarioOption = "--scenario";
constexpr int kScenarioTimeoutMs = 60000;

QMap<QString, Run>& Scenarios()
{
    static QMap<QString, Run> scenarios;
    return scenarios;
}

int RunNamedScenario(const QStringList& arguments)
{
    const Run run = Scenarios().value(arguments.value(2));
    if (run)
        return run(arguments.mid(3));
    std::fprintf(stderr, "no scenario %s\n", qPrintable(arguments.value(2)));
    return 99;
}

void MoveHomeTo(const QString& folder)
{
    qputenv("HOME", folder.toLocal8Bit());
    for (const char* name :
         {"XDG_CONFIG_HOME", "XDG_DATA_HOME", "XDG_CACHE_HOME", "XDG_STATE_HOME", "XDG_RUNTIME_DIR", "TMPDIR"})
        qputenv(name, folder.toLocal8Bit());
    QDir::setCurrent(folder);
}

} // namespace

TestSupport::Scenario::Scenario(const char* name, Run run)
{
    Scenarios().insert(QString::fromLatin1(name), std::move(run));
}

// The framework cuts long messages, so that a report of a sanitizer would lose its second half.
QByteArray TestSupport::ScenarioResult::Describe() const
{
    if (!IsOk())
        std::fputs(iStderr.constData(), stderr);
    return "timed out " + QByteArray::number(iTimedOut) + ", crashed " + QByteArray::number(iCrashed) + ", exit code "
        + QByteArray::number(iExitCode) + "\nstdout:\n" + iStdout + "\nstderr:\n" + iStderr;
}

QString TestSupport::Scratch()
{
    return QDir::homePath();
}

QString TestSupport::EnterFreshFolder()
{
    static int count = 0;
    const QString folder = QStringLiteral("test-%1").arg(++count);
    if (!QDir(Scratch()).mkdir(folder) || !QDir::setCurrent(QDir(Scratch()).filePath(folder)))
        qFatal("cannot enter %s", qPrintable(folder));
    return QDir::currentPath();
}

void TestSupport::StartScenario(QProcess& process, const char* name, const QStringList& arguments,
                                const QString& program)
{
    process.start(program, QStringList{QString::fromLatin1(kScenarioOption), QString::fromLatin1(name)} + arguments);
}

TestSupport::ScenarioResult TestSupport::RunScenario(const char* name, const QStringList& arguments,
                                                     const QString& program)
{
    static int count = 0;
    ScenarioResult result;
    const QString folder = QStringLiteral("scenario-%1").arg(++count);
    QDir(Scratch()).mkpath(folder);
    result.iFolder = QDir(QDir(Scratch()).filePath(folder));

    QProcess process;
    process.setWorkingDirectory(result.iFolder.path());
    StartScenario(process, name, arguments, program);
    result.iTimedOut = !process.waitForFinished(kScenarioTimeoutMs);
    if (result.iTimedOut) {
        process.kill();
        process.waitForFinished();
    }
    result.iCrashed = process.exitStatus() == QProcess::CrashExit;
    result.iExitCode = process.exitCode();
    result.iStdout = process.readAllStandardOutput();
    result.iStderr = process.readAllStandardError();
    return result;
}

int TestSupport::Main(int argc, char** argv, const std::function<int(int, char**)>& runTests)
{
    const bool isScenario = argc > 2 && qstrcmp(argv[1], kScenarioOption) == 0;
    if (isScenario) {
        QCoreApplication application(argc, argv);
        return RunNamedScenario(application.arguments());
    }
    QTemporaryDir scratch(QDir::tempPath() + QStringLiteral("/NeroltOrvaneBase-test"));
    if (!scratch.isValid()) {
        std::fprintf(stderr, "cannot make a scratch folder: %s\n", qPrintable(scratch.errorString()));
        return 1;
    }
    MoveHomeTo(scratch.path());
    QCoreApplication application(argc, argv);
    return runTests(argc, argv);
}
