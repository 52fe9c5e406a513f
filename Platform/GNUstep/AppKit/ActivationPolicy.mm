// How an application takes part in the desktop: whether it has an icon in the Dock, where GNUstep's
// own icon is suppressed, and whether it may show windows at all.

#include "AppKit/Dock.h"
#include "AppKit/EventWaiting.h"
#include "AppKit/Habits.h"
#include "AppKit/KeyEquivalents.h"
#include "AppKit/Launching.h"
#include "AppKit/Termination.h"
#include "ObjectiveC/MethodReplacement.h"

#import <AppKit/AppKit.h>

namespace {

NSApplicationActivationPolicy currentPolicy = NSApplicationActivationPolicyProhibited;

void refuseActivation() {
    replaceInstanceMethod([NSApplication class], @selector(activateIgnoringOtherApps:),
                          implementationOf(+[](NSApplication*, SEL, BOOL) {}));
}

} // namespace

@implementation NSApplication (ActivationPolicy)

+ (NSApplication*)sharedApplication {
    if (NSApp == nil) {
        // GNUstep would try out how the window manager decorates windows, and complain if there is
        // none.
        [[NSUserDefaults standardUserDefaults] registerDefaults:@{
            @"GSX11HandlesWindowDecorations" : @(NO),
            @"GSSuppressAppIcon" : @(YES)
        }];
        if (!habits().activationIsGranted) {
            refuseActivation();
        }
        watchXlibsQueue();
        matchKeysAgainstStatusMenus();
        finishLaunchingAsOnAMac();
        terminateAsOnAMac();
        // Never released: the application is there as long as the process.
        NSApp = [[self alloc] init];
        hearRequestsToQuit();
    }
    return NSApp;
}

- (BOOL)setActivationPolicy:(NSApplicationActivationPolicy)policy {
    currentPolicy = policy;
    showInDock(policy == NSApplicationActivationPolicyRegular);
    return YES;
}

- (NSApplicationActivationPolicy)activationPolicy {
    return currentPolicy;
}

@end
