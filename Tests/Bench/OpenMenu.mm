// Opens the application's menu once and prints how many platform calls and memory allocations that
// took: OpenMenu. Profilers count the instructions of -[AppDelegate menuNeedsUpdate:].

#include "AllocationCounter.h"
#include "SimulatedMac/World/Mac.h"
#import "Veilpane/Menu/AppDelegate.h"

#import <AppKit/AppKit.h>

#include <cstdio>

int main() {
    @autoreleasepool {
        [NSApplication sharedApplication];
        AppDelegate* const delegate = [[[AppDelegate alloc] init] autorelease];
        [delegate applicationDidFinishLaunching:nil];
        NSMenu* const menu = [[delegate statusItem] menu];
        // The first opening also asks the system profiler for the names.
        [delegate menuNeedsUpdate:menu];
        simulated_mac::Mac::current().clearCalls();
        const long before = allocationCount();
        [delegate menuNeedsUpdate:menu];
        const long after = allocationCount();
        std::printf("%zu %ld\n", simulated_mac::Mac::current().calls().size(), after - before);
    }
    return 0;
}
