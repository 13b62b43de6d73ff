#include "MappedFile.h"

#include <fcntl.h>
#include <mach/vm_inherit.h>
#include <sys/mman.h>
#include <unistd.h>

bool MappedFile::Reserve(int file, qint64 size)
{
    fstore_t store = {};
    store.fst_flags = F_ALLOCATEALL;
    store.fst_posmode = F_PEOFPOSMODE;
    store.fst_length = size;
    return ::fcntl(file, F_PREALLOCATE, &store) == 0 && ::ftruncate(file, size) == 0;
}

void MappedFile::KeepFromCopies(void* memory, qint64 size)
{
    ::minherit(memory, size_t(size), VM_INHERIT_NONE); // nothing in a forked process touches it either
}
