// GNUstep's Foundation, with the declarations of Apple's that it lacks.
#pragma once
#pragma clang system_header

#include_next <Foundation/Foundation.h>

// From Darwin's C headers.
#ifndef __unused
#define __unused __attribute__((unused))
#endif

@interface NSFileHandle (ReturnedErrors)
/// Like -closeFile, but a failure is returned instead of raised.
- (BOOL)closeAndReturnError:(NSError**)error;
@end

// GNUstep defines it as nothing.
#undef NS_UNAVAILABLE
#define NS_UNAVAILABLE __attribute__((unavailable))
