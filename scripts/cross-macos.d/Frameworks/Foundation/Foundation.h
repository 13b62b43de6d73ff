#pragma once

// The part of Foundation that the library uses, with the system's own signatures. The build without a Mac and the fakes
// in tests/macos share it.

#include <objc/NSObject.h>

#pragma clang assume_nonnull begin

typedef double NSTimeInterval;

@class NSError;
@class NSString;
typedef NSString* NSFileAttributeKey;

@protocol NSCopying
@end

@interface NSString : NSObject <NSCopying>
@end

@interface NSDate : NSObject <NSCopying>
@end

@interface NSNumber : NSObject <NSCopying>
+ (NSNumber*)numberWithBool:(BOOL)value;
@end

@interface NSDictionary<__covariant Key, __covariant Object> : NSObject <NSCopying>
+ (instancetype)dictionaryWithObjects:(const Object _Nonnull* _Nullable)objects
                              forKeys:(const Key<NSCopying> _Nonnull* _Nullable)keys
                                count:(NSUInteger)count;
- (nullable Object)objectForKeyedSubscript:(Key)key;
@end

extern "C" NSFileAttributeKey const NSFileCreationDate;
extern "C" NSFileAttributeKey const NSFileModificationDate;
extern "C" NSFileAttributeKey const NSFileImmutable;

@interface NSFileManager : NSObject
@property (class, readonly, strong) NSFileManager* defaultManager;
- (BOOL)fileExistsAtPath:(NSString*)path;
- (nullable NSDictionary<NSFileAttributeKey, id>*)attributesOfItemAtPath:(NSString*)path
                                                                   error:(NSError* _Nullable* _Nullable)error;
- (BOOL)setAttributes:(NSDictionary<NSFileAttributeKey, id>*)attributes
         ofItemAtPath:(NSString*)path
                error:(NSError* _Nullable* _Nullable)error;
@end

typedef struct
{
    NSInteger majorVersion;
    NSInteger minorVersion;
    NSInteger patchVersion;
} NSOperatingSystemVersion;

@interface NSProcessInfo : NSObject
@property (class, readonly, strong) NSProcessInfo* processInfo;
@property (readonly) NSOperatingSystemVersion operatingSystemVersion;
@end

#pragma clang assume_nonnull end
