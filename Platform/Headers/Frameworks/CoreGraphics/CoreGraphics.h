// The CoreGraphics display services that the program uses, for machines without the macOS SDK.
#pragma once

#include <CoreFoundation/CFBase.h>
#include <mach/boolean.h>

#include <stddef.h>
#include <stdint.h>

CF_EXTERN_C_BEGIN

typedef uint32_t CGDirectDisplayID;
typedef float CGGammaValue;
typedef struct _CGDisplayConfigRef* CGDisplayConfigRef;

CF_ENUM(int32_t, CGError){
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

CF_ENUM(uint32_t, CGConfigureOption){
    kCGConfigureForAppOnly = 0,
    kCGConfigureForSession = 1,
    kCGConfigurePermanently = 2,
};

#define kCGNullDirectDisplay ((CGDirectDisplayID)0)

// With a NULL array `maxDisplays` is ignored and the count is that of all displays.
CGError CGGetActiveDisplayList(uint32_t maxDisplays, CGDirectDisplayID* _Nullable activeDisplays,
                               uint32_t* _Nullable displayCount);
CGError CGGetOnlineDisplayList(uint32_t maxDisplays, CGDirectDisplayID* _Nullable onlineDisplays,
                               uint32_t* _Nullable displayCount);

boolean_t CGDisplayIsActive(CGDirectDisplayID display);
boolean_t CGDisplayIsOnline(CGDirectDisplayID display);
boolean_t CGDisplayIsMain(CGDirectDisplayID display);
boolean_t CGDisplayIsBuiltin(CGDirectDisplayID display);
boolean_t CGDisplayIsInMirrorSet(CGDirectDisplayID display);
// The master of a display that mirrors one; else kCGNullDirectDisplay.
CGDirectDisplayID CGDisplayMirrorsDisplay(CGDirectDisplayID display);
size_t CGDisplayPixelsWide(CGDirectDisplayID display);
size_t CGDisplayPixelsHigh(CGDirectDisplayID display);
uint32_t CGDisplayVendorNumber(CGDirectDisplayID display);
uint32_t CGDisplayModelNumber(CGDirectDisplayID display);

CGError CGBeginDisplayConfiguration(CGDisplayConfigRef _Nullable* _Nullable config);
CGError CGConfigureDisplayMirrorOfDisplay(CGDisplayConfigRef _Nullable config,
                                          CGDirectDisplayID display, CGDirectDisplayID master);
CGError CGCancelDisplayConfiguration(CGDisplayConfigRef _Nullable config);
// Whatever it returns, the configuration is spent.
CGError CGCompleteDisplayConfiguration(CGDisplayConfigRef _Nullable config,
                                       CGConfigureOption option);

// Ends what was configured for the session, for all displays.
void CGRestorePermanentDisplayConfiguration(void);

uint32_t CGDisplayGammaTableCapacity(CGDirectDisplayID display);
CGError CGGetDisplayTransferByTable(CGDirectDisplayID display, uint32_t capacity,
                                    CGGammaValue* _Nullable redTable,
                                    CGGammaValue* _Nullable greenTable,
                                    CGGammaValue* _Nullable blueTable,
                                    uint32_t* _Nullable sampleCount);
CGError CGSetDisplayTransferByTable(CGDirectDisplayID display, uint32_t tableSize,
                                    const CGGammaValue* _Nullable redTable,
                                    const CGGammaValue* _Nullable greenTable,
                                    const CGGammaValue* _Nullable blueTable);
void CGDisplayRestoreColorSyncSettings(void);

CF_EXTERN_C_END
