// What every control of Apple's has: a size class and a way to cut its text.

#import <AppKit/AppKit.h>
#import <objc/associated_objects.h>

namespace {

const char controlSizeKey = 0;

} // namespace

@implementation NSControl (Sizes)

- (NSControlSize)controlSize {
    return static_cast<NSControlSize>(
        [objc_getAssociatedObject(self, &controlSizeKey) unsignedIntegerValue]);
}

- (void)setControlSize:(NSControlSize)size {
    objc_setAssociatedObject(self, &controlSizeKey, @(size), OBJC_ASSOCIATION_RETAIN);
    [self setNeedsDisplay:YES];
}

- (NSLineBreakMode)lineBreakMode {
    return [[self cell] lineBreakMode];
}

- (void)setLineBreakMode:(NSLineBreakMode)mode {
    [[self cell] setLineBreakMode:mode];
    [self setNeedsDisplay:YES];
}

@end
