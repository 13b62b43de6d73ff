#pragma once

#include "Export.h"

class QString;

/// The call stack of the calling thread.
class NEROLTORVANEBASE_EXPORT StackTrace
{
public:
    StackTrace() = delete;

    /// Returns up to 20 frames, the innermost first, one per line, each ended by CR LF:
    /// "Module %1 Memory %2 FunctionName %3 Offset %4" with the binary image, the address in hexadecimal, the demangled
    /// name and the decimal offset into the function. Returns "Unable to obtain the stack trace" if there is none. Logs
    /// the text at trace level, and each frame at debug level.
    ///
    /// Any thread may call, but no signal handler may, because this allocates. It takes a few microseconds for frames
    /// that were traced before, and more for new ones. If memory runs out, the text ends early. The functions of an
    /// executable have names if it is linked with -rdynamic (ENABLE_EXPORTS in CMake).
    static QString TraceCode();
};
