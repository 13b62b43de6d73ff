#pragma once

#include <QtCore/QByteArray>

#include <vector>

/// Processes that log with a crash file and die at random moments, and the next ones that complete their log. The
/// children are scenarios of the program that uses this.
namespace CrashKills {

enum class Death {
    Kill, ///< SIGKILL by another process
    Crash, ///< SIGSEGV by a write to memory that is not to be written
    Abort,
    Exception, ///< that nobody catches
    Exit, ///< _exit
    AtCall, ///< SIGKILL right before or after one of its system calls
    InWrite, ///< SIGKILL in a write to the log, of which a part is done
};

enum class Event {
    Nothing,
    Rotation, ///< the log reaches its greatest size
    Change, ///< to another file
};

/// How the first process lives and dies. Each of the next `iRecoveries` dies while it completes the log, and the last
/// one stops as it should.
struct Plan
{
    const char* iName;
    Death iDeath;
    int iThreads;
    int iPauseUsecs; ///< after each line, 0 for none
    Event iEvent;
    int iRecoveries;
};

/// All that matter, so that a round of them is a test.
const std::vector<Plan>& Plans();

struct Outcome
{
    QByteArray iFault; ///< the first broken promise, or empty
    int iKills = 0;
    qint64 iReturned = 0; ///< lines whose call had returned
    qint64 iRecovered = 0; ///< those of them that the log lacked
    qint64 iUnprotected = 0; ///< lines that found no room for a second
    qint64 iMissing = 0; ///< at most as many as were not protected
    int iTorn = 0; ///< logs that ended within a line
    int iRotations = 0;
};

void Run(const Plan& plan, quint32 seed, Outcome& outcome);

} // namespace CrashKills
