#include "../logging/LogIf.h"

#include <NeroltOrvaneBase/FileInfoMac.h>
#include <NeroltOrvaneBase/FileUtilities.h>

#include <QtCore/QDateTime>
#include <QtCore/QFile>
#include <QtCore/QFileInfo>

namespace {

bool Exists(const QString& path, const char* func, bool logIt)
{
    const bool exists = QFile(path).exists(); // unlike the static function, true for a dangling link
    if (logIt)
        LogIf::Trace(func, [&] { return QLatin1String("The file exists: ") + QString::number(int(exists)); });
    return exists;
}

} // namespace

bool FileUtilities::SetReadOnlyFlag(const QString& path, bool readOnly)
{
    constexpr const char* func = "FileUtilities::SetReadOnlyFlag";
    const QString flag = QString::number(int(readOnly));
    LogIf::Debug(func, [&] { return QLatin1String("Path: ") + path + QLatin1String(", flag: ") + flag; });
    const bool done = FileInfoMac(path).SetReadOnlyFlag(readOnly);
    if (!done)
        LogIf::Warning(func, [&] { return QLatin1String("Failed to reset readonly flag value ") + flag; });
    return done;
}

bool FileUtilities::SetTime(const QString& path, const QDateTime& time, FileTimeType type, bool logIt)
{
    return Exists(path, "FileUtilities::SetTime", logIt) && FileInfoMac(path).SetTime(time, type);
}

QDateTime FileUtilities::GetTime(const QString& path, FileTimeType type, bool logIt)
{
    return Exists(path, "FileUtilities::GetTime", logIt) ? FileInfoMac(path).GetTime(type) : QDateTime();
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
        Logger::LogTrace(func, QStringLiteral("file is not writable 0, resetting"));
        SetReadOnlyFlag(path, false);
    }
    if (!info.isFile())
        return;
    const QFile::Permissions permissions = info.permissions();
    LogIf::Trace(func, [&] { return QLatin1String("permissions ") + QString::number(uint(permissions)); });
    constexpr QFile::Permissions ownerReadWrite = QFile::ReadOwner | QFile::WriteOwner;
    if ((permissions & ownerReadWrite) == ownerReadWrite)
        return;
    LogIf::Trace(func, [&] { return QLatin1String("Setting file ") + path + QLatin1String(" read/write "); });
    // If this is refused, the mode of the file shows it.
    QFile(path).setPermissions(ownerReadWrite | QFile::ReadUser | QFile::ReadGroup | QFile::ReadOther);
}
