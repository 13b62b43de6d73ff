#pragma once

#include <QtCore/QByteArray>
#include <QtCore/QString>
#include <QtCore/QStringList>

/// Faults of the disk while the log runs, with lines before, during and after. Each runs in a process of its own, in
/// its current folder.
namespace DiskFaults {

constexpr int kLinesEach = 100; ///< before, during and after
constexpr int kBatchLines = 10; ///< during

/// The faults that this process has the rights to cause.
QStringList Names();

struct Outcome
{
    QByteArray iFault; ///< empty if everything is as expected
    int iLost = 0;
    int iTorn = 0;
    qint64 iSlowestUsecs = 0; ///< call
};

/// Causes the fault, ends it, and checks the files.
Outcome Run(const QString& fault);
/// Stops the log during the fault, while callers log without a writer. Returns only if the stop does.
void RunStop(const QString& fault);

} // namespace DiskFaults
