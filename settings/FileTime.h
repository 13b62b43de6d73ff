#pragma once

#include <sys/stat.h>

/// When a file was modified, as fine as its system tells it.
timespec ModifiedAt(const struct stat& status);
