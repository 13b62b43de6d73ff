#include "QtMessages.h"

#include <NeroltOrvaneBase/Logger.h>
#include <NeroltOrvaneBase/RegisteredThread.h>

#include <QtCore/QByteArray>

namespace {

constexpr unsigned int kCriticalCode = 9001;
constexpr unsigned int kFatalCode = 9002;

QtMessageHandler gPrevious = nullptr;

// The logging thread must not wait for the log, which may wait for it.
bool IsLoggingThread()
{
    const auto* const thread = qobject_cast<RegisteredThread*>(QThread::currentThread());
    return thread && thread->Name() == QLatin1String("logging thread");
}

void Log(QtMsgType type, const char* category, const QString& message)
{
    const QByteArray func = QByteArray("Qt(") + category + ')';
    switch (type) {
    case QtDebugMsg:
        return Logger::LogDebug(func, message);
    case QtInfoMsg:
        return Logger::LogInformation(func, message);
    case QtWarningMsg:
        return Logger::LogWarning(func, message);
    case QtCriticalMsg:
        return Logger::LogError(kCriticalCode, LoggerDefs::NoExtraInfo, func, message, 0, 0);
    case QtFatalMsg:
        return Logger::LogException(kFatalCode, func, message, 0);
    }
}

// Messages that are logged while one is handled do not get here: Qt prints them.
void Handle(QtMsgType type, const QMessageLogContext& context, const QString& message)
{
    const bool isLoggingThread = IsLoggingThread();
    const bool isLogged = !isLoggingThread && Logger::GetInstance()->GetLevel() != 0;
    if (isLogged)
        Log(type, context.category, message);
    if (type == QtFatalMsg && !isLoggingThread)
        Logger::StopLogging(); // the process ends when this returns
    if (type == QtFatalMsg || !isLogged)
        gPrevious(type, context, message);
}

} // namespace

void QtMessages::Install()
{
    Logger::GetInstance(); // this thread's event loop drives the log
    if (!gPrevious)
        gPrevious = qInstallMessageHandler(Handle);
}
