#pragma once

#include <QtCore/QByteArray>

/// Many threads log without a pause while levels and files change and files are rotated. Then checks every line. Runs
/// once in a process, in its current folder, and leaves the files there.
namespace Load {

struct Plan
{
    int iThreads;
    int iLinesEach;
    int iFiles; ///< two rotations in each, a second apart
};

struct Outcome
{
    QByteArray iFault; ///< the first broken promise, or empty
    qint64 iLines = 0; ///< calls of the speakers
    qint64 iStopped = 0; ///< those of them whose line the level stopped
    qint64 iLate = 0; ///< calls that found the log locked so long that their line may be dropped
    qint64 iDropped = 0; ///< those of them whose line was dropped
    qint64 iTwice = 0; ///< lines at the end of one file and at the beginning of the next
    int iRotations = 0;
    int iLevelChanges = 0;
    double iSecs = 0; ///< from the first call to the end of the stop, without the waits between rotations
    qint64 iStartKiB = 0; ///< before the first call
    qint64 iWarmKiB = 0; ///< when every thread has logged for a while and all lines are in the file
    qint64 iPeakKiB = 0;
    qint64 iEndKiB = 0;
};

Outcome Run(const Plan& plan);

/// Of the memory that came after the log was warm.
bool IsMemoryReturned(const Outcome& outcome);

} // namespace Load
