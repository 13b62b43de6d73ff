#pragma once

// The part of the File Manager that the library uses, with the system's own types. The build without a Mac and the
// fakes in tests/macos share it.

#include <CoreFoundation/CoreFoundation.h>

#ifdef __cplusplus
extern "C" {
#endif

typedef SInt16 FSVolumeRefNum;
typedef UInt32 FSCatalogInfoBitmap;
typedef UInt32 FSVolumeInfoBitmap;

enum { kFSCatInfoVolume = 0x00000004 };
enum { kFSVolInfoSizes = 0x0040 };

#pragma pack(push, 2)

typedef struct FSRef
{
    UInt8 hidden[80];
} FSRef;

typedef struct FSSpec* FSSpecPtr;

typedef struct HFSUniStr255
{
    UInt16 length;
    UInt16 unicode[255];
} HFSUniStr255;

typedef struct FSCatalogInfo
{
    UInt16 nodeFlags;
    FSVolumeRefNum volume;
    UInt32 parentDirID;
    UInt32 nodeID;
} FSCatalogInfo;

typedef struct FSVolumeInfo
{
    UInt64 totalBytes;
    UInt64 freeBytes;
    UInt32 blockSize;
} FSVolumeInfo;

#pragma pack(pop)

OSErr FSGetCatalogInfo(const FSRef* reference, FSCatalogInfoBitmap which, FSCatalogInfo* info, HFSUniStr255* name,
                       FSSpecPtr place, FSRef* parent) DEPRECATED_SINCE(10.8);
OSErr FSGetVolumeInfo(FSVolumeRefNum volume, ItemCount index, FSVolumeRefNum* actual, FSVolumeInfoBitmap which,
                      FSVolumeInfo* info, HFSUniStr255* name, FSRef* root) DEPRECATED_SINCE(10.8);

#ifdef __cplusplus
}
#endif
