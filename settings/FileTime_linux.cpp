#include "FileTime.h"

timespec ModifiedAt(const struct stat& status)
{
    return status.st_mtim;
}
