#pragma once

#include <Foundation/NSObjCRuntime.h>

@class NSString;

// Per user, with a slash at its end.
FOUNDATION_EXPORT NSString* _Nonnull NSTemporaryDirectory(void);
