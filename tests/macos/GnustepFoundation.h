#pragma once

// Included first in a source for macOS that is built with GNUstep's Foundation.

#include "DarwinQt.h"

#import <Foundation/Foundation.h>

// What GNUstep does not declare yet. It has the first by an older name, and the second not at all.

@interface NSFileManager (Newer)
- (BOOL)setAttributes:(NSDictionary*)attributes ofItemAtPath:(NSString*)path error:(NSError**)error;
@end

typedef struct
{
    NSInteger majorVersion;
    NSInteger minorVersion;
    NSInteger patchVersion;
} NSOperatingSystemVersion;

@interface NSProcessInfo (Newer)
- (NSOperatingSystemVersion)operatingSystemVersion;
@end
