#include "Rename.h"

#include <cerrno>
#include <cstdio>
#include <sys/stat.h>

// Only some of its file systems can do it in one step. The log asks with the file locked, so that no other process
// that writes the same log comes between the two.
bool RenameUnlessTaken(const char* from, const char* to)
{
    struct stat status = {};
    return ::lstat(to, &status) != 0 && errno == ENOENT && ::rename(from, to) == 0;
}
