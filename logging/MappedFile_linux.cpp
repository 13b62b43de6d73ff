#include "MappedFile.h"

#include <fcntl.h>
#include <sys/mman.h>

bool MappedFile::Reserve(int file, qint64 size)
{
    return ::posix_fallocate(file, 0, size) == 0;
}

void MappedFile::KeepFromCopies(void* memory, qint64 size)
{
    ::madvise(memory, size_t(size), MADV_DONTFORK); // nothing in a forked process touches it either
}
