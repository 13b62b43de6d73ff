#include "Interrupt.h"

#include <csignal>

namespace {

volatile std::sig_atomic_t gWasAsked = 0;

// A second signal ends the process at once.
void Note(int signal)
{
    gWasAsked = 1;
    std::signal(signal, SIG_DFL);
}

} // namespace

void Interrupt::Catch()
{
    std::signal(SIGINT, Note);
    std::signal(SIGTERM, Note);
}

bool Interrupt::WasAsked()
{
    return gWasAsked != 0;
}
