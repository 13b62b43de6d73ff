#pragma once

#include <QtCore/QByteArray>
#include <QtCore/QString>
#include <QtCore/QStringList>

/// Faults of the disk under a log that runs: lines before, during and after. Each runs in a process of its own, in its
/// current folder.
namespace DiskFaults {

constexpr int kLinesEach = 100; ///< before, during and after
constexpr int kBatchLines = 10; ///< during

/// The faults that this process may bring about.
QStringList Names();

struct Outcome
{
    QByteArray iFault; ///< empty when everything is as it must be
    int iLost = 0;
    int iTorn = 0;
    qint64 iSlowestUsecs = 0; ///< call
};

/// Brings the fault about, ends it, and looks at the files.
Outcome Run(const QString& fault);
/// Stops the log while the fault lasts and callers log without a writer. Returns, if it does.
void RunStop(const QString& fault);

QByteArray ToText(const Outcome& outcome);
Outcome FromText(const QByteArray& text);

} // namespace DiskFaults
