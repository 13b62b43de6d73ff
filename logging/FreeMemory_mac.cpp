#include "FreeMemory.h"

#include <malloc/malloc.h>

void FreeMemory::ReturnToSystem()
{
    ::malloc_zone_pressure_relief(nullptr, 0);
}
