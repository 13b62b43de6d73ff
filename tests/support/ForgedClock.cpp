#include "ForgedClock.h"

#include <atomic>
#include <ctime>
#include <sys/syscall.h>
#include <sys/time.h>
#include <unistd.h>

namespace {

std::atomic<bool> gFrozen{false};
std::atomic<qint64> gMsecs{0};

} // namespace

void ForgedClock::Freeze(qint64 msecsSinceEpoch)
{
    gMsecs = msecsSinceEpoch;
    gFrozen = true;
}

void ForgedClock::Freeze(const QDateTime& time)
{
    Freeze(time.toMSecsSinceEpoch());
}

void ForgedClock::Advance(qint64 msecs)
{
    gMsecs += msecs;
}

void ForgedClock::Release()
{
    gFrozen = false;
}

extern "C" Q_DECL_EXPORT int gettimeofday(struct timeval* __restrict time, void* __restrict) noexcept
{
    if (!gFrozen.load()) {
        struct timespec now = {};
        ::syscall(SYS_clock_gettime, CLOCK_REALTIME, &now);
        time->tv_sec = now.tv_sec;
        time->tv_usec = now.tv_nsec / 1000;
        return 0;
    }
    const qint64 msecs = gMsecs.load();
    time->tv_sec = msecs / 1000;
    time->tv_usec = (msecs % 1000) * 1000;
    if (time->tv_usec < 0) {
        time->tv_usec += 1000000;
        --time->tv_sec;
    }
    return 0;
}
