#pragma once

#include <QtCore/QDateTime>

/// The clock of day that this program and its libraries see. Linking it replaces the C library's function for the whole
/// process; timers and waits run on the other clock and are not concerned. Real time until one of these is called.
namespace ForgedClock {

/// The clock stands still at `msecsSinceEpoch` from now on.
void Freeze(qint64 msecsSinceEpoch);
void Freeze(const QDateTime& time);
/// Moves a clock that stands still.
void Advance(qint64 msecs);
/// Back to real time.
void Release();

} // namespace ForgedClock
