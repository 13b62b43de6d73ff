#pragma once

#include <QtCore/QDateTime>

/// The wall clock that this program and its libraries see. Linking it replaces the C library's function for the whole
/// process. Timers and waits use the other clock and are not affected. It shows real time until one of these is called.
namespace ForgedClock {

/// Stops the clock at `msecsSinceEpoch`.
void Freeze(qint64 msecsSinceEpoch);
void Freeze(const QDateTime& time);
/// Moves a stopped clock.
void Advance(qint64 msecs);
/// Back to real time.
void Release();

} // namespace ForgedClock
