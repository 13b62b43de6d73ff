#include <NeroltOrvaneBase/FileInfoMac.h>
#include <NeroltOrvaneBase/FileUtilities.h>
#include <NeroltOrvaneBase/Logger.h>

#include <QtCore/QDateTime>
#include <QtCore/QFile>
#include <QtCore/QFileInfo>

namespace {

// Whether the file exists and is not open through this object, which is always so for a new object.
bool IsUsable(const QString& path, const char* func, bool logIt)
{
    const QFile file(path);
    const bool exists = file.exists();
    if (logIt && Logger::GetInstance()->LoggingEnabled(LoggerDefs::Trace))
        Logger::LogTrace(func, QLatin1String("The file exists: ") + QString::number(int(exists)));
    return !file.isOpen() && exists;
}

} // namespace

bool FileUtilities::SetReadOnlyFlag(const QString& path, bool readOnly)
{
    constexpr const char* func = "FileUtilities::SetReadOnlyFlag";
    const QString flag = QString::number(int(readOnly));
    if (Logger::GetInstance()->LoggingEnabled(LoggerDefs::Debug))
        Logger::LogDebug(func, QLatin1String("Path: ") + path + QLatin1String(", flag: ") + flag);
    const bool done = FileInfoMac(path).SetReadOnlyFlag(readOnly);
    if (!done && Logger::GetInstance()->LoggingEnabled(LoggerDefs::Warning))
        Logger::LogWarning(func, QLatin1String("Failed to reset readonly flag value ") + flag);
    return done;
}

bool FileUtilities::SetTime(const QString& path, const QDateTime& time, FileTimeType type, bool logIt)
{
    return IsUsable(path, "FileUtilities::SetTime", logIt) && FileInfoMac(path).SetTime(time, type);
}

QDateTime FileUtilities::GetTime(const QString& path, FileTimeType type, bool logIt)
{
    return IsUsable(path, "FileUtilities::GetTime", logIt) ? FileInfoMac(path).GetTime(type) : QDateTime();
}

std::optional<qint64> FileUtilities::GetMSecs(const QString& path, FileTimeType type, int descriptor)
{
    // The platform layer handles a missing file. No check here, because the log calls this after every batch.
    return FileInfoMac(path).GetMSecs(type, descriptor);
}

void FileUtilities::ResetReadonlyFlags(const QString& path)
{
    constexpr const char* func = "ResetReadonlyFlags";
    const QFileInfo info(path);
    if (!info.isWritable()) {
        if (Logger::GetInstance()->LoggingEnabled(LoggerDefs::Trace))
            Logger::LogTrace(func, QStringLiteral("file is not writable 0, resetting"));
        SetReadOnlyFlag(path, false);
    }
    if (!info.isFile())
        return;
    const QFile::Permissions permissions = info.permissions();
    if (Logger::GetInstance()->LoggingEnabled(LoggerDefs::Trace))
        Logger::LogTrace(func, QLatin1String("permissions ") + QString::number(uint(permissions)));
    constexpr QFile::Permissions ownerReadWrite = QFile::ReadOwner | QFile::WriteOwner;
    if ((permissions & ownerReadWrite) == ownerReadWrite)
        return;
    if (Logger::GetInstance()->LoggingEnabled(LoggerDefs::Trace))
        Logger::LogTrace(func, QLatin1String("Setting file ") + path + QLatin1String(" read/write "));
    // If this is refused, the mode of the file shows it.
    QFile(path).setPermissions(ownerReadWrite | QFile::ReadUser | QFile::ReadGroup | QFile::ReadOther);
}
