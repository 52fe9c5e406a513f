#pragma once

#include <Foundation/NSObjCRuntime.h>

@interface NSError : NSObject
@property (readonly) NSInteger code;
@end
