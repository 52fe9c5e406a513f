#include "AppKit/Termination.h"

#include "ObjectiveC/MethodReplacement.h"

#import <AppKit/AppKit.h>
#import <objc/associated_objects.h>

namespace {

using Terminate = void(NSApplication*, SEL, id);

Terminate* terminateOfGNUstep = nullptr;
const char permissionKey = 0;

void terminate(NSApplication* application, SEL selector, id sender) {
    NSWindow* const modal = [application modalWindow];
    if (modal == nil || ![modal preventsApplicationTerminationWhenModal]) {
        terminateOfGNUstep(application, selector, sender);
    }
}

} // namespace

@implementation NSWindow (Termination)

- (BOOL)preventsApplicationTerminationWhenModal {
    return objc_getAssociatedObject(self, &permissionKey) == nil;
}

- (void)setPreventsApplicationTerminationWhenModal:(BOOL)prevents {
    objc_setAssociatedObject(self, &permissionKey, prevents ? nil : @"allowed",
                             OBJC_ASSOCIATION_RETAIN);
}

@end

void terminateAsOnAMac() {
    terminateOfGNUstep = functionOf<Terminate>(replaceInstanceMethod(
        [NSApplication class], @selector(terminate:), implementationOf(terminate)));
}
