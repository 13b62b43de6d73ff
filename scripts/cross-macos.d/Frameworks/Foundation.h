#pragma once

#include <CoreFoundation/CoreFoundation.h>

#pragma clang assume_nonnull begin

#ifdef __OBJC_BOOL_IS_BOOL
typedef bool BOOL;
#else
typedef signed char BOOL;
#endif
#define YES __objc_yes
#define NO __objc_no
#define nil nullptr

typedef unsigned long NSUInteger;
typedef long NSInteger;
typedef double NSTimeInterval;

@class NSError;
@class NSString;
typedef NSString* NSFileAttributeKey;

@protocol NSObject
- (instancetype)retain;
- (oneway void)release;
- (instancetype)autorelease;
@end

@protocol NSCopying
@end

__attribute__((objc_root_class))
@interface NSObject<NSObject>
+ (instancetype)alloc;
+ (instancetype)new;
- (instancetype)init;
- (id)copy;
@end

@interface NSString : NSObject <NSCopying>
@end

@interface NSDate : NSObject <NSCopying>
- (instancetype)initWithTimeIntervalSince1970:(NSTimeInterval)seconds;
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
