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

/// File times and write protection. Any thread may call; nothing here blocks but for the file system itself.
class NEROLTORVANEBASE_EXPORT FileUtilities
{
public:
    FileUtilities() = delete;

    /// Locks the file against changes, or unlocks it. False, with a warning in the log, when it is missing or the
    /// caller may not; then nothing has changed. What a lock is depends on the platform, see FileInfoMac.
    static bool SetReadOnlyFlag(const QString& path, bool readOnly);

    /// Sets a time, to the millisecond or as near as the file system keeps it. False when the file is missing, the time
    /// is invalid (the file system is not asked then) or `type` is, the caller may not, or the file system keeps no
    /// such time. With `logIt` logs at trace level whether the file exists.
    static bool SetTime(const QString& path, const QDateTime& time, FileTimeType type, bool logIt);

    /// A time of the file, to the millisecond, in local time; invalid when the file is missing, `type` is invalid, or
    /// the file system does not keep that time. With `logIt` logs at trace level whether the file exists.
    static QDateTime GetTime(const QString& path, FileTimeType type, bool logIt);

    /// GetTime without logging in milliseconds since the epoch; nothing where that is invalid. It spares the work of
    /// the time zone, which costs more than asking for the time itself. A `descriptor` that is open on the file spares
    /// the way to it, too, where the platform can ask by one.
    static std::optional<qint64> GetMSecs(const QString& path, FileTimeType type, int descriptor = -1);

    /// Makes a file writable for its owner again: unlocks it, and gives it the mode rw-r--r-- unless its owner may
    /// already read and write. Folders are only unlocked. Logs at trace level, and a warning when unlocking fails.
    static void ResetReadonlyFlags(const QString& path);
};
