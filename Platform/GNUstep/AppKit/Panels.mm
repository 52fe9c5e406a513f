#import "AppKit/Panels.h"

#include "AppKit/GestureRecognizers.h"
#include "AppKit/Palette.h"
#include "AppKit/XServer.h"
#include "ObjectiveC/Retained.h"

namespace {

constexpr CGFloat shadowRoom = 18;
constexpr int shadowSteps = 12;

NSRect frameAround(NSSize panel) {
    return NSMakeRect(0, 0, panel.width + 2 * shadowRoom, panel.height + 2 * shadowRoom);
}

NSBezierPath* roundedRect(NSRect rect, CGFloat radius) {
    return [NSBezierPath bezierPathWithRoundedRect:rect xRadius:radius yRadius:radius];
}

// Layers of faint black, which add up to a soft edge.
void drawShadow(NSRect rect, CGFloat radius) {
    for (int step = shadowSteps; step > 0; --step) {
        [Palette::black(0.012) setFill];
        [roundedRect(NSOffsetRect(NSInsetRect(rect, -step, -step), 0, -4), radius + step) fill];
    }
}

} // namespace

@interface RoundedPanelView : NSView {
@private
    Retained<NSImage> _backdrop;
    NSRect _backdropRect;
    CGFloat _cornerRadius;
}
@end

@implementation RoundedPanelView

- (instancetype)initWithFrame:(NSRect)frame cornerRadius:(CGFloat)radius {
    self = [super initWithFrame:frame];
    if (self != nil) {
        _cornerRadius = radius;
    }
    return self;
}

- (void)setBackdrop:(NSImage*)backdrop inRect:(NSRect)rect {
    _backdrop = Retained(backdrop);
    _backdropRect = rect;
}

- (void)drawRect:(NSRect)__unused dirtyRect {
    [Palette::menuBackground() set];
    NSRectFill([self bounds]);
    [_backdrop.get() drawInRect:_backdropRect
                       fromRect:NSZeroRect
                      operation:NSCompositeSourceOver
                       fraction:1];
    const NSRect panel = NSInsetRect([self bounds], shadowRoom, shadowRoom);
    drawShadow(panel, _cornerRadius);
    [Palette::menuBackground() setFill];
    [roundedRect(panel, _cornerRadius) fill];
    [Palette::black(0.18) setStroke];
    NSBezierPath* const border = roundedRect(NSInsetRect(panel, -0.5, -0.5), _cornerRadius);
    [border setLineWidth:0.5];
    [border stroke];
}

@end

@implementation RoundedPanel

- (instancetype)initWithContentSize:(NSSize)size
                       cornerRadius:(CGFloat)radius
                              level:(NSInteger)level {
    const NSRect frame = frameAround(size);
    self = [super initWithContentRect:frame
                            styleMask:NSBorderlessWindowMask
                              backing:NSBackingStoreBuffered
                                defer:NO];
    if (self != nil) {
        [self setReleasedWhenClosed:NO];
        [self setLevel:level];
        [self setBecomesKeyOnlyIfNeeded:NO];
        [self setHidesOnDeactivate:NO];
        [self setAcceptsMouseMovedEvents:YES];
        [self setContentView:[[[RoundedPanelView alloc] initWithFrame:frame
                                                         cornerRadius:radius] autorelease]];
    }
    return self;
}

- (NSRect)panelRect {
    return NSInsetRect([[self contentView] bounds], shadowRoom, shadowRoom);
}

- (BOOL)canBecomeKeyWindow {
    return YES;
}

- (void)sendEvent:(NSEvent*)event {
    if (!isTakenByRecognizer(event, self)) {
        [super sendEvent:event];
    }
}

- (void)takeBackdropForFrame:(NSRect)frame {
    const NSRect visible = visiblePart(frame);
    [static_cast<RoundedPanelView*>([self contentView])
        setBackdrop:snapshotOfScreen(visible)
             inRect:NSOffsetRect(visible, -NSMinX(frame), -NSMinY(frame))];
}

- (NSPoint)topLeft {
    const NSRect frame = [self frame];
    return NSMakePoint(NSMinX(frame) + shadowRoom, NSMaxY(frame) - shadowRoom);
}

- (void)resizePanel:(NSSize)size {
    NSRect frame = [self frame];
    frame.size = frameAround(size).size;
    [self setFrame:frame display:NO];
}

- (void)showAtTopLeft:(NSPoint)corner {
    NSRect frame = [self frame];
    frame.origin = NSMakePoint(corner.x - shadowRoom, corner.y + shadowRoom - NSHeight(frame));
    [self setFrame:frame display:NO];
    [self takeBackdropForFrame:frame];
    [self makeKeyAndOrderFront:nil];
    [self display];
}

@end
