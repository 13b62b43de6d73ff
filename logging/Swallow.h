#pragma once

#include <cxxabi.h>

/// Runs `call` and swallows what it throws: logging never fails its caller, neither for want of memory nor for what a
/// reporter throws. The unwinding of a thread that is being terminated passes, or the process would end with it.
template <typename Call>
inline void Swallow(const Call& call)
{
    try {
        call();
    }
#ifdef __GLIBCXX__ // elsewhere such a thread is not unwound
    catch (const abi::__forced_unwind&) {
        throw;
    }
#endif
    catch (...) {
    }
}
