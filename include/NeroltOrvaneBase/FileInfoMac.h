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

/// The platform's own way to the attributes of one file; FileUtilities is the door to it. Nothing here logs. Different
/// objects may be used on different threads.
///
/// On macOS "locked" is the file's immutable attribute. On Linux it is the inode's immutable flag where the process may
/// set it; elsewhere locking takes the write bits and notes them in an extended attribute, and unlocking gives exactly
/// those back. The creation time that was set is kept in an extended attribute too; a file without one has the file
/// system's birth time.
class NEROLTORVANEBASE_EXPORT FileInfoMac
{
public:
    /// For the file or folder at `path`, which need not be there.
    explicit FileInfoMac(const QString& path);
    ~FileInfoMac();

    /// Invalid for an empty path, a missing file or a type that selects nothing.
    QDateTime GetTime(FileTimeType type);
    /// The same in milliseconds since the epoch, without the cost of the time zone. A `descriptor` that is open on the
    /// file spares the way to it, where the platform can ask by one.
    std::optional<qint64> GetMSecs(FileTimeType type, int descriptor = -1);
    /// False for an empty path, an invalid time, a type that selects nothing, or when the system refuses.
    bool SetTime(const QDateTime& time, FileTimeType type);
    /// Locks (true) or unlocks. False for an empty path, a missing file, or when the system refuses.
    bool SetReadOnlyFlag(bool readOnly);

    /// The version of macOS; on Linux that of the kernel.
    static OSVersion GetOSVersion();

private:
    friend class LogFile;

    // SetTime for the creation time, of the file that `descriptor` is open on where the platform can do that.
    bool SetCreationMSecs(qint64 msecs, int descriptor);

    QString iPath;
};
