#pragma once

#include <Foundation/Foundation.h>

#define APPKIT_EXTERN FOUNDATION_EXPORT

APPKIT_EXTERN void NSBeep(void);
