// The log: levels, codes, an error reporter, a change of the level, and a stack trace.
#include <NeroltOrvaneBase/Logging.h>

#include <QtCore/QCoreApplication>
#include <QtCore/QDir>
#include <QtCore/QTemporaryDir>
#include <QtCore/QTextStream>

namespace {

// Receives errors and exceptions, with a code that says more than the line in the log.
class Reporter final : public IErrorReporter
{
public:
    void ReportError(const QString& errorCode, const QString& message) override
    {
        QTextStream(stdout) << "reported: " << errorCode << ", " << message << '\n';
    }
};

} // namespace

int main(int argc, char** argv)
{
    const QCoreApplication application(argc, argv);
    const QTemporaryDir folder;
    QDir::setCurrent(folder.path());

    // First of all and on the main thread, whose event loop drives the log. A new log accepts errors and exceptions
    // only.
    Logger::GetInstance()->SetLevel(LoggerDefs::Information | LoggerDefs::Warning | LoggerDefs::Error);
    Reporter reporter;
    Logger::SetErrorReporter(&reporter);
    Logger::SetLoggerFileName("app.log", false);

    Logger::LogInformation("main", "up and running");
    if (Logger::GetInstance()->GetLevel() & LoggerDefs::Debug) // debug is off: the message is not built
        Logger::LogDebug("main", QString("arguments %1").arg(argc));
    Logger::LogWarning("Cache::Load", "what has two \r\nlines becomes one");
    Logger::LogError(4711, LoggerDefs::FirstIntDec, "Cache::Load", "disk is full", 28, 0);
    Logger::LogError(4712, LoggerDefs::ExtraText, "Cache::Load", "no such file", QString("cache.xml"));

    Logger::ResetLoggingLevel(LoggerDefs::Warning); // logs the change
    Logger::LogInformation("main", "nobody will read this");
    Logger::LogWarning("main", "but this");

    Logger::SetErrorReporter(nullptr);
    Logger::StopLogging(); // everything is in the file when it returns
    Logger::LogWarning("main", "nor this");

    QFile log("app.log");
    if (!log.open(QIODevice::ReadOnly))
        return 1;
    QTextStream(stdout) << log.readAll() << StackTrace::TraceCode(); // ... and who called
    return 0;
}
