#pragma once

// As much of the system's header as the library uses.

#include <cstddef>

extern "C" int sysctlbyname(const char* name, void* value, std::size_t* size, void* newValue, std::size_t newSize);
