#pragma once

#include <CoreFoundation/CoreFoundation.h>

#ifdef __cplusplus
extern "C" {
#endif

typedef uint8_t UInt8;
typedef uint16_t UInt16;
typedef int16_t SInt16;
typedef uint32_t UInt32;
typedef uint64_t UInt64;
typedef SInt16 OSErr;
typedef unsigned long ItemCount;

enum { noErr = 0 };

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

typedef struct UTCDateTime
{
    UInt16 highSeconds;
    UInt32 lowSeconds;
    UInt16 fraction;
} UTCDateTime;

typedef struct FSCatalogInfo
{
    UInt16 nodeFlags;
    FSVolumeRefNum volume;
    UInt32 parentDirID;
    UInt32 nodeID;
} FSCatalogInfo;

typedef struct FSVolumeInfo
{
    UTCDateTime createDate;
    UInt64 totalBytes;
    UInt64 freeBytes;
    UInt32 blockSize;
} FSVolumeInfo;

#pragma pack(pop)

OSErr FSGetCatalogInfo(const FSRef* reference, FSCatalogInfoBitmap which, FSCatalogInfo* info, HFSUniStr255* name,
                       FSSpecPtr place, FSRef* parent) STUB_DEPRECATED(10.0, 10.8);
OSErr FSGetVolumeInfo(FSVolumeRefNum volume, ItemCount index, FSVolumeRefNum* actual, FSVolumeInfoBitmap which,
                      FSVolumeInfo* info, HFSUniStr255* name, FSRef* root) STUB_DEPRECATED(10.0, 10.8);

#ifdef __cplusplus
}
#endif
