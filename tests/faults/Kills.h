#pragma once

#include <QtCore/QByteArray>

/// Kills processes at random moments, and checks what they leave behind. The children are scenarios of the program that
/// uses this.
namespace Kills {

struct Outcome
{
    QByteArray iFault; ///< the first broken promise, or empty
    int iKills = 0;
    qint64 iPromised = 0; ///< lines, or changes, that were on disk before the kill
    qint64 iFound = 0;
    int iTorn = 0; ///< files that end within a line, at a page boundary
    int iLeftLocks = 0;
};

/// A process that logs on three threads.
void Log(quint32 seed, Outcome& outcome);

/// Two processes that change one INI file and are killed together. The next two continue with the file.
void ChangeIni(quint32 seed, int rounds, Outcome& outcome);

} // namespace Kills
