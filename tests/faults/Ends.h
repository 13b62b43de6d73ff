#pragma once

#include <QtCore/QByteArray>
#include <QtCore/QString>

/// Processes that end while threads of theirs log.
namespace Ends {

struct Outcome
{
    int iEnds = 0;
    qint64 iLines = 0;
    QByteArray iFault; ///< what broke; nothing if all was kept
};

/// So many processes, one after the other. Each stops the log before its end, or does not.
Outcome UnderLoad(int ends, bool stops);

} // namespace Ends
