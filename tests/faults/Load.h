#pragma once

#include <QtCore/QByteArray>

/// Many threads log without a pause while levels and files change and files are rotated; then every line is looked for.
/// Runs once in a process, in its current folder, and leaves the files there.
namespace Load {

struct Plan
{
    int iThreads;
    int iLinesEach;
    int iFiles; ///< two rotations in each, a second apart
};

struct Outcome
{
    QByteArray iFault; ///< the first promise that was not kept, empty for none
    qint64 iLines = 0; ///< calls of the speakers
    qint64 iStopped = 0; ///< of them, those that the level stopped
    qint64 iLate = 0; ///< calls that found the log locked for so long that the line may be dropped
    qint64 iDropped = 0; ///< of them, those that were
    qint64 iTwice = 0; ///< lines at the end of a file and at the beginning of the next
    int iRotations = 0;
    int iLevelChanges = 0;
    double iSecs = 0; ///< from the first call to the end of the stop, without the waits between rotations
    qint64 iSlowestUsecs = 0; ///< call
    qint64 iStartKiB = 0; ///< before the first call
    qint64 iWarmKiB = 0; ///< when every thread has spoken for a while and all is in the file
    qint64 iPeakKiB = 0;
    qint64 iEndKiB = 0;
};

Outcome Run(const Plan& plan);

/// "name=value" lines.
QByteArray ToText(const Outcome& outcome);
Outcome FromText(const QByteArray& text);

} // namespace Load
