#pragma once

#include <QtCore/QByteArray>

/// Processes that are killed at random moments, and what they leave behind. The children are scenarios of the program
/// that uses this.
namespace Kills {

struct Outcome
{
    QByteArray iFault; ///< the first promise that was not kept, empty for none
    int iKills = 0;
    qint64 iPromised = 0; ///< lines, or changes, that were on disk before the kill
    qint64 iFound = 0;
    int iTorn = 0; ///< files that end within a line, with a page
    int iLeftLocks = 0;
};

/// A process that logs on three threads.
void Log(quint32 seed, Outcome& outcome);

/// Two processes that change one INI file, killed together; the next two go on with it.
void ChangeIni(quint32 seed, int rounds, Outcome& outcome);

} // namespace Kills
