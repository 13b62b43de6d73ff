#pragma once

#include <QtCore/QString>

#include <functional>

/// The log of this process, driven step by step.
namespace RunningLog {

/// Hands over what is buffered and returns when the logging thread has done with all it was given.
void HandOver();

/// While `call` runs the logging thread stands still.
void WhileTheWriterStandsStill(const std::function<void()>& call);

/// What this process occupies of the memory, in KiB.
qint64 ResidentKiB();

} // namespace RunningLog
