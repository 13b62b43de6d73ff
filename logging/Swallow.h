#pragma once

#include <QtCore/QtGlobal>

#include <cxxabi.h>
#include <pthread.h>

/// While it lives the calling thread is not terminated: where locks are held, or nothing may be unwound.
class NotCancelled
{
public:
    NotCancelled() { ::pthread_setcancelstate(PTHREAD_CANCEL_DISABLE, &iBefore); }
    ~NotCancelled() { ::pthread_setcancelstate(iBefore, nullptr); }

private:
    Q_DISABLE_COPY(NotCancelled)

    int iBefore = 0;
};

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
