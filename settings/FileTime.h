#pragma once

#include <sys/stat.h>

/// The modification time of a file, as precisely as the system stores it.
timespec ModifiedAt(const struct stat& status);
