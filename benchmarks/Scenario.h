#pragma once

#include "Line.h"
#include "Stopwatch.h"

/// One measurement in a process of its own: the Logger lives once in a process, and memory is counted from the start.
struct Scenario
{
    QString iKind; ///< what is measured, see Run.h
    QString iTarget; ///< who is measured
    Line::Level iLevel = Line::Level::Information;
    int iThreads = 1;
    int iLines = 0; ///< in all
    QString iFolder; ///< an empty one for the log files

    /// As the argument of --scenario, without the lines and the folder.
    QString ToText() const;
    /// A kind of its own for an argument that is none: empty.
    static Scenario FromText(const QString& text);
    int LinesPerThread() const { return iLines / iThreads; }
};

/// What went wrong in a scenario.
struct Failure
{
    QString iText;
};

/// Runs the scenario in this process and checks the files that it left. Throws Failure.
Results RunScenario(const Scenario& scenario);

/// The same for each target.
Results RunNerolt(const Scenario& scenario);
Results RunSpdlogAsync(const Scenario& scenario);
Results RunSpdlogSync(const Scenario& scenario);
Results RunQt(const Scenario& scenario);
