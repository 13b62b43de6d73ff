#pragma once

/// Renames a file, by the names that the system has for it, unless something has the new name already.
bool RenameUnlessTaken(const char* from, const char* to);
