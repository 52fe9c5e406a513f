// Switches that look and feel like a Mac's: a pill whose knob moves on a click. In a window that
// does not look like the key one only the knob's place tells on from off.

#import "AppKit/Palette.h"

namespace {

NSSize switchSize(NSControlSize size) {
    switch (size) {
    case NSControlSizeSmall:
        return NSMakeSize(32, 18);
    case NSControlSizeMini:
        return NSMakeSize(26, 15);
    default:
        return NSMakeSize(38, 22);
    }
}

NSBezierPath* pill(NSRect rect) {
    const CGFloat radius = NSHeight(rect) / 2;
    return [NSBezierPath bezierPathWithRoundedRect:rect xRadius:radius yRadius:radius];
}

void drawTrack(NSRect track, bool isColoured) {
    [(isColoured ? Palette::accent() : Palette::black(0.14)) setFill];
    [pill(track) fill];
    [Palette::black(0.06) setStroke];
    [pill(NSInsetRect(track, 0.5, 0.5)) stroke];
}

void drawKnob(NSRect track, bool isOn) {
    const CGFloat diameter = NSHeight(track) - 3;
    const CGFloat x = isOn ? NSMaxX(track) - diameter - 1.5 : NSMinX(track) + 1.5;
    const NSRect knob = NSMakeRect(x, NSMinY(track) + 1.5, diameter, diameter);
    [Palette::black(0.12) setFill];
    [[NSBezierPath bezierPathWithOvalInRect:NSOffsetRect(NSInsetRect(knob, -0.4, -0.4), 0, -0.5)]
        fill];
    [[NSColor whiteColor] setFill];
    [[NSBezierPath bezierPathWithOvalInRect:knob] fill];
}

} // namespace

@implementation NSWindow (KeyLook)

- (BOOL)looksKey {
    return [self isKeyWindow];
}

@end

@implementation NSSwitch (MacLook)

- (NSSize)intrinsicContentSize {
    return switchSize([self controlSize]);
}

- (BOOL)acceptsFirstMouse:(NSEvent*)__unused event {
    return YES;
}

- (BOOL)isFlipped {
    return NO;
}

- (void)drawRect:(NSRect)__unused dirtyRect {
    const NSSize size = switchSize([self controlSize]);
    const NSRect bounds = [self bounds];
    const NSRect track = NSMakeRect(NSMidX(bounds) - size.width / 2,
                                    NSMidY(bounds) - size.height / 2, size.width, size.height);
    const bool isOn = [self state] != NSControlStateValueOff;
    drawTrack(track, isOn && [[self window] looksKey]);
    drawKnob(track, isOn);
}

// A click counts where the button is let go.
- (void)mouseDown:(NSEvent*)event {
    if (![self isEnabled]) {
        return;
    }
    NSEvent* const end = [[self window] nextEventMatchingMask:NSLeftMouseUpMask];
    const NSPoint place = [self convertPoint:[end locationInWindow] fromView:nil];
    if (![self mouse:place inRect:[self bounds]]) {
        return;
    }
    [self setState:[self state] == NSControlStateValueOff ? NSControlStateValueOn
                                                          : NSControlStateValueOff];
    [self sendAction:[self action] to:[self target]];
}

@end
