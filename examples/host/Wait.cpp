#include "Wait.h"

#include <NeroltOrvaneBase/RegisteredTimer.h>

namespace {

constexpr int kTickMs = 2;

} // namespace

Wait::Wait(const std::function<bool()>& isDone, QDeadlineTimer deadline)
    : iIsDone(isDone)
    , iDeadline(deadline)
    , iTimer(RegisteredTimer::singleShot(0, this, SLOT(onTick())))
{
}

// No timer may call an object during its destruction.
Wait::~Wait()
{
    RegisteredTimer::Cleanup(this, false);
}

bool Wait::Until(const std::function<bool()>& isDone, QDeadlineTimer deadline)
{
    Wait wait(isDone, deadline);
    return wait.iLoop.exec() == 0;
}

void Wait::onTick()
{
    // A timer that has fired stays until it is removed.
    RegisteredTimer::CleanupTimer(iTimer, this);
    iTimer = nullptr;
    if (iIsDone())
        iLoop.exit(0);
    else if (iDeadline.hasExpired())
        iLoop.exit(1);
    else
        iTimer = RegisteredTimer::singleShot(kTickMs, this, SLOT(onTick()));
}
