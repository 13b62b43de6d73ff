#include "FreeMemory.h"

#include <cstdint>
#include <cstdlib>
#include <malloc.h>
#include <sys/mman.h>
#include <unistd.h>

#ifndef MADV_POPULATE_WRITE
#define MADV_POPULATE_WRITE 23
#endif

namespace {

// Takes the pages within the block from the system in one call, instead of one fault each. Systems before Linux 5.14
// refuse, and then they come one by one.
void Populate(void* block, std::size_t bytes)
{
    const auto pageSize = std::size_t(::sysconf(_SC_PAGESIZE));
    const std::size_t beforePages = (pageSize - reinterpret_cast<std::uintptr_t>(block) % pageSize) % pageSize;
    if (!block || bytes < beforePages + pageSize)
        return;
    const std::size_t pages = (bytes - beforePages) / pageSize;
    ::madvise(static_cast<char*>(block) + beforePages, pages * pageSize, MADV_POPULATE_WRITE);
}

} // namespace

void FreeMemory::Anticipate(std::size_t bytes)
{
    // What is freed at the end of a heap stays there for the next ones.
    void* const volatile block = std::malloc(bytes); // compilers leave out what nobody sees
    Populate(block, bytes);
    std::free(block);
}

void FreeMemory::ReturnToSystem()
{
    ::malloc_trim(0);
}
