#pragma once

// The part of the system's header that the library uses.

#include <cstddef>

extern "C" int sysctlbyname(const char* name, void* value, std::size_t* size, void* newValue, std::size_t newSize);
