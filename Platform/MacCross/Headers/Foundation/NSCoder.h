#pragma once

#include <Foundation/NSObjCRuntime.h>

@interface NSCoder : NSObject
@end
