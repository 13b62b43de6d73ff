#pragma once

/// Small file systems that only this process sees.
namespace Mounts {

/// Whether a process of this user may mount them.
bool AreAllowed();

/// From now on mounts are private to this process. The program must have a single thread at this moment.
bool MakePrivate();

/// Mounts a file system in memory with so many KiB on the folder.
bool MountSmall(const char* folder, int kib);
bool SetReadOnly(const char* folder, bool readOnly);

} // namespace Mounts
