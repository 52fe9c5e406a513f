// Alerts that look like a Mac's: a narrow panel with an icon, a bold message, smaller text and wide
// buttons below each other.

#include "AppKit/Palette.h"
#include "AppKit/Panels.h"
#include "AppKit/Symbols.h"
#include "ObjectiveC/Retained.h"

#include <cmath>

namespace {

constexpr CGFloat panelWidth = 260;
constexpr CGFloat margin = 16;
constexpr CGFloat iconSize = 64;
constexpr CGFloat buttonHeight = 28;
constexpr CGFloat distance = 10;
constexpr CGFloat cornerRadius = 12;
constexpr CGFloat textWidth = panelWidth - 2 * margin;

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

/// Shows an alert's contents and answers with the tag of the button that was pressed.
@interface AlertPanel : RoundedPanel
- (instancetype)initWithViews:(NSArray*)views height:(CGFloat)height;
- (NSInteger)runModal;
@end

@implementation AlertPanel

// The views stand below each other, with a margin around them.
- (instancetype)initWithViews:(NSArray*)views height:(CGFloat)height {
    self = [super initWithContentSize:NSMakeSize(panelWidth, height)
                         cornerRadius:cornerRadius
                                level:NSModalPanelWindowLevel];
    if (self != nil) {
        const NSRect panel = [self panelRect];
        CGFloat top = NSMaxY(panel) - margin;
        for (NSView* view in views) {
            const NSSize size = [view frame].size;
            [view setFrameOrigin:NSMakePoint(NSMidX(panel) - size.width / 2, top - size.height)];
            [[self contentView] addSubview:view];
            top -= size.height + distance;
        }
    }
    return self;
}

- (void)press:(NSButton*)button {
    [NSApp stopModalWithCode:[button tag]];
}

- (NSInteger)runModal {
    const NSRect screen = [[NSScreen mainScreen] frame];
    const NSRect panel = [self panelRect];
    [self showAtTopLeft:NSMakePoint(std::floor(NSMidX(screen) - NSWidth(panel) / 2),
                                    std::floor(NSMaxY(screen) - NSHeight(screen) / 5))];
    const NSInteger answer = [NSApp runModalForWindow:self];
    [self close];
    return answer;
}

@end

@implementation NSAlert (MacLook)

- (NSInteger)runModal {
    NSMutableArray* const views = [NSMutableArray array];
    [views addObject:[[[AlertIconView alloc] initWithFrame:NSMakeRect(0, 0, iconSize, iconSize)]
                         autorelease]];
    [views addObject:[self textView:[self messageText] font:[NSFont boldSystemFontOfSize:13]]];
    [views addObject:[self textView:[self informativeText] font:[NSFont systemFontOfSize:11]]];
    if ([[self buttons] count] == 0) {
        [[self addButtonWithTitle:@"OK"] setTag:0];
    }
    [views addObjectsFromArray:[self buttons]];
    for (NSButton* button in [self buttons]) {
        [self dress:button];
    }
    CGFloat height = 2 * margin - distance;
    for (NSView* view in views) {
        height += NSHeight([view frame]) + distance;
    }
    AlertPanel* const panel = [[[AlertPanel alloc] initWithViews:views height:height] autorelease];
    for (NSButton* button in [self buttons]) {
        [button setTarget:panel];
        [button setAction:@selector(press:)];
    }
    return [panel runModal];
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
