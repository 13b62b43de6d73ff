#pragma once

#include "LogFolder.h"
#include "Progress.h"

#include <QtCore/QVector>

/// What a run must have left in the log.
struct Expected
{
    QStringList iRotatedBefore; ///< files of earlier runs
    qint64 iBytesBefore = 0; ///< in the log, when this run began
    bool iIsRotated = false; ///< whether the log was due when this run began
    QVector<int> iLoadLines; ///< of each thread
    int iErrors = 0;
    int iThreadsListed = 0;
    QString iSilenced; ///< a message that the level stopped
};

/// What is in the log.
struct CheckedLog
{
    QStringList iFiles; ///< names, oldest first; the log itself is the last
    QByteArray iFirstLine; ///< of the log itself
    QByteArray iLastLine;
    QString iWrong; ///< empty when everything is as expected
};

CheckedLog CheckLog(const LogFolder& folder, const Expected& expected, const Shown& show);
