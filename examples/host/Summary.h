#pragma once

#include "LogCheck.h"
#include "Machine.h"
#include "Options.h"
#include "Preferences.h"
#include "Report.h"

/// The facts about a run.
struct Life
{
    Machine iMachine;
    Report iReport;
    Preferences iPreferences;
    QString iLogPath;
    bool iIsAged = false;
    int iOldLogsRemoved = 0;
    qint64 iLines = 0;
    double iSeconds = 0; ///< until the lines were in the file
    QStringList iErrorCodes; ///< as the reporter received them
    qint64 iPeakMemory = 0;
    qint64 iFinalMemory = 0;
    bool iIsInterrupted = false;
    CheckedLog iLog;
};

QString Summary(const Options& options, const LogFolder& folder, const Life& life);
