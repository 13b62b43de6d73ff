#pragma once

#include "LogFolder.h"
#include "Progress.h"

#include <QtCore/QVector>

/// What the log must contain after a run.
struct Expected
{
    QStringList iRotatedBefore; ///< files of earlier runs
    qint64 iBytesBefore = 0; ///< in the log, when this run began
    bool iIsRecovering = false; ///< whether the log begins with lines of a run that was killed
    bool iIsRotated = false; ///< whether the log was due for rotation when this run began
    QVector<int> iLoadLines; ///< per thread
    int iErrors = 0;
    int iThreadsListed = 0;
    QString iSilenced; ///< a message that the level stopped
};

/// What the log contains.
struct CheckedLog
{
    QStringList iFiles; ///< names, oldest first; the log itself is the last
    QByteArray iFirstLine; ///< of the log itself
    QByteArray iLastLine;
    QByteArray iRecovered; ///< the message about the run that was killed
    QString iWrong; ///< empty when everything is as expected
};

CheckedLog CheckLog(const LogFolder& folder, const Expected& expected, const Shown& show);
