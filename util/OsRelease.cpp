#include "OsRelease.h"

#include <charconv>
#include <cstring>

OSVersion ParseOsRelease(const char* release)
{
    OSVersion version;
    const char* const end = release + std::strlen(release);
    const char* const dot = std::from_chars(release, end, version.iMajor).ptr;
    if (dot != end && *dot == '.')
        std::from_chars(dot + 1, end, version.iMinor);
    return version;
}
