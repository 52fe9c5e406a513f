#include "MacProgram/Frameworks/Frameworks.h"
#include "MacProgram/Frameworks/WithTwins.h"

#include <CoreFoundation/CoreFoundation.h>

namespace mac_program {
namespace {

// A literal's first word, until it becomes Foundation's.
const std::uint64_t literalClass = 0;

} // namespace

Library coreFoundation() {
    return {"/System/Library/Frameworks/CoreFoundation.framework/Versions/A/CoreFoundation",
            {
                function("_CFArrayGetTypeID", CFArrayGetTypeID),
                function("_CFBooleanGetTypeID", CFBooleanGetTypeID),
                function("_CFDataGetTypeID", CFDataGetTypeID),
                function("_CFDictionaryGetTypeID", CFDictionaryGetTypeID),
                function("_CFNumberGetTypeID", CFNumberGetTypeID),
                function("_CFStringGetTypeID", CFStringGetTypeID),
                withTwins<CFArrayGetCount>("_CFArrayGetCount"),
                withTwins<CFArrayGetValueAtIndex>("_CFArrayGetValueAtIndex"),
                withTwins<CFBooleanGetValue>("_CFBooleanGetValue"),
                withTwins<CFDataGetBytes>("_CFDataGetBytes"),
                withTwins<CFDataGetLength>("_CFDataGetLength"),
                withTwins<CFDictionaryGetCount>("_CFDictionaryGetCount"),
                withTwins<CFDictionaryGetKeysAndValues>("_CFDictionaryGetKeysAndValues"),
                withTwins<CFDictionaryGetValue>("_CFDictionaryGetValue"),
                withTwins<CFGetTypeID>("_CFGetTypeID"),
                withTwins<CFNumberGetValue>("_CFNumberGetValue"),
                withTwins<CFRelease>("_CFRelease"),
                withTwins<CFStringGetBytes>("_CFStringGetBytes"),
                withTwins<CFStringGetLength>("_CFStringGetLength"),
                data("_kCFAllocatorDefault", &kCFAllocatorDefault),
                data("___CFConstantStringClassReference", &literalClass),
            },
            {"NSArray", "NSData", "NSDate", "NSDictionary", "NSException", "NSMutableArray",
             "NSURL", "NSUserDefaults"}};
}

} // namespace mac_program
