#include "FreeMemory.h"

#include <malloc.h>

void FreeMemory::ReturnToSystem()
{
    ::malloc_trim(0);
}
