#pragma once

#include "Child.h"

#include <QtCore/QString>

/// What the processes leave.
namespace Runs {

struct Failure
{
    QString iText;
};

struct Left
{
    int iLost = 0; ///< lines whose call had returned and that are not whole in the log, or twice
    bool iIsTorn = false; ///< the log holds a piece of a line
};

/// A process that dies, and the next one, if the log has a use for it. Throws Failure.
Left Kill(const Child::Job& job, bool isRecovered);

/// Nanoseconds for each line. Throws Failure.
double Cost(const Child::Job& job);

} // namespace Runs
