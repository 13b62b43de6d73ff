#pragma once

#include "Line.h"

#include <QtCore/QMap>

/// One measurement in a process of its own: a logger lives once in a process, and memory is counted from the start.
struct Scenario
{
    QString iKind; ///< what is measured: "flat", "bursty", "stopped", "host" or "killed", see Run.h
    int iThreads = 1;
    int iLines = 0; ///< of each thread
    Line::Shape iShape;
    int iHeapMiB = 0; ///< of the host
    QString iDeath; ///< of the process that is killed
    int iPauseUsecs = 0; ///< of that process, after each line
    bool iIsFlushed = false; ///< after each line, if the logger knows that
    QString iFolder; ///< an empty one for the log files

    QString LogPath() const { return iFolder + QLatin1String("/bench.log"); }
};

/// The results of a scenario by their names.
using Results = QMap<QString, double>;

/// What went wrong in a scenario.
struct Failure
{
    QString iText;
};

/// Runs the scenario on the target of this program and checks the files that it left. Throws Failure.
Results RunScenario(const Scenario& scenario);
