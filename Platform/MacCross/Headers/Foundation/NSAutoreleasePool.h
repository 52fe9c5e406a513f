#pragma once

#include <Foundation/NSObjCRuntime.h>

// Without automatic reference counting only.
@interface NSAutoreleasePool : NSObject
- (void)drain;
@end
