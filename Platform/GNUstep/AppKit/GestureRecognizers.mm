// Gesture recognizers: GNUstep has their classes, but no view takes them.

#include "AppKit/GestureRecognizers.h"

#include "ObjectiveC/Retained.h"
#import "Runtime/AttachedObject.h"

#import <AppKit/AppKit.h>
#import <objc/associated_objects.h>

namespace {

const char recognizersKey = 0;
const char viewKey = 0;
const char targetKey = 0;
const char actionKey = 0;

bool isControlWithAction(NSView* view) {
    return
        [view isKindOfClass:[NSControl class]] && [static_cast<NSControl*>(view) action] != nullptr;
}

NSClickGestureRecognizer* clickRecognizerOf(NSView* view) {
    for (NSGestureRecognizer* recognizer in [view gestureRecognizers]) {
        if ([recognizer isKindOfClass:[NSClickGestureRecognizer class]]) {
            return static_cast<NSClickGestureRecognizer*>(recognizer);
        }
    }
    return nil;
}

// That of the innermost view under the pointer; a control that does something on a click is nearer.
NSClickGestureRecognizer* clickRecognizerAt(NSView* view) {
    for (; view != nil && !isControlWithAction(view); view = [view superview]) {
        if (NSClickGestureRecognizer* const recognizer = clickRecognizerOf(view)) {
            return recognizer;
        }
    }
    return nil;
}

// A view that has left its window meanwhile has lost the click.
bool isOver(NSView* view, NSEvent* event, NSWindow* window) {
    const NSPoint place = [view convertPoint:[event locationInWindow] fromView:nil];
    return [view window] == window && [view mouse:place inRect:[view bounds]];
}

// A click counts where the button is let go.
void followClick(NSWindow* window, NSClickGestureRecognizer* recognizer) {
    keptUntilPoolDrains(recognizer);
    NSEvent* const end = [window nextEventMatchingMask:NSLeftMouseUpMask];
    if (isOver([recognizer view], end, window)) {
        [NSApp sendAction:[recognizer action] to:[recognizer target] from:recognizer];
    }
}

} // namespace

bool isTakenByRecognizer(NSEvent* event, NSWindow* window) {
    if ([event type] != NSLeftMouseDown) {
        return false;
    }
    NSView* const pressed = [[window contentView] hitTest:[event locationInWindow]];
    NSClickGestureRecognizer* const recognizer = clickRecognizerAt(pressed);
    if (recognizer == nil) {
        return false;
    }
    followClick(window, recognizer);
    return true;
}

@implementation NSGestureRecognizer (TargetAndAction)

- (instancetype)initWithTarget:(id)target action:(SEL)action {
    self = [super init];
    if (self != nil) {
        [self setTarget:target];
        [self setAction:action];
    }
    return self;
}

- (id)target {
    return [objc_getAssociatedObject(self, &targetKey) nonretainedObjectValue];
}

- (void)setTarget:(id)target {
    objc_setAssociatedObject(self, &targetKey, [NSValue valueWithNonretainedObject:target],
                             OBJC_ASSOCIATION_RETAIN);
}

- (SEL)action {
    return NSSelectorFromString(objc_getAssociatedObject(self, &actionKey));
}

- (void)setAction:(SEL)action {
    objc_setAssociatedObject(self, &actionKey, NSStringFromSelector(action),
                             OBJC_ASSOCIATION_RETAIN);
}

- (NSView*)view {
    return [objc_getAssociatedObject(self, &viewKey) nonretainedObjectValue];
}

@end

@implementation NSView (GestureRecognizers)

- (NSArray*)gestureRecognizers {
    NSArray* const recognizers = objc_getAssociatedObject(self, &recognizersKey);
    return recognizers == nil ? [NSArray array] : [NSArray arrayWithArray:recognizers];
}

- (void)addGestureRecognizer:(NSGestureRecognizer*)recognizer {
    [attachedObject<NSMutableArray>(self, &recognizersKey) addObject:recognizer];
    objc_setAssociatedObject(recognizer, &viewKey, [NSValue valueWithNonretainedObject:self],
                             OBJC_ASSOCIATION_RETAIN);
}

- (void)removeGestureRecognizer:(NSGestureRecognizer*)recognizer {
    objc_setAssociatedObject(recognizer, &viewKey, nil, OBJC_ASSOCIATION_RETAIN);
    [attachedObject<NSMutableArray>(self, &recognizersKey) removeObject:recognizer];
}

@end
