// Applications on the simulated Mac: they belong to its session from their launch on, as they
// connect to the window server then. A program without one does so in its first call.

#include "ObjectiveC/MethodReplacement.h"

#include "SimulatedMac/World/RunningMac.h"

#import <AppKit/AppKit.h>

using namespace simulated_mac;

namespace {

void (*originalFinishLaunching)(NSApplication*, SEL);

void finishLaunching(NSApplication* self, SEL selector) {
    RunningMac::current().attachThisProcess();
    originalFinishLaunching(self, selector);
}

} // namespace

/// Loaded with the program; its only task is to put the function above in place.
@interface SimulatedApplications : NSObject
@end

@implementation SimulatedApplications

+ (void)load {
    originalFinishLaunching = functionOf<void(NSApplication*, SEL)>(replaceInstanceMethod(
        [NSApplication class], @selector(finishLaunching), implementationOf(finishLaunching)));
}

@end

extern "C" const int simulatedApplications = 1;
