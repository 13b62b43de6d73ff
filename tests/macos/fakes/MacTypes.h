#pragma once

// The types of the system's header that the library uses.

#include <cstdint>

using Boolean = unsigned char;
using UInt8 = std::uint8_t;
using UInt16 = std::uint16_t;
using SInt16 = std::int16_t;
using UInt32 = std::uint32_t;
using UInt64 = unsigned long long;
using OSErr = SInt16;
using ItemCount = unsigned long;

enum { noErr = 0 };
