#pragma once

#include <QtCore/QtGlobal>

/// The memory of this process that is resident, in bytes; 0 where the system does not tell.
namespace Memory {

qint64 Resident();
/// The same after it has stopped to fall: threads may still be giving back what they no longer need.
qint64 ResidentWhenCalm();
/// The most that was resident since ForgetPeak.
qint64 Peak();
void ForgetPeak();

} // namespace Memory
