#pragma once

class QByteArray;

/// Write protection of a file or folder, see FileInfoMac. Paths are native; links are followed.
namespace FileLock {

/// If the file is missing or the system refuses, returns false and changes nothing.
bool Lock(const QByteArray& path);
/// Restores what Lock removed. Returns true and changes nothing if the file was never locked.
bool Unlock(const QByteArray& path);

} // namespace FileLock
