#include "../logging/LogIf.h"
#include "Host.h"
#include "ReportText.h"

#include <NeroltOrvaneBase/SystemConfig.h>

#include <QtCore/QCoreApplication>
#include <QtCore/QDir>
#include <QtCore/QFile>
#include <QtCore/QProcess>
#include <QtCore/QTextStream>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

// The logs are the report's only state: delete them to collect a new one. Failures are not reported, because a report
// is made on machines on which little else works. What could not be collected is missing from it.

namespace {

constexpr const char* kReport = "ReportSystemDetails";

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
    LogIf::Debug(kReport, [&] { return QLatin1String(what) + detail; });
}

void RemoveIfThere(const QString& path)
{
    if (QFile::exists(path))
        QFile::remove(path);
}

// In a shared folder, a file of another user may have this name. It stays. Links are not followed, pipes not opened.
bool OpenOwnFile(QFile& file, const QString& path)
{
    constexpr mode_t kByUmask = 0666;
    const int flags = O_WRONLY | O_CREAT | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC;
    const int descriptor = ::open(QFile::encodeName(path).constData(), flags, kByUmask);
    struct stat status = {};
    const bool isOwn = descriptor >= 0 && ::fstat(descriptor, &status) == 0 && S_ISREG(status.st_mode)
        && status.st_uid == ::geteuid() && ::ftruncate(descriptor, 0) == 0;
    if (isOwn)
        return file.open(descriptor, QIODevice::WriteOnly | QIODevice::Unbuffered, QFileDevice::AutoCloseHandle);
    if (descriptor >= 0)
        ::close(descriptor);
    return false;
}

// Whether the script is the user's own file and complete.
bool WriteScript(const QString& path, const QString& text)
{
    RemoveIfThere(path);
    QFile script;
    const bool isOpen = OpenOwnFile(script, path);
    LogDetail("", text);
    const QByteArray bytes = text.toUtf8();
    return isOpen && script.write(bytes) == bytes.size();
}

void WriteAndStart(const QString& script, const QString& text)
{
    const bool isWritten = WriteScript(script, text);
    const QStringList arguments(script);
    LogDetail("args are ", arguments.join(QLatin1Char(' ')));
    if (isWritten)
        QProcess::startDetached(QStringLiteral("sh"), arguments);
}

} // namespace

void SystemConfig::ReportSystemDetails()
{
    Logger::LogTrace(kReport, QStringLiteral("Enter."));
    const QDir logs(GetReportFolder());
    const QString diagnosticLog = DiagnosticLog(logs);
    LogDetail("output path is ", diagnosticLog);
    if (!QFile::exists(diagnosticLog)) {
        const QString program = QDir(QCoreApplication::applicationDirPath()).filePath(QStringLiteral("qtdiag"));
        LogDetail("program path is ", program);
        WriteAndStart(DiagnosticSh(logs), ReportText::DiagnosticScript(program, diagnosticLog));
    }
    const QString graphicsLog = GraphicsLog(logs);
    if (!QFile::exists(graphicsLog))
        WriteAndStart(GraphicsSh(logs), Host::GraphicsScript(graphicsLog));
}

bool SystemConfig::SystemDetailsExist()
{
    const QDir logs(GetReportFolder());
    return QFile::exists(DiagnosticLog(logs)) && QFile::exists(GraphicsLog(logs));
}

QString SystemConfig::GetQtDialogData()
{
    QFile file(DiagnosticLog(GetReportFolder()));
    if (!file.open(QIODevice::ReadOnly))
        return QString();
    QTextStream output(&file);
    return ReportText::DiagnosticExcerpt(output);
}

QString SystemConfig::GetQMacSystemProfilertData()
{
    QFile file(GraphicsLog(GetReportFolder()));
    if (!file.open(QIODevice::ReadOnly))
        return QString();
    return ReportText::GraphicsText(file.readAll());
}

void SystemConfig::RemoveShFiles()
{
    const QDir logs(GetReportFolder());
    RemoveIfThere(DiagnosticSh(logs));
    RemoveIfThere(GraphicsSh(logs));
}

QString SystemConfig::GetLastCrashLog()
{
    Logger::LogTrace("GetLastCrashLog", QStringLiteral("Enter."));
    return QString();
}

QString SystemConfig::GetDxDialogData()
{
    return QString();
}
