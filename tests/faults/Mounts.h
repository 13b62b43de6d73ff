#pragma once

/// Small file systems of this process alone.
namespace Mounts {

/// Whether a process of this user may have them.
bool AreAllowed();

/// From now on mounts are this process's own. For programs with one thread at that moment.
bool MakePrivate();

/// A file system in memory of so many KiB on the folder.
bool MountSmall(const char* folder, int kib);
bool SetReadOnly(const char* folder, bool readOnly);

} // namespace Mounts
