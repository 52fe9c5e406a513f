#pragma once

#include <Foundation/NSObjCRuntime.h>

@class NSString;

__attribute__((objc_exception))
@interface NSException : NSObject
@property (nullable, readonly, copy) NSString* reason;
@end
