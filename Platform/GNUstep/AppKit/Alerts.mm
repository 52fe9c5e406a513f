// Alerts that look like a Mac's: a narrow panel with an icon, a bold message, smaller text and wide
// buttons below each other.

#include "AppKit/Habits.h"
#include "AppKit/MenuPanel.h"
#include "AppKit/Palette.h"
#include "AppKit/Panels.h"
#include "AppKit/Symbols.h"
#include "AppKit/XServer.h"
#include "ObjectiveC/Retained.h"
#import "Runtime/AttachedObject.h"

#include <algorithm>
#include <cmath>

namespace {

constexpr CGFloat panelWidth = 260;
constexpr CGFloat margin = 16;
constexpr CGFloat iconSize = 64;
constexpr CGFloat buttonHeight = 28;
constexpr CGFloat distance = 10;
constexpr CGFloat cornerRadius = 12;
constexpr CGFloat textWidth = panelWidth - 2 * margin;
const char windowKey = 0;

CGFloat heightOf(NSArray* views) {
    CGFloat height = 2 * margin - distance;
    for (NSView* view in views) {
        height += NSHeight([view frame]) + distance;
    }
    return height;
}

} // namespace

/// Text in the middle of an alert, as high as it needs to be.
@interface AlertTextView : NSView {
@private
    Retained<NSAttributedString> _text;
}
- (instancetype)initWithText:(NSString*)text font:(NSFont*)font;
@end

@implementation AlertTextView

- (instancetype)initWithText:(NSString*)text font:(NSFont*)font {
    self = [super initWithFrame:NSZeroRect];
    if (self != nil) {
        NSMutableParagraphStyle* const centred = [[NSMutableParagraphStyle new] autorelease];
        [centred setAlignment:NSCenterTextAlignment];
        _text = Retained<NSAttributedString>::adopt([[NSAttributedString alloc]
            initWithString:text
                attributes:@{
                    NSFontAttributeName : font,
                    NSForegroundColorAttributeName : [NSColor labelColor],
                    NSParagraphStyleAttributeName : centred
                }]);
        const NSRect needed =
            [_text.get() boundingRectWithSize:NSMakeSize(textWidth, 10000)
                                      options:NSStringDrawingUsesLineFragmentOrigin];
        [self setFrameSize:NSMakeSize(textWidth, std::ceil(NSHeight(needed)))];
    }
    return self;
}

- (void)drawRect:(NSRect)__unused dirtyRect {
    [_text.get() drawInRect:[self bounds]];
}

@end

@interface AlertIconView : NSView
@end

@implementation AlertIconView

- (void)drawRect:(NSRect)__unused dirtyRect {
    const NSRect tile = NSInsetRect([self bounds], 4, 4);
    NSBezierPath* const shape = [NSBezierPath bezierPathWithRoundedRect:tile xRadius:13 yRadius:13];
    NSGradient* const gradient = [[[NSGradient alloc]
        initWithStartingColor:[NSColor colorWithCalibratedRed:0.42 green:0.52 blue:0.66 alpha:1]
                  endingColor:[NSColor colorWithCalibratedRed:0.2 green:0.26 blue:0.38
                                                        alpha:1]] autorelease];
    [gradient drawInBezierPath:shape angle:-90];
    [self drawSign];
}

// The sign of a warning on the application's tile.
- (void)drawSign {
    NSBezierPath* const triangle = [NSBezierPath bezierPath];
    const CGFloat middle = NSMidX([self bounds]);
    [triangle moveToPoint:NSMakePoint(middle, 46)];
    [triangle lineToPoint:NSMakePoint(middle + 17, 18)];
    [triangle lineToPoint:NSMakePoint(middle - 17, 18)];
    [triangle closePath];
    [triangle setLineJoinStyle:NSRoundLineJoinStyle];
    [triangle setLineWidth:4];
    [[NSColor colorWithCalibratedRed:1 green:0.8 blue:0.1 alpha:1] set];
    [triangle fill];
    [triangle stroke];
    [Palette::black(0.85) set];
    [[NSBezierPath bezierPathWithRoundedRect:NSMakeRect(middle - 1.7, 27, 3.4, 12)
                                     xRadius:1.7
                                     yRadius:1.7] fill];
    [[NSBezierPath bezierPathWithOvalInRect:NSMakeRect(middle - 2.1, 20, 4.2, 4.2)] fill];
}

@end

@interface AlertButtonCell : NSButtonCell
@end

@implementation AlertButtonCell

- (void)drawWithFrame:(NSRect)frame inView:(NSView*)__unused view {
    const bool isDefault = [[self keyEquivalent] isEqualToString:@"\r"];
    [(isDefault ? Palette::accent() : Palette::black(0.1)) setFill];
    [[NSBezierPath bezierPathWithRoundedRect:frame xRadius:6 yRadius:6] fill];
    if ([self isHighlighted]) {
        [Palette::black(0.15) setFill];
        [[NSBezierPath bezierPathWithRoundedRect:frame xRadius:6 yRadius:6] fill];
    }
    NSDictionary* const attributes = @{
        NSFontAttributeName : [NSFont systemFontOfSize:13],
        NSForegroundColorAttributeName : isDefault ? [NSColor whiteColor] : [NSColor labelColor]
    };
    const NSSize size = [[self title] sizeWithAttributes:attributes];
    [[self title]
           drawAtPoint:NSMakePoint(NSMidX(frame) - size.width / 2, NSMidY(frame) - size.height / 2)
        withAttributes:attributes];
}

@end

/// The window of an alert: shows its contents and answers with the tag of the button that was
/// pressed.
@interface AlertPanel : RoundedPanel {
@private
    BOOL _isDead;
    BOOL _isBehind;
}
/// The views stand below each other, with a margin around them.
- (void)showViews:(NSArray*)views;
- (NSInteger)runModal;
@end

@implementation AlertPanel

- (instancetype)init {
    self = [super initWithContentSize:NSMakeSize(panelWidth, 2 * margin)
                         cornerRadius:cornerRadius
                                level:NSNormalWindowLevel];
    return self;
}

- (void)showViews:(NSArray*)views {
    [self resizePanel:NSMakeSize(panelWidth, heightOf(views))];
    const NSRect panel = [self panelRect];
    CGFloat top = NSMaxY(panel) - margin;
    for (NSView* view in views) {
        const NSSize size = [view frame].size;
        [view setFrameOrigin:NSMakePoint(NSMidX(panel) - size.width / 2, top - size.height)];
        [[self contentView] addSubview:view];
        top -= size.height + distance;
    }
}

- (void)press:(NSButton*)button {
    [NSApp stopModalWithCode:[button tag]];
}

- (NSInteger)runModal {
    _isDead = isAnyMenuTracking() && !habits().alertsLiveInTracking;
    // A window of an application that is not active lies behind those of others, unless it floats.
    _isBehind = !habits().activationIsGranted && [self level] < NSFloatingWindowLevel;
    [self setLevel:std::max<NSInteger>([self level], NSModalPanelWindowLevel)];
    [self showAtTopLeft:[self place]];
    const NSInteger answer = [NSApp runModalForWindow:self];
    [self close];
    return answer;
}

- (void)orderWindow:(NSWindowOrderingMode)place relativeTo:(NSInteger)otherWindow {
    [super orderWindow:place relativeTo:otherWindow];
    if (place == NSWindowAbove && _isBehind) {
        putBehindAllWindows(self);
    }
}

// The keyboard is the active application's.
- (BOOL)canBecomeKeyWindow {
    return habits().activationIsGranted;
}

- (NSPoint)place {
    const NSRect screen = [[NSScreen mainScreen] frame];
    return NSMakePoint(std::floor(NSMidX(screen) - NSWidth([self panelRect]) / 2),
                       std::floor(NSMaxY(screen) - NSHeight(screen) / 5));
}

// What a menu still waits for does not get here.
- (void)sendEvent:(NSEvent*)event {
    constexpr NSUInteger ofPerson = NSLeftMouseDownMask | NSLeftMouseUpMask | NSKeyDownMask;
    if (!_isDead || (NSEventMaskFromType([event type]) & ofPerson) == 0) {
        [super sendEvent:event];
    }
}

@end

@implementation NSAlert (MacLook)

- (AlertPanel*)window {
    return attachedObject<AlertPanel>(self, &windowKey);
}

- (NSInteger)runModal {
    if ([[self buttons] count] == 0) {
        [[self addButtonWithTitle:@"OK"] setTag:0];
    }
    AlertPanel* const panel = [self window];
    for (NSButton* button in [self buttons]) {
        [self dress:button];
        [button setTarget:panel];
        [button setAction:@selector(press:)];
    }
    [panel showViews:[self views]];
    return [panel runModal];
}

- (NSArray*)views {
    NSMutableArray* const views = [NSMutableArray array];
    [views addObject:[[[AlertIconView alloc] initWithFrame:NSMakeRect(0, 0, iconSize, iconSize)]
                         autorelease]];
    [views addObject:[self textView:[self messageText] font:[NSFont boldSystemFontOfSize:13]]];
    if ([[self informativeText] length] > 0) {
        [views addObject:[self textView:[self informativeText] font:[NSFont systemFontOfSize:11]]];
    }
    [views addObjectsFromArray:[self buttons]];
    return views;
}

- (NSView*)textView:(NSString*)text font:(NSFont*)font {
    return [[[AlertTextView alloc] initWithText:text font:font] autorelease];
}

- (void)dress:(NSButton*)button {
    AlertButtonCell* const cell =
        [[[AlertButtonCell alloc] initTextCell:[button title]] autorelease];
    [cell setKeyEquivalent:[button keyEquivalent]];
    [cell setTag:[button tag]];
    [button setCell:cell];
    [button setFrame:NSMakeRect(0, 0, textWidth, buttonHeight)];
}

@end
