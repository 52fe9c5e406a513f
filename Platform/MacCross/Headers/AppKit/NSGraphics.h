#pragma once

#include <Foundation/Foundation.h>

#define APPKIT_EXTERN FOUNDATION_EXPORT

typedef NSString* NSColorSpaceName;
APPKIT_EXTERN NSColorSpaceName _Nonnull const NSCalibratedRGBColorSpace;

APPKIT_EXTERN void NSBeep(void);
