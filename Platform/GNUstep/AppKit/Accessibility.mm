// What a screen reader says of a view. Nothing here reads it aloud: it is kept, as an attribute.

#import <AppKit/AppKit.h>
#import <objc/associated_objects.h>

namespace {

const char labelKey = 0;

NSString* labelOf(NSView* view) {
    return objc_getAssociatedObject(view, &labelKey);
}

} // namespace

@implementation NSView (Accessibility)

- (NSString*)accessibilityLabel {
    return labelOf(self);
}

- (void)setAccessibilityLabel:(NSString*)label {
    objc_setAssociatedObject(self, &labelKey, label, OBJC_ASSOCIATION_COPY);
}

- (BOOL)isAccessibilityElement {
    return [self isKindOfClass:[NSControl class]];
}

@end

// GNUstep's switch has an answer of its own, which no one can set.
@implementation NSSwitch (Accessibility)

- (NSString*)accessibilityLabel {
    return labelOf(self);
}

@end
