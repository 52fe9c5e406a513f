#pragma once

#include <AppKit/NSControl.h>

// Setting the state in code sends no action.
API_AVAILABLE(macos(10.15))
@interface NSSwitch : NSControl
@property NSControlStateValue state;
@end
