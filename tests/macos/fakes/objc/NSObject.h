#pragma once

// The part of the system's header that the library and the fakes use, for GCC's runtime.

#include <objc/objc.h>

typedef long NSInteger;
typedef unsigned long NSUInteger;

@protocol NSObject
- (instancetype)retain;
- (oneway void)release;
- (instancetype)autorelease;
- (NSUInteger)retainCount;
@end

__attribute__((objc_root_class))
@interface NSObject<NSObject> {
    Class isa;
}
@end
