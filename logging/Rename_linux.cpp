#include "Rename.h"

#include <cerrno>
#include <cstdio>
#include <fcntl.h>
#include <sys/stat.h>

bool RenameUnlessTaken(const char* from, const char* to)
{
    if (::renameat2(AT_FDCWD, from, AT_FDCWD, to, RENAME_NOREPLACE) == 0)
        return true;
    if (errno != EINVAL && errno != ENOSYS)
        return false;
    // The file system, or an old kernel, cannot do it in one step.
    struct stat status = {};
    return ::lstat(to, &status) != 0 && errno == ENOENT && ::rename(from, to) == 0;
}
