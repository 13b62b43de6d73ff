#pragma once

#include <QtCore/QtGlobal>

/// The resident memory of this process in bytes, 0 if the system does not tell.
namespace Memory {

qint64 Resident();
/// The peak since the process started.
qint64 Peak();

} // namespace Memory
