#pragma once

/// @file
/// Times and write protection of files.

#include "Export.h"

#include <QtCore/QtGlobal>

#include <optional>

class QDateTime;
class QString;

/// Which time of a file is meant. Any other value selects nothing.
enum FileTimeType : int {
    FileTimeCreation = 0,
    FileTimeModification = 1,
    FileTimeWrite = 2, ///< the modification time as well
};

/// File times and write protection. Any thread may call. Nothing here blocks except for the file system itself.
class NEROLTORVANEBASE_EXPORT FileUtilities
{
public:
    FileUtilities() = delete;

    /// Locks the file against changes, or unlocks it. If the file is missing or the caller lacks the permission,
    /// returns false, logs a warning and changes nothing. What a lock is depends on the platform, see FileInfoMac.
    static bool SetReadOnlyFlag(const QString& path, bool readOnly);

    /// Sets a time, to the millisecond or as precisely as the file system stores it. False if the file is missing, if
    /// the time or `type` is invalid (the file system is not called then), if the caller lacks the permission, or if
    /// the file system does not store such a time. With `logIt` logs at trace level whether the file exists.
    static bool SetTime(const QString& path, const QDateTime& time, FileTimeType type, bool logIt);

    /// Returns a time of the file, to the millisecond, in local time. It is invalid if the file is missing, if `type`
    /// is invalid, or if the file system does not store that time. With `logIt` logs at trace level whether the file
    /// exists.
    static QDateTime GetTime(const QString& path, FileTimeType type, bool logIt);

    /// The same in milliseconds since the epoch, without logging; no value if the time is invalid. This avoids the
    /// conversion to local time, which costs more than the system call. Pass a `descriptor` that is open on the file to
    /// save the path look-up as well, on platforms that can use one.
    static std::optional<qint64> GetMSecs(const QString& path, FileTimeType type, int descriptor = -1);

    /// Makes a file writable for its owner again: unlocks it, and sets the mode rw-r--r-- unless its owner may already
    /// read and write. Folders are only unlocked. Logs at trace level, and a warning if unlocking fails.
    static void ResetReadonlyFlags(const QString& path);
};
