#pragma once

#include "CrashFormat.h"

#include <optional>

/// Completes the log that a dead process wrote.
namespace CrashRecovery {

/// Writes the lines that are not in the log yet: `newLog` when the process had none. What it does can be cut off at any
/// moment and be done again. Returns how many lines the log lacked, and no value when it cannot be completed.
std::optional<qint64> Complete(CrashFormat::Section& section, const CrashFormat::Remains& remains,
                               const QByteArray& newLog);

} // namespace CrashRecovery
