#include "QtMessages.h"

#include <NeroltOrvaneBase/Logger.h>
#include <NeroltOrvaneBase/RegisteredThread.h>

#include <QtCore/QByteArray>

namespace {

constexpr unsigned int kCriticalCode = 9001;
constexpr unsigned int kFatalCode = 9002;

QtMessageHandler gPrevious = nullptr;

// It must not wait for a log that waits for it.
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

// Messages that come of handling one do not get here: Qt prints them.
void Handle(QtMsgType type, const QMessageLogContext& context, const QString& message)
{
    const bool isLoggingThread = IsLoggingThread();
    const bool isLogged = !isLoggingThread && Logger::GetInstance()->GetLevel() != 0;
    if (isLogged)
        Log(type, context.category, message);
    if (type == QtFatalMsg && !isLoggingThread)
        Logger::StopLogging(); // the process ends when this returns: now or never
    if (type == QtFatalMsg || !isLogged)
        gPrevious(type, context, message);
}

} // namespace

void QtMessages::Install()
{
    Logger::GetInstance(); // lives on this thread from now on
    if (!gPrevious)
        gPrevious = qInstallMessageHandler(Handle);
}
