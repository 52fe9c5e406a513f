// The menu bar along the screen's upper edge and the status items in it.

#include "AppKit/StatusBar.h"

#include "AppKit/Images.h"
#include "AppKit/MenuPanel.h"
#include "AppKit/Palette.h"
#include "ObjectiveC/Retained.h"

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
    Retained<NSPanel> _window;
    Retained<NSMutableArray> _barItems;
}
- (void)place;
- (void)forget:(MenuBarItem*)item;
- (NSWindow*)window;
- (NSArray*)menus;
@end

@interface MenuBarItem : NSStatusItem {
@private
    MenuBar* _bar;
    Retained<MenuBarButton> _button;
    Retained<NSMenu> _itemMenu;
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
        _button = Retained<MenuBarButton>::adopt(
            [[MenuBarButton alloc] initWithFrame:NSMakeRect(0, 0, barHeight, barHeight)]);
        [_button.get() setItem:self];
        [_button.get() setBordered:NO];
        [_button.get() setTitle:@""];
        // AppKit's shows an image beside the title until told otherwise; GNUstep's own guesses.
        [_button.get() setImagePosition:NSImageLeft];
    }
    return self;
}

// The bar does not retain its items; one that goes disappears from it.
- (void)dealloc {
    [_bar forget:self];
    [_button.get() setItem:nil];
    [_button.get() removeFromSuperview];
    [super dealloc];
}

- (NSStatusBar*)statusBar {
    return _bar;
}

- (NSStatusBarButton*)button {
    return _button.get();
}

- (NSMenu*)menu {
    return _itemMenu.get();
}

- (void)setMenu:(NSMenu*)menu {
    _itemMenu = Retained(menu);
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
    const CGFloat image = [_button.get() image] != nil ? [[_button.get() image] size].width : 0;
    const CGFloat title = [_button.get() imagePosition] == NSImageOnly
                              ? 0
                              : [[_button.get() attributedTitle] size].width;
    return image + title + 2 * paddingOfItem;
}

- (void)open {
    if (_itemMenu.get() == nil) {
        return;
    }
    NSRect frame = [_button.get() convertRect:[_button.get() bounds] toView:nil];
    frame.origin = [[_button.get() window] convertBaseToScreen:frame.origin];
    popUpMenu(_itemMenu.get(), frame, [_bar window]);
}

@end

@implementation MenuBar

- (NSWindow*)window {
    if (_window.get() == nil) {
        const NSRect screen = [[NSScreen mainScreen] frame];
        const NSRect frame =
            NSMakeRect(NSMinX(screen), NSMaxY(screen) - barHeight, NSWidth(screen), barHeight);
        _window =
            Retained<NSPanel>::adopt([[NSPanel alloc] initWithContentRect:frame
                                                                styleMask:NSBorderlessWindowMask
                                                                  backing:NSBackingStoreBuffered
                                                                    defer:NO]);
        [_window.get() setLevel:NSMainMenuWindowLevel];
        [_window.get() setHidesOnDeactivate:NO];
        [_window.get() setBecomesKeyOnlyIfNeeded:YES];
        [_window.get() setContentView:[[[MenuBarView alloc] initWithFrame:frame] autorelease]];
        if ([NSApp activationPolicy] != NSApplicationActivationPolicyProhibited) {
            [_window.get() orderFrontRegardless];
        }
    }
    return _window.get();
}

- (CGFloat)thickness {
    return barHeight;
}

- (NSStatusItem*)statusItemWithLength:(CGFloat)length {
    MenuBarItem* const item = [[[MenuBarItem alloc] initInBar:self length:length] autorelease];
    if (_barItems.get() == nil) {
        _barItems = Retained<NSMutableArray>::adopt([NSMutableArray new]);
    }
    [_barItems.get() addObject:[NSValue valueWithNonretainedObject:item]];
    [[[self window] contentView] addSubview:[item button]];
    [self place];
    return item;
}

- (NSArray*)menus {
    NSMutableArray* const menus = [NSMutableArray array];
    for (NSValue* value in _barItems.get()) {
        if (NSMenu* const menu = [[value nonretainedObjectValue] menu]) {
            [menus addObject:menu];
        }
    }
    return menus;
}

- (void)removeStatusItem:(NSStatusItem*)item {
    [self forget:static_cast<MenuBarItem*>(item)];
    [[item button] removeFromSuperview];
}

- (void)forget:(MenuBarItem*)item {
    [_barItems.get() removeObject:[NSValue valueWithNonretainedObject:item]];
    [self place];
}

// From the right, newer items to the left of older ones.
- (void)place {
    CGFloat right = NSWidth([[self window] frame]) - rightMargin;
    for (NSValue* value in _barItems.get()) {
        MenuBarItem* const item = [value nonretainedObjectValue];
        const CGFloat width = [item width];
        right -= width;
        [[item button] setFrame:NSMakeRect(right, 0, width, barHeight)];
        right -= distanceOfItems;
    }
    [[[self window] contentView] setNeedsDisplay:YES];
}

@end

NSArray* statusMenus() {
    return [static_cast<MenuBar*>([NSStatusBar systemStatusBar]) menus];
}

@implementation NSStatusBar (SystemStatusBar)

+ (NSStatusBar*)systemStatusBar {
    // Never released: the menu bar is there as long as the process.
    static MenuBar* const bar = [MenuBar new];
    return bar;
}

@end

@implementation NSStatusItem (Button)

- (NSStatusBarButton*)button {
    return nil;
}

@end
