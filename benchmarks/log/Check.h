#pragma once

#include "Scenario.h"

/// Did everything arrive?
namespace Check {

/// What stands before a message.
enum class Head {
    Common, ///< the stamp and the head that all write
    Own, ///< what the logger is made to write, and nothing else
    None, ///< nothing, and there is no message either
};

/// Empty when the files of the scenario hold the lines of each thread, from number 0 on, each exactly once, in order
/// and to the byte, and apart from these only lines that the library writes of itself, or that begin as one of the
/// `others` does; with Head::None, when there is no file. Else what is wrong.
QString Lines(const Scenario& scenario, Head head, const QByteArrayList& others);

} // namespace Check
