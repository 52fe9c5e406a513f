// GNUstep's AppKit, with the declarations of Apple's that it lacks.
#pragma once

#include_next <AppKit/AppKit.h>

@interface NSScreen (LocalizedName)
@property (readonly, copy) NSString* localizedName;
@end
