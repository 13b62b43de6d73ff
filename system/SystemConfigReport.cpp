#include "Host.h"
#include "ReportText.h"

#include <NeroltOrvaneBase/Logger.h>
#include <NeroltOrvaneBase/SystemConfig.h>

#include <QtCore/QCoreApplication>
#include <QtCore/QDir>
#include <QtCore/QFile>
#include <QtCore/QProcess>
#include <QtCore/QTextStream>

// The logs are the report's only state: who wants it anew deletes them. Nothing here is told of a failure, since a
// report may be made on a machine on which nothing else works; what could not be collected is missing from it.

namespace {

constexpr const char* kReport = "ReportSystemDetails";

QDir Logs()
{
    return QDir(QDir(SystemConfig::GetUserDataPath()).filePath(QStringLiteral("Logs")));
}

QString DiagnosticLog(const QDir& logs)
{
    return logs.filePath(QStringLiteral("qtdiag.log"));
}

QString DiagnosticSh(const QDir& logs)
{
    return logs.filePath(QStringLiteral("qtdiag.sh"));
}

QString GraphicsLog(const QDir& logs)
{
    return logs.filePath(QStringLiteral("graphics.log"));
}

QString GraphicsSh(const QDir& logs)
{
    return logs.filePath(QStringLiteral("graphics.sh"));
}

void LogDetail(const char* what, const QString& detail)
{
    if (Logger::GetInstance()->LoggingEnabled(LoggerDefs::Debug))
        Logger::LogDebug(kReport, QLatin1String(what) + detail);
}

void RemoveIfThere(const QString& path)
{
    if (QFile::exists(path))
        QFile::remove(path);
}

void WriteScript(const QString& path, const QString& text)
{
    RemoveIfThere(path);
    QFile script(path);
    const bool isOpen = script.open(QIODevice::WriteOnly);
    LogDetail("", text);
    if (isOpen)
        script.write(text.toUtf8());
}

void Start(const QString& script)
{
    const QStringList arguments(script);
    LogDetail("args are ", arguments.join(QLatin1Char(' ')));
    QProcess::startDetached(QStringLiteral("sh"), arguments);
}

} // namespace

void SystemConfig::ReportSystemDetails()
{
    if (Logger::GetInstance()->LoggingEnabled(LoggerDefs::Trace))
        Logger::LogTrace(kReport, QStringLiteral("Enter."));
    const QDir logs = Logs();
    const QString diagnosticLog = DiagnosticLog(logs);
    LogDetail("output path is ", diagnosticLog);
    if (!QFile::exists(diagnosticLog)) {
        const QString program = QDir(QCoreApplication::applicationDirPath()).filePath(QStringLiteral("qtdiag"));
        LogDetail("program path is ", program);
        const QString script = DiagnosticSh(logs);
        WriteScript(script, ReportText::DiagnosticScript(program, diagnosticLog));
        Start(script);
    }
    const QString graphicsLog = GraphicsLog(logs);
    if (!QFile::exists(graphicsLog)) {
        const QString script = GraphicsSh(logs);
        WriteScript(script, Host::GraphicsScript(graphicsLog));
        Start(script);
    }
}

bool SystemConfig::SystemDetailsExist()
{
    const QDir logs = Logs();
    return QFile::exists(DiagnosticLog(logs)) && QFile::exists(GraphicsLog(logs));
}

QString SystemConfig::GetQtDialogData()
{
    QFile file(DiagnosticLog(Logs()));
    if (!file.open(QIODevice::ReadOnly))
        return QString();
    QTextStream output(&file);
    return ReportText::DiagnosticExcerpt(output);
}

QString SystemConfig::GetQMacSystemProfilertData()
{
    QFile file(GraphicsLog(Logs()));
    if (!file.open(QIODevice::ReadOnly))
        return QString();
    return ReportText::GraphicsText(file.readAll());
}

void SystemConfig::RemoveShFiles()
{
    const QDir logs = Logs();
    RemoveIfThere(DiagnosticSh(logs));
    RemoveIfThere(GraphicsSh(logs));
}

QString SystemConfig::GetLastCrashLog()
{
    if (Logger::GetInstance()->LoggingEnabled(LoggerDefs::Trace))
        Logger::LogTrace("GetLastCrashLog", QStringLiteral("Enter."));
    return QString();
}

QString SystemConfig::GetDxDialogData()
{
    return QString();
}
