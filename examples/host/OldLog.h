#pragma once

#include <QtCore/QString>

/// A log that looks as if a run of two days ago had left it, to show the rotation by age.
struct OldLog
{
    /// The size of the file before this run.
    qint64 iSize = 0;
    /// False if the file system cannot store a creation time. Then the log is not old.
    bool iIsAged = false;

    /// Uses the existing file, or writes one.
    static OldLog Prepare(const QString& path);
};
