#include "FreeMemory.h"

#include <malloc/malloc.h>

void FreeMemory::Anticipate(std::size_t)
{
    // Its allocator takes large regions by itself.
}

void FreeMemory::ReturnToSystem()
{
    ::malloc_zone_pressure_relief(nullptr, 0);
}
