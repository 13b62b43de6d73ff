#pragma once

// The part of the system's header that the library uses.

#include <cstddef>

using malloc_zone_t = struct _malloc_zone_t;

extern "C" std::size_t malloc_zone_pressure_relief(malloc_zone_t* zone, std::size_t goal);
