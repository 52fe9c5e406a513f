#pragma once

#include <Foundation/NSObjCRuntime.h>

@class NSString;

@interface NSException : NSObject
@property (nullable, readonly, copy) NSString* reason;
@end
