#include "WriteSignals.h"

#include <iterator>

namespace {

constexpr int kSignals[] = {SIGPIPE, SIGXFSZ};

sigset_t Set(const int* from, const int* to)
{
    sigset_t set;
    sigemptyset(&set);
    for (const int* signal = from; signal != to; ++signal)
        sigaddset(&set, *signal);
    return set;
}

} // namespace

void WriteSignals::Block()
{
    const sigset_t all = Set(std::begin(kSignals), std::end(kSignals));
    ::pthread_sigmask(SIG_BLOCK, &all, nullptr);
}

WriteSignals::Blocker::Blocker()
{
    ::sigpending(&iPending);
    const sigset_t all = Set(std::begin(kSignals), std::end(kSignals));
    ::pthread_sigmask(SIG_BLOCK, &all, &iMask);
}

WriteSignals::Blocker::~Blocker()
{
    sigset_t pending;
    ::sigpending(&pending);
    for (const int& signal : kSignals) {
        const sigset_t one = Set(&signal, &signal + 1);
        int taken = 0;
        if (sigismember(&pending, signal) == 1 && sigismember(&iPending, signal) == 0)
            ::sigwait(&one, &taken); // does not wait: it is pending
    }
    ::pthread_sigmask(SIG_SETMASK, &iMask, nullptr);
}
