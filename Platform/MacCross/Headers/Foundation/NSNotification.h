#pragma once

#include <Foundation/NSObjCRuntime.h>

@interface NSNotification : NSObject
@end
