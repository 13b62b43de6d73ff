#pragma once

#include "Progress.h"

#include <QtCore/QStringList>

/// What a user would send to the support.
struct Report
{
    bool iIsMade = false;
    bool iIsComplete = false; ///< the collectors came to an end in time
    QStringList iDisplays; ///< the lines that describe the displays
    QStringList iFramework; ///< the lines of the framework's diagnostics that matter; empty without its tool
};

/// Makes the report anew, in the folder Logs of the user's data, and waits until it is complete.
Report MakeReport(const Shown& show);
