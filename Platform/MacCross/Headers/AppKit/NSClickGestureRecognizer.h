#pragma once

#include <AppKit/NSGestureRecognizer.h>

API_AVAILABLE(macos(10.10))
@interface NSClickGestureRecognizer : NSGestureRecognizer
@end
