#pragma once

#include <QtCore/QString>

/// The log that a run of two days ago left behind, so that the rule about a log's age can be seen at work.
struct OldLog
{
    /// The bytes that were in the file before this run.
    qint64 iSize = 0;
    /// False where the file system keeps no creation time that can be set; then the log is not old.
    bool iIsAged = false;

    /// Takes the file that is there, or writes one.
    static OldLog Prepare(const QString& path);
};
