#pragma once

// The part of Core Foundation that the library uses, with the system's own types. FakeCoreServices.cpp implements it.

#include <cstdint>

using Boolean = unsigned char;
using CFStringEncoding = std::uint32_t;
using CFIndex = long;
using CFTypeRef = const void*;
using CFAllocatorRef = const struct __CFAllocator*;
using CFStringRef = const struct __CFString*;
using CFURLRef = const struct __CFURL*;

enum : CFStringEncoding { kCFStringEncodingMacRoman = 0, kCFStringEncodingUTF8 = 0x08000100 };
enum CFURLPathStyle : CFIndex { kCFURLPOSIXPathStyle = 0, kCFURLHFSPathStyle = 1, kCFURLWindowsPathStyle = 2 };

struct FSRef
{
    std::uint8_t hidden[80];
};

extern "C" {
extern const CFAllocatorRef kCFAllocatorDefault;

void CFRelease(CFTypeRef reference);
CFStringRef CFStringCreateWithCString(CFAllocatorRef allocator, const char* text, CFStringEncoding encoding);
CFURLRef CFURLCreateWithFileSystemPath(CFAllocatorRef allocator, CFStringRef path, CFURLPathStyle style,
                                       Boolean isDirectory);
Boolean CFURLGetFSRef(CFURLRef url, FSRef* reference);
}
