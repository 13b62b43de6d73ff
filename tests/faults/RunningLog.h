#pragma once

#include <QtCore/QString>

#include <functional>

/// Controls the log of this process step by step.
namespace RunningLog {

/// Hands the buffer over and returns when the logging thread has finished all its batches.
void HandOver();

/// Blocks the logging thread while `call` runs.
void WhileTheWriterStandsStill(const std::function<void()>& call);

/// The resident memory of this process, in KiB.
qint64 ResidentKiB();

} // namespace RunningLog
