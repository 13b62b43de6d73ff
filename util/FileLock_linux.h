#pragma once

class QByteArray;

/// Write protection of a file or folder, see FileInfoMac. Paths are native; links are followed.
namespace FileLock {

/// False, with nothing changed, when the file is missing or the system refuses.
bool Lock(const QByteArray& path);
/// Gives back what Lock took; true without a change for what was never locked.
bool Unlock(const QByteArray& path);

} // namespace FileLock
