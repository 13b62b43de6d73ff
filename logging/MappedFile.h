#pragma once

#include <QtCore/QtGlobal>

/// What the systems do differently for a file that is mapped into memory.
namespace MappedFile {

/// Gives an empty file `size` bytes, and blocks on the disk for all of them. False when there is no room.
bool Reserve(int file, qint64 size);

/// Forked processes do not have this mapping.
void KeepFromCopies(void* memory, qint64 size);

} // namespace MappedFile
