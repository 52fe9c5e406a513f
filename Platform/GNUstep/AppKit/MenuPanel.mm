#import "AppKit/MenuPanel.h"

#include "AppKit/Habits.h"
#include "AppKit/KeyEquivalents.h"
#include "AppKit/Palette.h"

#include <algorithm>
#include <vector>

namespace {

constexpr CGFloat cornerRadius = 9;
constexpr CGFloat verticalPadding = 5;
constexpr CGFloat separatorHeight = 11;
constexpr CGFloat separatorInset = 14;
constexpr CGFloat titleHeight = 22;
constexpr CGFloat titleInset = 14;
constexpr CGFloat highlightInset = 5;
constexpr unichar escape = 0x1B;

/// Of the menus that are open, the innermost one is the last.
std::vector<std::pair<NSMenu*, MenuPanel*>>& openMenus() {
    static std::vector<std::pair<NSMenu*, MenuPanel*>> menus;
    return menus;
}

NSDictionary* titleAttributes(NSColor* color) {
    return @{
        NSFontAttributeName : [NSFont systemFontOfSize:13],
        NSForegroundColorAttributeName : color
    };
}

NSString* keyEquivalentText(NSMenuItem* item) {
    NSString* const key = [[item keyEquivalent] uppercaseString];
    return [key length] == 0 ? @"" : [@"⌘" stringByAppendingString:key];
}

// Where rows have the size of their views' frames, what is in a view is laid out for that size.
NSSize sizeOfView(NSView* view) {
    const NSSize given = [view frame].size;
    if ([view translatesAutoresizingMaskIntoConstraints]) {
        return given;
    }
    [view layoutSubtreeIfNeeded];
    if (!habits().rowsAreSizedByConstraints) {
        [view setFrameSize:given];
    }
    return [view frame].size;
}

NSSize sizeOfItem(NSMenuItem* item) {
    if ([item view] != nil) {
        return sizeOfView([item view]);
    }
    if ([item isSeparatorItem]) {
        return NSMakeSize(0, separatorHeight);
    }
    const CGFloat width =
        [[item title] sizeWithAttributes:titleAttributes([NSColor labelColor])].width;
    return NSMakeSize(width + 60 + 2 * titleInset, titleHeight);
}

NSSize sizeOfMenu(NSMenu* menu) {
    NSSize size = NSMakeSize(0, 2 * verticalPadding);
    for (NSMenuItem* item in [menu itemArray]) {
        const NSSize row = sizeOfItem(item);
        size.width = std::max(size.width, row.width);
        size.height += row.height;
    }
    return size;
}

bool isChoice(NSMenuItem* item) {
    return [item isEnabled] && ![item isSeparatorItem] && [item view] == nil;
}

} // namespace

/// Draws what an item without a view shows.
@interface MenuTitleRow : NSView {
@private
    NSMenuItem* _item;
    BOOL _isHighlighted;
}
@property (assign) BOOL isHighlighted;
- (instancetype)initWithItem:(NSMenuItem*)item frame:(NSRect)frame;
- (NSMenuItem*)item;
@end

@implementation MenuTitleRow

- (instancetype)initWithItem:(NSMenuItem*)item frame:(NSRect)frame {
    self = [super initWithFrame:frame];
    if (self != nil) {
        _item = item;
    }
    return self;
}

- (NSMenuItem*)item {
    return _item;
}

- (BOOL)isHighlighted {
    return _isHighlighted;
}

- (void)setIsHighlighted:(BOOL)isHighlighted {
    if (isHighlighted != _isHighlighted) {
        _isHighlighted = isHighlighted;
        [self setNeedsDisplay:YES];
    }
}

- (void)drawRect:(NSRect)__unused dirtyRect {
    [_item isSeparatorItem] ? [self drawSeparator] : [self drawTitle];
}

- (void)drawSeparator {
    const NSRect bounds = [self bounds];
    [Palette::hairline() set];
    NSRectFillUsingOperation(NSMakeRect(separatorInset, std::floor(NSMidY(bounds)),
                                        NSWidth(bounds) - 2 * separatorInset, 1),
                             NSCompositeSourceOver);
}

- (void)drawTitle {
    NSColor* const color = _isHighlighted      ? [NSColor whiteColor]
                           : [_item isEnabled] ? [NSColor labelColor]
                                               : [NSColor tertiaryLabelColor];
    const NSRect bounds = [self bounds];
    if (_isHighlighted) {
        [Palette::accent() setFill];
        [[NSBezierPath bezierPathWithRoundedRect:NSInsetRect(bounds, highlightInset, 0)
                                         xRadius:5
                                         yRadius:5] fill];
    }
    NSDictionary* const attributes = titleAttributes(color);
    NSString* const key = keyEquivalentText(_item);
    const NSSize keySize = [key sizeWithAttributes:attributes];
    const CGFloat y = NSMidY(bounds) - [[_item title] sizeWithAttributes:attributes].height / 2;
    [[_item title] drawAtPoint:NSMakePoint(titleInset, y) withAttributes:attributes];
    [key drawAtPoint:NSMakePoint(NSMaxX(bounds) - titleInset - keySize.width, y)
        withAttributes:attributes];
}

@end

@implementation MenuPanel

- (instancetype)initWithMenu:(NSMenu*)menu {
    self = [super initWithContentSize:sizeOfMenu(menu)
                         cornerRadius:cornerRadius
                                level:NSPopUpMenuWindowLevel];
    if (self != nil) {
        _shownMenu = menu;
        [self addRows];
    }
    return self;
}

- (void)addRows {
    _shownItems = Retained<NSArray>::adopt([[_shownMenu itemArray] copy]);
    const NSRect panel = [self panelRect];
    CGFloat top = NSMaxY(panel) - verticalPadding;
    for (NSMenuItem* item in [_shownMenu itemArray]) {
        const NSSize size = sizeOfItem(item);
        top -= size.height;
        const NSRect frame = NSMakeRect(NSMinX(panel), top, NSWidth(panel), size.height);
        NSView* row = [item view];
        if (row == nil) {
            row = [[[MenuTitleRow alloc] initWithItem:item frame:frame] autorelease];
        }
        [row setFrameOrigin:frame.origin];
        [[self contentView] addSubview:row];
    }
}

// The upper edge stays where it is.
- (void)reloadRows {
    if ([_shownItems.get() isEqual:[_shownMenu itemArray]]) {
        return;
    }
    for (NSView* row in [[[[self contentView] subviews] copy] autorelease]) {
        [row removeFromSuperview];
    }
    const NSPoint corner = [self topLeft];
    [self orderOut:nil];
    [self resizePanel:sizeOfMenu(_shownMenu)];
    [self addRows];
    [self showAtTopLeft:corner];
}

- (void)close {
    for (NSMenuItem* item in [_shownMenu itemArray]) {
        [[item view] removeFromSuperview];
    }
    [super close];
}

- (void)cancelTracking {
    _isDone = YES;
    // Something to wake up for.
    [NSApp postEvent:[NSEvent otherEventWithType:NSApplicationDefined
                                        location:NSZeroPoint
                                   modifierFlags:0
                                       timestamp:0
                                    windowNumber:[self windowNumber]
                                         context:nil
                                         subtype:0
                                           data1:0
                                           data2:0]
             atStart:NO];
}

- (void)cancelTrackingWithoutAnimation {
    [self cancelTracking];
    _grab.reset();
    [self orderOut:nil];
}

- (BOOL)isTracking {
    return !_isDone;
}

- (BOOL)looksKey {
    return habits().menusLookKey;
}

- (NSMenuItem*)trackWithBar:(NSWindow*)bar {
    _bar = bar;
    _grab = std::make_unique<PointerGrab>(_bar);
    while (!_isDone) {
        @autoreleasepool {
            [self handleEvent:[NSApp nextEventMatchingMask:NSAnyEventMask
                                                 untilDate:[NSDate distantFuture]
                                                    inMode:NSEventTrackingRunLoopMode
                                                   dequeue:YES]];
        }
    }
    _grab.reset();
    return _chosen;
}

- (void)handleEvent:(NSEvent*)event {
    switch ([event type]) {
    case NSLeftMouseDown:
    case NSRightMouseDown:
        [self pressAt:event];
        return;
    case NSLeftMouseUp:
        [self releaseAt:event];
        return;
    case NSMouseMoved:
    case NSLeftMouseDragged:
        [self highlight:[self choiceAt:event]];
        return;
    case NSKeyDown:
        [self typeKey:event];
        return;
    default:
        [NSApp sendEvent:event];
    }
}

- (BOOL)isInPanel:(NSEvent*)event {
    return [event window] == self && NSPointInRect([event locationInWindow], [self panelRect]);
}

- (MenuTitleRow*)choiceAt:(NSEvent*)event {
    if (![self isInPanel:event]) {
        return nil;
    }
    NSView* const view = [[self contentView] hitTest:[event locationInWindow]];
    const bool isTitle = [view isKindOfClass:[MenuTitleRow class]];
    MenuTitleRow* const row = isTitle ? static_cast<MenuTitleRow*>(view) : nil;
    return isChoice([row item]) ? row : nil;
}

- (void)highlight:(MenuTitleRow*)choice {
    for (NSView* view in [[self contentView] subviews]) {
        if ([view isKindOfClass:[MenuTitleRow class]]) {
            [static_cast<MenuTitleRow*>(view) setIsHighlighted:view == choice];
        }
    }
}

- (void)pressAt:(NSEvent*)event {
    if (![self isInPanel:event]) {
        _isDone = YES;
        return;
    }
    [self highlight:[self choiceAt:event]];
    _grab.reset();
    [self sendEvent:event];
    if (!_isDone) {
        [self makeKeyAndOrderFront:nil];
        _grab = std::make_unique<PointerGrab>(_bar);
    }
}

- (void)releaseAt:(NSEvent*)event {
    if (MenuTitleRow* const choice = [self choiceAt:event]) {
        [self choose:[choice item]];
    }
}

- (void)typeKey:(NSEvent*)event {
    NSString* const characters = [event charactersIgnoringModifiers];
    if ([characters length] == 1 && [characters characterAtIndex:0] == escape) {
        _isDone = YES;
        return;
    }
    if (isCommandKey(event)) {
        [_shownMenu performKeyEquivalent:event];
    }
}

- (void)choose:(NSMenuItem*)item {
    _chosen = item;
    _isDone = YES;
}

@end

namespace {

void tellDelegate(NSMenu* menu, SEL selector) {
    if ([[menu delegate] respondsToSelector:selector]) {
        [[menu delegate] performSelector:selector withObject:menu];
    }
}

// Below the anchor, its left edge at the anchor's, but not beyond the screen's right edge.
NSPoint topLeftFor(NSRect anchor, NSRect panel) {
    const NSRect screen = [[NSScreen mainScreen] frame];
    constexpr CGFloat distance = 4;
    return NSMakePoint(std::min(NSMinX(anchor) - 6, NSMaxX(screen) - NSWidth(panel) - 10),
                       NSMinY(anchor) - distance);
}

MenuPanel* panelOf(NSMenu* menu) {
    for (const auto& [openMenu, panel] : openMenus()) {
        if (openMenu == menu) {
            return panel;
        }
    }
    return nil;
}

} // namespace

void updateMenu(NSMenu* menu) {
    tellDelegate(menu, @selector(menuNeedsUpdate:));
    [panelOf(menu) reloadRows];
}

void chooseItem(NSMenu* menu, NSMenuItem* item) {
    if (MenuPanel* const panel = panelOf(menu)) {
        [panel choose:item];
    } else {
        [NSApp sendAction:[item action] to:[item target] from:item];
    }
}

bool isAnyMenuTracking() {
    return std::ranges::any_of(openMenus(),
                               [](const auto& open) { return [open.second isTracking]; });
}

void popUpMenu(NSMenu* menu, NSRect anchor, NSWindow* bar) {
    @autoreleasepool {
        updateMenu(menu);
        tellDelegate(menu, @selector(menuWillOpen:));
        keptUntilPoolDrains(menu);
        MenuPanel* const panel = [[[MenuPanel alloc] initWithMenu:menu] autorelease];
        [panel showAtTopLeft:topLeftFor(anchor, [panel panelRect])];
        openMenus().emplace_back(menu, panel);
        NSMenuItem* const chosen = keptUntilPoolDrains([panel trackWithBar:bar]);
        openMenus().pop_back();
        [panel close];
        tellDelegate(menu, @selector(menuDidClose:));
        if (chosen != nil) {
            [NSApp sendAction:[chosen action] to:[chosen target] from:chosen];
        }
    }
}

@implementation NSMenu (Items)

- (void)removeAllItems {
    while ([self numberOfItems] > 0) {
        [self removeItemAtIndex:0];
    }
}

- (void)cancelTracking {
    [panelOf(self) cancelTracking];
}

- (void)cancelTrackingWithoutAnimation {
    [panelOf(self) cancelTrackingWithoutAnimation];
}

@end
