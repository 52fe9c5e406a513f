#include "AppKit/Termination.h"

#include "ObjectiveC/MethodReplacement.h"
#include "ObjectiveC/Retained.h"

#import <AppKit/AppKit.h>
#import <objc/associated_objects.h>

#include <array>
#include <cerrno>
#include <csignal>
#include <cstdint>
#include <fcntl.h>
#include <unistd.h>

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

// Of the pipe through which a signal reaches the run loop.
int writeEnd = -1;

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

/// Hears in the run loop that the process is asked to quit.
@interface QuitRequests : NSObject <RunLoopEvents>
@end

@implementation QuitRequests

- (void)receivedEvent:(void*)__unused data
                 type:(RunLoopEventType)__unused type
                extra:(void*)descriptor
              forMode:(NSString*)__unused mode {
    char request = 0;
    (void)read(static_cast<int>(reinterpret_cast<std::intptr_t>(descriptor)), &request, 1);
    [NSApp terminate:nil];
}

@end

// GNUstep's back end would terminate the application within the signal's handler, whatever lock it
// was holding when the signal came. On a Mac a logout sends an event.
void hearRequestsToQuit() {
    static Retained<QuitRequests> requests([[[QuitRequests alloc] init] autorelease]);
    std::array<int, 2> ends = {};
    if (pipe2(ends.data(), O_CLOEXEC | O_NONBLOCK) != 0) {
        return;
    }
    writeEnd = ends[1];
    for (NSString* const mode in
         @[ NSDefaultRunLoopMode, NSModalPanelRunLoopMode, NSEventTrackingRunLoopMode ]) {
        [[NSRunLoop currentRunLoop]
            addEvent:reinterpret_cast<void*>(static_cast<std::intptr_t>(ends[0]))
                type:ET_RDESC
             watcher:requests.get()
             forMode:mode];
    }
    (void)std::signal(SIGTERM, [](int) {
        const int kept = errno;
        (void)!write(writeEnd, "", 1);
        errno = kept;
    });
}
