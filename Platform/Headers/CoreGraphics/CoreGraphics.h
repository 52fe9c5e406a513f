// The CoreGraphics display services that the program uses, for machines without the macOS SDK.
#pragma once

#include <mach/boolean.h>

#include <stdint.h>

#ifdef __cplusplus
#define CG_ENUM(name, type) enum name : type
extern "C" {
#else
#define CG_ENUM(name, type)                                                                        \
    typedef type name;                                                                             \
    enum
#endif

typedef uint32_t CGDirectDisplayID;
typedef float CGGammaValue;
typedef struct _CGDisplayConfigRef* CGDisplayConfigRef;

CG_ENUM(CGError, int32_t){
    kCGErrorSuccess = 0,
    kCGErrorFailure = 1000,
    kCGErrorIllegalArgument = 1001,
    kCGErrorInvalidConnection = 1002,
    kCGErrorInvalidContext = 1003,
    kCGErrorCannotComplete = 1004,
    kCGErrorNotImplemented = 1006,
    kCGErrorRangeCheck = 1007,
    kCGErrorTypeCheck = 1008,
    kCGErrorInvalidOperation = 1010,
    kCGErrorNoneAvailable = 1011,
};

CG_ENUM(CGConfigureOption, uint32_t){
    kCGConfigureForAppOnly = 0,
    kCGConfigureForSession = 1,
    kCGConfigurePermanently = 2,
};

#define kCGNullDirectDisplay ((CGDirectDisplayID)0)

CGError CGGetActiveDisplayList(uint32_t maxDisplays, CGDirectDisplayID* activeDisplays,
                               uint32_t* displayCount);
CGError CGGetOnlineDisplayList(uint32_t maxDisplays, CGDirectDisplayID* onlineDisplays,
                               uint32_t* displayCount);

boolean_t CGDisplayIsActive(CGDirectDisplayID display);
boolean_t CGDisplayIsOnline(CGDirectDisplayID display);
boolean_t CGDisplayIsMain(CGDirectDisplayID display);
boolean_t CGDisplayIsBuiltin(CGDirectDisplayID display);
boolean_t CGDisplayIsInMirrorSet(CGDirectDisplayID display);
uint32_t CGDisplayVendorNumber(CGDirectDisplayID display);
uint32_t CGDisplayModelNumber(CGDirectDisplayID display);

CGError CGBeginDisplayConfiguration(CGDisplayConfigRef* config);
CGError CGConfigureDisplayMirrorOfDisplay(CGDisplayConfigRef config, CGDirectDisplayID display,
                                          CGDirectDisplayID master);
CGError CGCancelDisplayConfiguration(CGDisplayConfigRef config);
CGError CGCompleteDisplayConfiguration(CGDisplayConfigRef config, CGConfigureOption option);

CGError CGGetDisplayTransferByTable(CGDirectDisplayID display, uint32_t capacity,
                                    CGGammaValue* redTable, CGGammaValue* greenTable,
                                    CGGammaValue* blueTable, uint32_t* sampleCount);
CGError CGSetDisplayTransferByTable(CGDirectDisplayID display, uint32_t tableSize,
                                    const CGGammaValue* redTable, const CGGammaValue* greenTable,
                                    const CGGammaValue* blueTable);
void CGDisplayRestoreColorSyncSettings(void);

#ifdef __cplusplus
}
#endif

#undef CG_ENUM
