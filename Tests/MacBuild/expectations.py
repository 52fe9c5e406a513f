"""What the program may ask of a Mac: which libraries, and which of their symbols.

The classes and functions are listed by the library that exports them on macOS 13 and later. NSFont is
UIFoundation's, which AppKit re-exports.
"""

from typing import NamedTuple

ARCHITECTURES = ["arm64", "x86_64"]

OLDEST_SYSTEM = "13.0"

# AppKit chooses some of its behaviour by it.
SDK = "14.2"

# Bytes. The kernel maps whole pages only.
PAGE_SIZES = {"arm64": 0x4000, "x86_64": 0x1000}

_FRAMEWORK = "/System/Library/Frameworks/{0}.framework/Versions/{1}/{0}"

LIBRARIES = sorted([
    _FRAMEWORK.format("AppKit", "C"),
    _FRAMEWORK.format("Foundation", "C"),
    _FRAMEWORK.format("CoreFoundation", "A"),
    _FRAMEWORK.format("CoreGraphics", "A"),
    _FRAMEWORK.format("IOKit", "A"),
    "/usr/lib/libobjc.A.dylib",
    "/usr/lib/libSystem.B.dylib",
])


def _classes(*names):
    return {prefix + name for name in names
            for prefix in ("_OBJC_CLASS_$_", "_OBJC_METACLASS_$_")}


EXPORTS = {
    "AppKit": _classes(
        "NSAlert", "NSApplication", "NSBezierPath", "NSClickGestureRecognizer", "NSColor", "NSFont",
        "NSImage", "NSImageView", "NSMenu", "NSMenuItem", "NSScreen", "NSStatusBar", "NSStatusBarButton", "NSStatusItem",
        "NSSwitch", "NSTextField", "NSView") | {
            "_NSApp", "_NSBeep", "_NSFontWeightMedium", "_NSFontWeightRegular",
            "_NSFontWeightSemibold"},
    "Foundation": _classes(
        "NSAutoreleasePool", "NSBundle", "NSError", "NSFileHandle", "NSISO8601DateFormatter",
        "NSJSONSerialization", "NSLayoutAnchor", "NSLayoutConstraint", "NSLayoutDimension",
        "NSLayoutXAxisAnchor", "NSLayoutYAxisAnchor", "NSNumber", "NSString", "NSValue") | {
            "_NSTemporaryDirectory", "_NSZeroRect"},
    "CoreFoundation": _classes(
        "NSArray", "NSData", "NSDate", "NSDictionary", "NSException", "NSMutableArray",
        "NSMutableDictionary", "NSMutableSet", "NSNull", "NSSet", "NSURL", "NSUserDefaults") | {
            "_CFArrayGetCount", "_CFArrayGetTypeID", "_CFArrayGetValueAtIndex",
            "_CFBooleanGetTypeID", "_CFBooleanGetValue", "_CFDataGetBytes", "_CFDataGetLength",
            "_CFDataGetTypeID", "_CFDictionaryGetCount", "_CFDictionaryGetKeysAndValues",
            "_CFDictionaryGetTypeID", "_CFDictionaryGetValue", "_CFGetTypeID",
            "_CFNumberGetTypeID", "_CFNumberGetValue", "_CFNumberIsFloatType", "_CFRelease",
            "_CFRetain", "_CFStringGetBytes", "_CFStringGetCString", "_CFStringGetCStringPtr", "_CFStringGetLength",
            "_CFStringGetMaximumSizeForEncoding", "_CFStringGetTypeID",
            "___CFConstantStringClassReference", "_kCFAllocatorDefault", "_kCFBooleanTrue",
            "_OBJC_EHTYPE_$_NSException"},
    "CoreGraphics": {
        "_CGBeginDisplayConfiguration", "_CGCancelDisplayConfiguration",
        "_CGCompleteDisplayConfiguration", "_CGConfigureDisplayMirrorOfDisplay",
        "_CGDisplayGammaTableCapacity",
        "_CGDisplayIsActive", "_CGDisplayIsBuiltin", "_CGDisplayIsInMirrorSet", "_CGDisplayIsMain",
        "_CGDisplayIsOnline", "_CGDisplayMirrorsDisplay", "_CGDisplayModelNumber",
        "_CGDisplayPixelsHigh", "_CGDisplayPixelsWide", "_CGDisplayPrimaryDisplay", "_CGDisplayRestoreColorSyncSettings", "_CGDisplaySerialNumber",
        "_CGDisplayVendorNumber", "_CGGetActiveDisplayList", "_CGGetDisplayTransferByTable",
        "_CGGetOnlineDisplayList", "_CGMainDisplayID",
        "_CGRestorePermanentDisplayConfiguration", "_CGSetDisplayTransferByTable"},
    "IOKit": {
        "_IOFBCopyI2CInterfaceForBus", "_IOFBGetI2CInterfaceCount", "_IOI2CInterfaceClose",
        "_IOI2CInterfaceOpen", "_IOI2CSendRequest", "_IOIteratorNext", "_IOObjectConformsTo",
        "_IOObjectGetClass", "_IOObjectRelease", "_IOObjectRetain", "_IORegistryEntryCreateCFProperty",
        "_IORegistryEntryCreateIterator", "_IORegistryEntryGetChildIterator",
        "_IORegistryEntryGetParentEntry", "_IORegistryEntryGetRegistryEntryID", "_IORegistryEntrySearchCFProperty",
        "_IOServiceGetMatchingServices", "_IOServiceMatching", "_kIOMainPortDefault"},
    "libobjc": _classes("NSObject", "Protocol") | {
        "___objc_personality_v0", "__objc_empty_cache", "_objc_alloc", "_objc_alloc_init",
        "_objc_autorelease", "_objc_autoreleasePoolPop", "_objc_autoreleasePoolPush",
        "_objc_begin_catch", "_objc_end_catch", "_objc_enumerationMutation",
        "_objc_exception_rethrow", "_objc_exception_throw", "_objc_msgSend", "_objc_msgSendSuper2",
        "_objc_msgSend_stret", "_objc_opt_class", "_objc_opt_isKindOfClass", "_objc_opt_new",
        "_objc_opt_respondsToSelector", "_objc_opt_self", "_objc_release", "_objc_retain"},
}

# libSystem exports the whole C library. A C++ library is linked in, and the system's one, which is
# another release, must not be met beside it.
FORBIDDEN_OF_SYSTEM = ("__Z", "___cxa_throw", "___cxa_begin_catch", "___gxx")

CLASSES = ["AppDelegate", "MenuLabelRowView", "PowerSwitchRowView", "StatusMenu"]

SELECTORS = ["applicationDidFinishLaunching:", "applicationWillTerminate:",
             "applicationSupportsSecureRestorableState:", "menuNeedsUpdate:", "performKeyEquivalent:",
             "cancelTrackingWithoutAnimation", "cancelTracking",
             "menuHasKeyEquivalent:forEvent:target:action:",
             "setPreventsApplicationTerminationWhenModal:", "switchChanged:", "quit", "initWithCoder:"]

SKYLIGHT = "/System/Library/PrivateFrameworks/SkyLight.framework/SkyLight"


class Kind(NamedTuple):
    """What differs between our programs."""
    texts: list  # that it must hold
    largest_slice: int  # Bytes, signed. What is far beyond has something linked in that nobody meant.


PROGRAM = Kind(CLASSES + SELECTORS + [SKYLIGHT], 200_000)
PROBE = Kind([SKYLIGHT, "SLSConfigureDisplayEnabled", "CGDisplayIOServicePort", "companion"], 290_000)

# Absolute paths that a program itself asks for.
PATHS = [SKYLIGHT, "/usr/sbin/system_profiler", "/dev/null", "/System/Library/Frameworks/",
         "/usr/lib/"]
