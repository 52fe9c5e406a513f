// GNUstep's AppKit, with the declarations of Apple's that it lacks.
#pragma once
#pragma clang system_header

#include_next <AppKit/AppKit.h>

@interface NSScreen (LocalizedName)
@property (readonly, copy) NSString* localizedName;
@end
