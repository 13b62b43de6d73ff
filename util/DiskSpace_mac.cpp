#include <NeroltOrvaneBase/DiskSpace.h>

#include <QtCore/QString>

#include <CoreFoundation/CoreFoundation.h>
#include <CoreServices/CoreServices.h>

#include <memory>
#include <type_traits>

namespace {

/// Owns the object that a function with Create or Copy in its name has returned.
struct Release
{
    void operator()(CFTypeRef reference) const { ::CFRelease(reference); }
};
template <typename Reference>
using Owner = std::unique_ptr<std::remove_pointer_t<Reference>, Release>;

bool FileReference(const QString& path, FSRef& reference)
{
    const QByteArray utf8 = path.toUtf8();
    const Owner<CFStringRef> text(
        ::CFStringCreateWithCString(kCFAllocatorDefault, utf8.constData(), kCFStringEncodingUTF8));
    if (!text)
        return false;
    const Owner<CFURLRef> url(
        ::CFURLCreateWithFileSystemPath(kCFAllocatorDefault, text.get(), kCFURLPOSIXPathStyle, false));
    return url && ::CFURLGetFSRef(url.get(), &reference);
}

} // namespace

qint64 DiskSpace::GetFreeDiskSpace(const QString& path)
{
    FSRef file = {};
    if (path.contains(QChar(0)) || !FileReference(path, file))
        return -1;
    FSCatalogInfo entry = {};
    if (::FSGetCatalogInfo(&file, kFSCatInfoVolume, &entry, nullptr, nullptr, nullptr) != noErr)
        return -1;
    FSVolumeInfo volume = {};
    if (::FSGetVolumeInfo(entry.volume, 0, nullptr, kFSVolInfoSizes, &volume, nullptr, nullptr) != noErr)
        return -1;
    return qint64(volume.freeBytes);
}
