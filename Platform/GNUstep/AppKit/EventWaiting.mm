#include "AppKit/EventWaiting.h"

#include "ObjectiveC/MethodReplacement.h"
#include "ObjectiveC/Retained.h"

#import <AppKit/AppKit.h>

namespace {

using NextEvent = NSEvent*(NSApplication*, SEL, NSUInteger, NSDate*, NSString*, BOOL);

NextEvent* nextEventOfConnection = nullptr;

constexpr NSTimeInterval seconds = 0.05;

// Every call starts with a look into the queue.
NSEvent* nextEvent(NSApplication* application, SEL selector, NSUInteger mask, NSDate* end,
                   NSString* mode, BOOL isDequeued) {
    Retained<NSEvent> event;
    for (bool isTimeLeft = true; event.get() == nil && isTimeLeft;) {
        @autoreleasepool {
            NSDate* const sliceEnd = [NSDate dateWithTimeIntervalSinceNow:seconds];
            NSDate* const limit = end != nil ? [sliceEnd earlierDate:end] : end;
            event = Retained(
                nextEventOfConnection(application, selector, mask, limit, mode, isDequeued));
            isTimeLeft = [end timeIntervalSinceNow] > 0;
        }
    }
    return std::move(event).handToPool();
}

} // namespace

void watchXlibsQueue() {
    nextEventOfConnection = functionOf<NextEvent>(replaceInstanceMethod(
        [NSApplication class], @selector(nextEventMatchingMask:untilDate:inMode:dequeue:),
        implementationOf(nextEvent)));
}
