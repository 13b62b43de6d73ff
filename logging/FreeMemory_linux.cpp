#include "FreeMemory.h"

#include <cstdlib>
#include <malloc.h>

void FreeMemory::Anticipate(std::size_t bytes)
{
    // What is freed at the end of a heap stays there for the next ones.
    void* const volatile block = std::malloc(bytes); // compilers leave out what nobody sees
    std::free(block);
}

void FreeMemory::ReturnToSystem()
{
    ::malloc_trim(0);
}
