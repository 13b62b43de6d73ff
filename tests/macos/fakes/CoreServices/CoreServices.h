#pragma once

// The part of the File Manager that the library uses, with the system's own types. FakeCoreServices.cpp implements it.

#include <CoreFoundation/CoreFoundation.h>

#include <cstdint>

using OSErr = std::int16_t;
using ItemCount = unsigned long;
using FSVolumeRefNum = std::int16_t;
using FSCatalogInfoBitmap = std::uint32_t;
using FSVolumeInfoBitmap = std::uint32_t;

enum : OSErr { noErr = 0 };
enum : FSCatalogInfoBitmap { kFSCatInfoNodeFlags = 0x2, kFSCatInfoVolume = 0x4, kFSCatInfoGettableInfo = 0x3ffff };
enum : FSVolumeInfoBitmap { kFSVolInfoSizes = 0x40, kFSVolInfoBlocks = 0x80, kFSVolInfoGettableInfo = 0xffff };

struct FSCatalogInfo
{
    std::uint16_t nodeFlags;
    FSVolumeRefNum volume;
    std::uint32_t parentDirID;
};

struct FSVolumeInfo
{
    std::uint32_t fileCount;
    std::uint64_t totalBytes;
    std::uint64_t freeBytes;
    std::uint32_t blockSize;
    std::uint32_t totalBlocks;
    std::uint32_t freeBlocks;
};

extern "C" {
OSErr FSGetCatalogInfo(const FSRef* reference, FSCatalogInfoBitmap which, FSCatalogInfo* info,
                       struct HFSUniStr255* name, struct FSSpec* former, FSRef* parent);
OSErr FSGetVolumeInfo(FSVolumeRefNum volume, ItemCount index, FSVolumeRefNum* actual, FSVolumeInfoBitmap which,
                      FSVolumeInfo* info, struct HFSUniStr255* name, FSRef* root);
}
