#pragma once

#include "ErrorCounter.h"
#include "LogLoad.h"
#include "OldLog.h"
#include "Progress.h"
#include "Summary.h"

#include <QtCore/QElapsedTimer>

/// A run of the host, from the first line of its log to the last.
class Host
{
public:
    explicit Host(const Options& options);

    /// Returns the exit code.
    int Run();

private:
    void StartLog();
    void LogErrors();
    void RunLoad();
    void RunRound();
    void SilenceAndWake();
    void StopLog();
    void WriteThrough();
    void CrashInTheMiddle();
    Shown Show(const QString& what);
    void Fail(const QString& what);
    Expected WhatToExpect() const;
    int Finish();

    const Options iOptions;
    const LogFolder iFolder;
    QStringList iRotatedBefore;
    OldLog iOldLog;
    bool iIsRecovering = false; // the run before was killed
    ErrorCounter iErrors;
    LogLoad iLoad;
    Progress iProgress;
    QString iFailure;
    Life iLife;
};
