#pragma once

#include "Export.h"

class QString;

/// Says where the calling thread is.
class NEROLTORVANEBASE_EXPORT StackTrace
{
public:
    StackTrace() = delete;

    /// The calls that led here, the innermost first and at most 20 of them, one line each, ended by CR LF:
    /// "Module %1 Memory %2 FunctionName %3 Offset %4" with the binary image, the address in hexadecimal, the demangled
    /// name and the decimal offset into the function. "Unable to obtain the stack trace" if there is none. Logs the
    /// text at trace level, and each frame at debug level.
    ///
    /// On any thread; takes a few microseconds for what was traced before, more for new places, and allocates, so not
    /// in a signal handler. Without memory the text ends early. Executables show the names of their functions when they
    /// are linked with -rdynamic (ENABLE_EXPORTS in CMake).
    static QString TraceCode();
};
