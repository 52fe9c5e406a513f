#include "AppKit/Symbols.h"

#include <algorithm>
#include <array>

namespace {

constexpr CGFloat lineWidth = 1.4;

NSBezierPath* symbolRect(NSRect rect, CGFloat radius) {
    NSBezierPath* const path = [NSBezierPath bezierPathWithRoundedRect:rect
                                                               xRadius:radius
                                                               yRadius:radius];
    [path setLineWidth:lineWidth];
    return path;
}

void strokeScreen(NSRect rect) {
    [symbolRect(rect, 2) stroke];
}

void fillStand(CGFloat middle, CGFloat screenBottom) {
    [[NSBezierPath bezierPathWithRect:NSMakeRect(middle - 1.7, 1.4, 3.4, screenBottom - 1.4)] fill];
    [symbolRect(NSMakeRect(middle - 3.6, 0.7, 7.2, 1.4), 0.7) fill];
}

void drawDisplay() {
    [[NSColor blackColor] set];
    strokeScreen(NSMakeRect(1.2, 3.9, 15.6, 10.4));
    fillStand(9, 3.6);
}

// A display with a second one behind it, of which the upper right shows.
void drawTwoDisplays() {
    [[NSColor blackColor] set];
    strokeScreen(NSMakeRect(1.2, 3.2, 12.6, 8.4));
    fillStand(7.5, 2.9);
    NSBezierPath* const behind = [NSBezierPath bezierPath];
    [behind setLineWidth:lineWidth];
    [behind moveToPoint:NSMakePoint(5, 13.9)];
    [behind appendBezierPathWithArcFromPoint:NSMakePoint(5, 14.6)
                                     toPoint:NSMakePoint(6.5, 14.6)
                                      radius:1.5];
    [behind appendBezierPathWithArcFromPoint:NSMakePoint(17, 14.6)
                                     toPoint:NSMakePoint(17, 13)
                                      radius:2];
    [behind appendBezierPathWithArcFromPoint:NSMakePoint(17, 6.2)
                                     toPoint:NSMakePoint(16, 6.2)
                                      radius:1.2];
    [behind stroke];
}

const std::array symbols = {Symbol{"display", {18, 15}, drawDisplay},
                            Symbol{"display.2", {18, 15.5}, drawTwoDisplays}};

} // namespace

const Symbol* findSymbol(std::string_view name) {
    const auto found = std::ranges::find(symbols, name, &Symbol::name);
    return found == symbols.end() ? nullptr : &*found;
}
