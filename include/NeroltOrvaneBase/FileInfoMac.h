#pragma once

#include "Export.h"
#include "FileUtilities.h"

#include <QtCore/QString>

#include <optional>

class QDateTime;

/// Major and minor version of an operating system; zero when unknown.
struct OSVersion
{
    qint32 iMajor = 0; ///< 14 of "14.2"
    qint32 iMinor = 0; ///< 2 of "14.2"
};

/// The attributes of one file, as the platform stores them. Use FileUtilities instead. Nothing here logs. Each thread
/// may use objects of its own.
///
/// On macOS "locked" is the file's immutable attribute. On Linux it is the inode's immutable flag if the process may
/// set it. Otherwise locking removes the write bits and records them in an extended attribute, and unlocking restores
/// exactly those. A creation time that was set is kept in an extended attribute too. Without it the creation time is
/// the file system's birth time.
class NEROLTORVANEBASE_EXPORT FileInfoMac
{
public:
    /// Refers to the file or folder at `path`, which need not exist.
    explicit FileInfoMac(const QString& path);
    ~FileInfoMac();

    /// Returns a time of the file. It is invalid for an empty path, a missing file or a type that selects nothing.
    QDateTime GetTime(FileTimeType type);
    /// The same in milliseconds since the epoch, without the cost of the time zone. Pass a `descriptor` that is open on
    /// the file to save the path look-up, on platforms that can use one.
    std::optional<qint64> GetMSecs(FileTimeType type, int descriptor = -1);
    /// Sets a time. False for an empty path, an invalid time, a type that selects nothing, or if the system refuses.
    bool SetTime(const QDateTime& time, FileTimeType type);
    /// Locks (true) or unlocks. False for an empty path, a missing file, or if the system refuses.
    bool SetReadOnlyFlag(bool readOnly);

    /// The version of macOS; on Linux that of the kernel.
    static OSVersion GetOSVersion();

private:
    friend class LogFile;

    // Sets the creation time, through `descriptor` if the platform can do that.
    bool SetCreationMSecs(qint64 msecs, int descriptor);

    QString iPath;
};
