#include "FakeCoreServices.h"

#include <CoreFoundation/CoreFoundation.h>
#include <CoreServices/CoreServices.h>

#include <algorithm>
#include <cstring>
#include <deque>

struct __CFAllocator
{
};

namespace {

// Stays in memory until the next start, to detect a late use or release.
struct Reference
{
    QByteArray iText;
    int iOwners;
};

constexpr std::uint8_t kFileMark = 0xF5;

FakeCoreServices::Answers gAnswers;
QList<QByteArray> gCalls;
std::deque<Reference> gReferences;
const __CFAllocator gAllocator = {};

Reference* Find(CFTypeRef reference)
{
    const auto found = std::find_if(gReferences.begin(), gReferences.end(),
                                    [reference](const Reference& known) { return &known == reference; });
    return found == gReferences.end() ? nullptr : &*found;
}

const Reference* Create(const QByteArray& text)
{
    gReferences.push_back({text, 1});
    return &gReferences.back();
}

QByteArray Text(CFTypeRef reference)
{
    const Reference* const known = Find(reference);
    if (!known)
        return reference ? "unknown" : "null";
    return known->iOwners > 0 ? known->iText : "released " + known->iText;
}

QByteArray Text(CFAllocatorRef allocator)
{
    return allocator == kCFAllocatorDefault ? "default" : "another";
}

QByteArray Text(const FSRef* reference)
{
    const bool isFile = reference && reference->hidden[0] == kFileMark && reference->hidden[79] == kFileMark;
    return isFile ? "the file" : "unknown";
}

QByteArray Given(const void* pointer)
{
    return pointer ? "given" : "null";
}

void Record(const char* function, const QList<QByteArray>& arguments)
{
    gCalls.append(function + QByteArray("(") + arguments.join(", ") + ")");
}

} // namespace

const CFAllocatorRef kCFAllocatorDefault = &gAllocator;

void CFRelease(CFTypeRef reference)
{
    Reference* const known = Find(reference);
    if (!known || known->iOwners < 1)
        Record("CFRelease", {Text(reference)});
    else
        --known->iOwners;
}

CFStringRef CFStringCreateWithCString(CFAllocatorRef allocator, const char* text, CFStringEncoding encoding)
{
    Record("CFStringCreateWithCString", {Text(allocator), text, "0x" + QByteArray::number(encoding, 16)});
    if (!gAnswers.iHasString)
        return nullptr;
    return reinterpret_cast<CFStringRef>(Create("string of " + QByteArray(text)));
}

CFURLRef CFURLCreateWithFileSystemPath(CFAllocatorRef allocator, CFStringRef path, CFURLPathStyle style,
                                       Boolean isDirectory)
{
    Record("CFURLCreateWithFileSystemPath",
           {Text(allocator), Text(path), "style " + QByteArray::number(int(style)), QByteArray::number(isDirectory)});
    if (!gAnswers.iHasUrl)
        return nullptr;
    return reinterpret_cast<CFURLRef>(Create("URL of " + Text(path)));
}

Boolean CFURLGetFSRef(CFURLRef url, FSRef* reference)
{
    Record("CFURLGetFSRef", {Text(url), Given(reference)});
    if (gAnswers.iHasReference)
        std::memset(reference, kFileMark, sizeof *reference);
    return gAnswers.iHasReference;
}

// Fills in only what was requested, as the system does. A failing call leaves misleading values.
OSErr FSGetCatalogInfo(const FSRef* reference, FSCatalogInfoBitmap which, FSCatalogInfo* info,
                       struct HFSUniStr255* name, struct FSSpec* former, FSRef* parent)
{
    Record("FSGetCatalogInfo",
           {Text(reference), "0x" + QByteArray::number(which, 16), Given(info), Given(name), Given(former),
            Given(parent)});
    if (which & kFSCatInfoVolume)
        info->volume = gAnswers.iVolume;
    return gAnswers.iCatalogStatus;
}

OSErr FSGetVolumeInfo(FSVolumeRefNum volume, ItemCount index, FSVolumeRefNum* actual, FSVolumeInfoBitmap which,
                      FSVolumeInfo* info, struct HFSUniStr255* name, FSRef* root)
{
    Record("FSGetVolumeInfo",
           {QByteArray::number(volume), QByteArray::number(quint64(index)), Given(actual),
            "0x" + QByteArray::number(which, 16), Given(info), Given(name), Given(root)});
    if (which & kFSVolInfoSizes) {
        info->freeBytes = gAnswers.iFreeBytes;
        info->totalBytes = gAnswers.iFreeBytes + 4096;
    }
    return gAnswers.iVolumeStatus;
}

void FakeCoreServices::Start(const Answers& answers)
{
    gAnswers = answers;
    gCalls.clear();
    gReferences.clear();
}

QList<QByteArray> FakeCoreServices::Calls()
{
    return gCalls;
}

int FakeCoreServices::CreatedReferences()
{
    return int(gReferences.size());
}

int FakeCoreServices::LiveReferences()
{
    return int(std::count_if(gReferences.begin(), gReferences.end(),
                             [](const Reference& reference) { return reference.iOwners > 0; }));
}
