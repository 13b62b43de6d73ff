#pragma once

/// Kills this process with SIGKILL around one of its calls to the system.
namespace CallDeath {

/// Twice as many as calls: an even number dies before a call, an odd one after it. They count from now on, or from the
/// next renaming of a file.
void AfterCalls(int halfCalls, bool isFromRename = false);

/// In the write of that number, when so much of it is done, in percent.
void InWrite(int number, int percent);

} // namespace CallDeath
