#pragma once

#include <QtCore/QByteArray>
#include <QtCore/QString>

/// Processes that end while their threads log.
namespace Ends {

struct Outcome
{
    int iEnds = 0;
    qint64 iLines = 0;
    QByteArray iFault; ///< the first broken promise, or empty
};

/// Runs so many processes, one after the other. Each either stops the log before it ends or does not.
Outcome UnderLoad(int ends, bool stops);

} // namespace Ends
