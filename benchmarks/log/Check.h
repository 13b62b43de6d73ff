#pragma once

#include "Scenario.h"

/// Did everything arrive?
namespace Check {

/// What stands before a message.
enum class Head {
    Common, ///< the stamp and the head that all write
    Own, ///< what the logger is made to write, and nothing else
};

/// Empty when the files of the scenario hold the lines of each thread, from number 0 on, each exactly once, in order
/// and to the byte, and apart from these only lines that the library writes of itself, or that begin as one of the
/// `others` does. Else what is wrong.
QString Lines(const Scenario& scenario, Head head, const QByteArrayList& others);

} // namespace Check
