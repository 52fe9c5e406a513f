#include "MacProgram/Frameworks/Frameworks.h"

#include <CoreGraphics/CoreGraphics.h>

namespace mac_program {

Library coreGraphics() {
    return {"/System/Library/Frameworks/CoreGraphics.framework/Versions/A/CoreGraphics",
            {
                function("_CGBeginDisplayConfiguration", CGBeginDisplayConfiguration),
                function("_CGCancelDisplayConfiguration", CGCancelDisplayConfiguration),
                function("_CGCompleteDisplayConfiguration", CGCompleteDisplayConfiguration),
                function("_CGConfigureDisplayMirrorOfDisplay", CGConfigureDisplayMirrorOfDisplay),
                function("_CGDisplayGammaTableCapacity", CGDisplayGammaTableCapacity),
                function("_CGDisplayIsActive", CGDisplayIsActive),
                function("_CGDisplayIsBuiltin", CGDisplayIsBuiltin),
                function("_CGDisplayIsInMirrorSet", CGDisplayIsInMirrorSet),
                function("_CGDisplayIsMain", CGDisplayIsMain),
                function("_CGDisplayIsOnline", CGDisplayIsOnline),
                function("_CGDisplayMirrorsDisplay", CGDisplayMirrorsDisplay),
                function("_CGDisplayModelNumber", CGDisplayModelNumber),
                function("_CGDisplayPixelsHigh", CGDisplayPixelsHigh),
                function("_CGDisplayPixelsWide", CGDisplayPixelsWide),
                function("_CGDisplayRestoreColorSyncSettings", CGDisplayRestoreColorSyncSettings),
                function("_CGDisplayVendorNumber", CGDisplayVendorNumber),
                function("_CGGetActiveDisplayList", CGGetActiveDisplayList),
                function("_CGGetDisplayTransferByTable", CGGetDisplayTransferByTable),
                function("_CGGetOnlineDisplayList", CGGetOnlineDisplayList),
                function("_CGRestorePermanentDisplayConfiguration",
                         CGRestorePermanentDisplayConfiguration),
                function("_CGSetDisplayTransferByTable", CGSetDisplayTransferByTable),
            },
            {}};
}

} // namespace mac_program
