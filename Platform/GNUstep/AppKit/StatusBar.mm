// The menu bar along the screen's upper edge and the status items in it.

#include "AppKit/Images.h"
#include "AppKit/MenuPanel.h"
#include "AppKit/Palette.h"

#include <algorithm>

namespace {

constexpr CGFloat barHeight = 24;
constexpr CGFloat rightMargin = 12;
constexpr CGFloat distanceOfItems = 8;
constexpr CGFloat paddingOfItem = 3;

} // namespace

@class MenuBarButton;
@class MenuBarItem;

@interface MenuBar : NSStatusBar {
@private
    NSPanel* _window;
    NSMutableArray* _barItems;
}
- (void)place;
- (void)forget:(MenuBarItem*)item;
- (NSWindow*)window;
@end

@interface MenuBarItem : NSStatusItem {
@private
    MenuBar* _bar;
    MenuBarButton* _button;
    NSMenu* _itemMenu;
    CGFloat _itemLength;
}
- (instancetype)initInBar:(MenuBar*)bar length:(CGFloat)length;
- (void)open;
@end

@interface MenuBarButton : NSStatusBarButton {
@private
    MenuBarItem* _item;
    BOOL _isOpen;
}
@property (assign) MenuBarItem* item;
@end

@interface MenuBarView : NSView
@end

@implementation MenuBarView

- (void)drawRect:(NSRect)__unused dirtyRect {
    [Palette::menuBarBackground() set];
    NSRectFill([self bounds]);
    [Palette::hairline() set];
    NSRectFillUsingOperation(NSMakeRect(0, 0, NSWidth([self bounds]), 1), NSCompositeSourceOver);
}

@end

@implementation MenuBarButton

- (MenuBarItem*)item {
    return _item;
}

- (void)setItem:(MenuBarItem*)item {
    _item = item;
}

- (void)setImage:(NSImage*)image {
    [super setImage:image];
    if ([image isTemplate]) {
        tintedImage(image, [image size], [NSColor labelColor]);
    }
    [[_item statusBar] performSelector:@selector(place)];
}

- (void)setTitle:(NSString*)title {
    [super setTitle:title];
    [[_item statusBar] performSelector:@selector(place)];
}

- (BOOL)acceptsFirstMouse:(NSEvent*)__unused event {
    return YES;
}

- (void)mouseDown:(NSEvent*)__unused event {
    [self showOpen:YES];
    [_item open];
    [self showOpen:NO];
}

- (void)showOpen:(BOOL)isOpen {
    _isOpen = isOpen;
    [[self superview] setNeedsDisplay:YES];
    [[self window] displayIfNeeded];
}

- (NSRect)imageRect {
    return fittedRect([[self image] size], [self bounds], false);
}

- (void)drawRect:(NSRect)__unused dirtyRect {
    if (_isOpen) {
        [Palette::black(0.1) setFill];
        [[NSBezierPath bezierPathWithRoundedRect:NSInsetRect([self bounds], 0, 1)
                                         xRadius:4
                                         yRadius:4] fill];
    }
    if ([[self image] isTemplate]) {
        drawTinted([self image], [self imageRect], [NSColor labelColor]);
    } else {
        [[self image] drawInRect:[self imageRect]
                        fromRect:NSZeroRect
                       operation:NSCompositeSourceOver
                        fraction:1];
    }
    if ([self imagePosition] != NSImageOnly) {
        [[self attributedTitle] drawInRect:NSInsetRect([self bounds], paddingOfItem, 3)];
    }
}

@end

@implementation MenuBarItem

- (instancetype)initInBar:(MenuBar*)bar length:(CGFloat)length {
    self = [super init];
    if (self != nil) {
        _bar = bar;
        _itemLength = length;
        _button = [[MenuBarButton alloc] initWithFrame:NSMakeRect(0, 0, barHeight, barHeight)];
        [_button setItem:self];
        [_button setBordered:NO];
        [_button setTitle:@""];
    }
    return self;
}

// The bar does not retain its items; one that goes disappears from it.
- (void)dealloc {
    [_bar forget:self];
    [_button setItem:nil];
    [_button removeFromSuperview];
    [_button release];
    [_itemMenu release];
    [super dealloc];
}

- (NSStatusBar*)statusBar {
    return _bar;
}

- (NSStatusBarButton*)button {
    return _button;
}

- (NSMenu*)menu {
    return _itemMenu;
}

- (void)setMenu:(NSMenu*)menu {
    [menu retain];
    [_itemMenu release];
    _itemMenu = menu;
}

- (CGFloat)length {
    return _itemLength;
}

- (void)setLength:(CGFloat)length {
    _itemLength = length;
    [_bar place];
}

- (CGFloat)width {
    if (_itemLength >= 0) {
        return _itemLength;
    }
    if (_itemLength == NSSquareStatusItemLength) {
        return barHeight;
    }
    const CGFloat image = [_button image] != nil ? [[_button image] size].width : 0;
    const CGFloat title =
        [_button imagePosition] == NSImageOnly ? 0 : [[_button attributedTitle] size].width;
    return image + title + 2 * paddingOfItem;
}

- (void)open {
    if (_itemMenu == nil) {
        return;
    }
    NSRect frame = [_button convertRect:[_button bounds] toView:nil];
    frame.origin = [[_button window] convertBaseToScreen:frame.origin];
    popUpMenu(_itemMenu, frame, [_bar window]);
}

@end

@implementation MenuBar

- (NSWindow*)window {
    if (_window == nil) {
        const NSRect screen = [[NSScreen mainScreen] frame];
        const NSRect frame =
            NSMakeRect(NSMinX(screen), NSMaxY(screen) - barHeight, NSWidth(screen), barHeight);
        _window = [[NSPanel alloc] initWithContentRect:frame
                                             styleMask:NSBorderlessWindowMask
                                               backing:NSBackingStoreBuffered
                                                 defer:NO];
        [_window setLevel:NSMainMenuWindowLevel];
        [_window setHidesOnDeactivate:NO];
        [_window setBecomesKeyOnlyIfNeeded:YES];
        [_window setContentView:[[[MenuBarView alloc] initWithFrame:frame] autorelease]];
        [_window orderFrontRegardless];
    }
    return _window;
}

- (CGFloat)thickness {
    return barHeight;
}

- (NSStatusItem*)statusItemWithLength:(CGFloat)length {
    MenuBarItem* const item = [[[MenuBarItem alloc] initInBar:self length:length] autorelease];
    if (_barItems == nil) {
        _barItems = [NSMutableArray new];
    }
    [_barItems addObject:[NSValue valueWithNonretainedObject:item]];
    [[[self window] contentView] addSubview:[item button]];
    [self place];
    return item;
}

- (void)removeStatusItem:(NSStatusItem*)item {
    [self forget:static_cast<MenuBarItem*>(item)];
    [[item button] removeFromSuperview];
}

- (void)forget:(MenuBarItem*)item {
    [_barItems removeObject:[NSValue valueWithNonretainedObject:item]];
    [self place];
}

// From the right, newer items to the left of older ones.
- (void)place {
    CGFloat right = NSWidth([[self window] frame]) - rightMargin;
    for (NSValue* value in _barItems) {
        MenuBarItem* const item = [value nonretainedObjectValue];
        const CGFloat width = [item width];
        right -= width;
        [[item button] setFrame:NSMakeRect(right, 0, width, barHeight)];
        right -= distanceOfItems;
    }
    [[[self window] contentView] setNeedsDisplay:YES];
}

@end

@implementation NSStatusBar (SystemStatusBar)

+ (NSStatusBar*)systemStatusBar {
    static MenuBar* const bar = [MenuBar new];
    return bar;
}

@end

@implementation NSStatusItem (Button)

- (NSStatusBarButton*)button {
    return nil;
}

@end
