#pragma once

#include "Progress.h"

#include <QtCore/QStringList>

/// What a user would send to technical support.
struct Report
{
    bool iIsMade = false;
    bool iIsComplete = false; ///< the collectors finished in time
    QStringList iDisplays; ///< the lines that describe the displays
    QStringList iFramework; ///< the relevant lines of the framework's diagnostics; empty without its tool
};

/// Makes a new report in the folder Logs of the user's data, and waits until it is complete.
Report MakeReport(const Shown& show);
