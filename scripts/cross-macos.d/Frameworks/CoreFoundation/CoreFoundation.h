#pragma once

// The part of Core Foundation that the library uses, with the system's own types. The build without a Mac and the fakes
// in tests/macos share it.

#include <MacTypes.h>

#include <stdint.h>

#ifdef __APPLE__
#include <Availability.h>
#define DEPRECATED_SINCE(version) __API_DEPRECATED("", macos(10.0, version))
#else
#define DEPRECATED_SINCE(version)
#endif

#ifdef __cplusplus
extern "C" {
#endif

typedef const void* CFTypeRef;
typedef const struct __CFAllocator* CFAllocatorRef;
typedef const struct __CFString* CFStringRef;
typedef const struct __CFURL* CFURLRef;

typedef uint32_t CFStringEncoding;
enum : CFStringEncoding { kCFStringEncodingUTF8 = 0x08000100 };

typedef enum CFURLPathStyle : long {
    kCFURLPOSIXPathStyle = 0,
    kCFURLHFSPathStyle = 1,
    kCFURLWindowsPathStyle = 2
} CFURLPathStyle;

extern const CFAllocatorRef kCFAllocatorDefault;

void CFRelease(CFTypeRef reference);

CFStringRef CFStringCreateWithCString(CFAllocatorRef allocator, const char* text, CFStringEncoding encoding);
CFURLRef CFURLCreateWithFileSystemPath(CFAllocatorRef allocator, CFStringRef path, CFURLPathStyle style,
                                       Boolean isFolder);

struct FSRef;
Boolean CFURLGetFSRef(CFURLRef url, struct FSRef* reference) DEPRECATED_SINCE(10.9);

#ifdef __cplusplus
}
#endif
