#pragma once

// The part of Foundation that the library uses, with the system's own signatures. FakeFoundation.mm implements it.

#include <objc/objc.h>

typedef long NSInteger;
typedef unsigned long NSUInteger;
typedef double NSTimeInterval;

@class NSError;

@protocol NSCopying
- (id)retain;
@end

__attribute__((objc_root_class))
@interface NSObject {
    Class isa;
    long iOwners;
}
- (id)retain;
- (void)release;
- (id)autorelease;
- (long)owners;
- (void)releaseContents;
@end

@interface NSString : NSObject <NSCopying> {
@public
    const void* iText; // a QString
    const char* iConstant; // the name of one, else null
}
@end

@interface NSDate : NSObject {
@public
    NSTimeInterval iSeconds;
}
@end

@interface NSNumber : NSObject {
@public
    BOOL iValue;
}
+ (NSNumber*)numberWithBool:(BOOL)value;
@end

@interface NSDictionary<__covariant KeyType, __covariant ObjectType> : NSObject {
@public
    id iKey;
    id iObject;
}
+ (instancetype)dictionaryWithObjects:(const ObjectType[])objects
                              forKeys:(const KeyType<NSCopying>[])keys
                                count:(NSUInteger)count;
- (ObjectType)objectForKeyedSubscript:(KeyType)key;
@end

typedef NSString* NSFileAttributeKey;
extern NSFileAttributeKey const NSFileCreationDate;
extern NSFileAttributeKey const NSFileModificationDate;
extern NSFileAttributeKey const NSFileImmutable;

@interface NSFileManager : NSObject
+ (NSFileManager*)defaultManager;
- (BOOL)fileExistsAtPath:(NSString*)path;
- (NSDictionary<NSFileAttributeKey, id>*)attributesOfItemAtPath:(NSString*)path error:(NSError**)error;
- (BOOL)setAttributes:(NSDictionary<NSFileAttributeKey, id>*)attributes
         ofItemAtPath:(NSString*)path
                error:(NSError**)error;
@end

typedef struct
{
    NSInteger majorVersion;
    NSInteger minorVersion;
    NSInteger patchVersion;
} NSOperatingSystemVersion;

@interface NSProcessInfo : NSObject
+ (NSProcessInfo*)processInfo;
- (NSOperatingSystemVersion)operatingSystemVersion;
@end
