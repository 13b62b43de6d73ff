#pragma once

#include <QtCore/QtGlobal>

#include <csignal>

/// The signals by which the system ends a process whose write fails: for a pipe without a reader, and at the limit of a
/// file's size.
namespace WriteSignals {

/// Blocks them for the calling thread, for good.
void Block();

/// Blocks them for the calling thread while it lives, on a thread that is somebody else's. Those raised meanwhile are
/// taken back.
class Blocker
{
public:
    Blocker();
    ~Blocker();

private:
    Q_DISABLE_COPY(Blocker)

    sigset_t iMask;
    sigset_t iPending;
};

} // namespace WriteSignals
