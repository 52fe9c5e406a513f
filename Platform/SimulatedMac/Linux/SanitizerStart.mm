// What a process under sanitizers does before its program begins.

#import <Foundation/Foundation.h>

#include <sanitizer/lsan_interface.h>

extern "C" {

extern const int simulatedMacSanitizerStart;
const int simulatedMacSanitizerStart = 1;

} // extern "C"

/// Loaded with the program; its only task is to let GNUstep set up its user defaults, which leaks,
/// before leaks are looked for.
@interface SimulatedMacSanitizerStart : NSObject
@end

@implementation SimulatedMacSanitizerStart

+ (void)load {
    __lsan_disable();
    @autoreleasepool {
        [NSUserDefaults standardUserDefaults];
    }
    __lsan_enable();
}

@end
