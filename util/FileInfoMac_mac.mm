#include <NeroltOrvaneBase/FileInfoMac.h>

#include <QtCore/QDateTime>

#import <Foundation/Foundation.h>

namespace {

NSString* AttributeName(FileTimeType type)
{
    switch (type) {
    case FileTimeCreation:
        return NSFileCreationDate;
    case FileTimeModification:
    case FileTimeWrite:
        return NSFileModificationDate;
    }
    return nil;
}

// The errors are not examined: callers only learn whether the call succeeded.
bool SetAttribute(const QString& path, NSString* name, id value)
{
    const id values[] = {value};
    NSString* const names[] = {name};
    NSDictionary* const attributes = [NSDictionary dictionaryWithObjects:values forKeys:names count:1];
    return [[NSFileManager defaultManager] setAttributes:attributes ofItemAtPath:path.toNSString() error:nullptr] != NO;
}

} // namespace

FileInfoMac::FileInfoMac(const QString& path)
    : iPath(path)
{
}

FileInfoMac::~FileInfoMac() = default;

QDateTime FileInfoMac::GetTime(FileTimeType type)
{
    if (iPath.isEmpty())
        return QDateTime();
    const QMacAutoReleasePool pool;
    NSFileManager* const manager = [NSFileManager defaultManager];
    NSString* const path = iPath.toNSString();
    NSString* const name = AttributeName(type);
    NSDate* date = nil;
    if ([manager fileExistsAtPath:path] && name)
        date = [[manager attributesOfItemAtPath:path error:nullptr] objectForKeyedSubscript:name];
    return QDateTime::fromNSDate(date);
}

std::optional<qint64> FileInfoMac::GetMSecs(FileTimeType type, int)
{
    const QDateTime time = GetTime(type);
    return time.isValid() ? std::optional<qint64>(time.toMSecsSinceEpoch()) : std::nullopt;
}

bool FileInfoMac::SetTime(const QDateTime& time, FileTimeType type)
{
    if (iPath.isEmpty())
        return false;
    const QMacAutoReleasePool pool;
    NSString* const name = AttributeName(type);
    // An invalid time would become a date in 1970, and a dictionary cannot hold nil.
    NSDate* const date = name && time.isValid() ? time.toNSDate() : nil;
    return date && SetAttribute(iPath, name, date);
}

bool FileInfoMac::SetCreationMSecs(qint64 msecs, int)
{
    return SetTime(QDateTime::fromMSecsSinceEpoch(msecs), FileTimeCreation);
}

bool FileInfoMac::SetReadOnlyFlag(bool readOnly)
{
    if (iPath.isEmpty())
        return false;
    const QMacAutoReleasePool pool;
    if (![[NSFileManager defaultManager] fileExistsAtPath:iPath.toNSString()])
        return false;
    return SetAttribute(iPath, NSFileImmutable, [NSNumber numberWithBool:readOnly]);
}

OSVersion FileInfoMac::GetOSVersion()
{
    const QMacAutoReleasePool pool;
    OSVersion version;
    if (NSProcessInfo* const process = [NSProcessInfo processInfo]) {
        const NSOperatingSystemVersion system = [process operatingSystemVersion];
        version.iMajor = qint32(system.majorVersion);
        version.iMinor = qint32(system.minorVersion);
    }
    return version;
}
