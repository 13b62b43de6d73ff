#include "GnustepFoundation.h"

@implementation NSFileManager (Newer)

- (BOOL)setAttributes:(NSDictionary*)attributes ofItemAtPath:(NSString*)path error:(NSError**)error
{
    if (error)
        *error = nil;
    return [self changeFileAttributes:attributes atPath:path];
}

@end

NSString* QString::toNSString() const
{
    return [NSString stringWithCharacters:utf16() length:NSUInteger(size())];
}

NSDate* QDateTime::toNSDate() const
{
    return [NSDate dateWithTimeIntervalSince1970:double(toMSecsSinceEpoch()) / 1000];
}

QDateTime QDateTime::fromNSDate(const NSDate* date)
{
    if (!date)
        return QDateTime();
    return fromMSecsSinceEpoch(qRound64([const_cast<NSDate*>(date) timeIntervalSince1970] * 1000));
}

QMacAutoReleasePool::QMacAutoReleasePool()
    : iOuter([[NSAutoreleasePool alloc] init])
{
}

QMacAutoReleasePool::~QMacAutoReleasePool()
{
    [static_cast<NSAutoreleasePool*>(iOuter) release];
}
