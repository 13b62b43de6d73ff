#pragma once

#include "Line.h"

/// Did everything arrive?
namespace Check {

/// Empty when the files in the folder hold the lines of each thread, from number 0 on, each exactly once, in order and
/// to the byte, and apart from these only lines that the library writes of itself. Else what is wrong.
QString Lines(const QString& folder, Line::Level level, int threads, int linesPerThread);

} // namespace Check
