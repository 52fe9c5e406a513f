#include "Veilpane/Menu/StatusIcon.h"

namespace veilpane {

namespace {

void strokeLine(NSPoint from, NSPoint to, CGFloat width, NSLineCapStyle cap) {
    NSBezierPath* const line = [NSBezierPath bezierPath];
    [line moveToPoint:from];
    [line lineToPoint:to];
    [line setLineWidth:width];
    [line setLineCapStyle:cap];
    [line stroke];
}

void drawScreen() {
    NSBezierPath* const screen =
        [NSBezierPath bezierPathWithRoundedRect:NSMakeRect(1.5, 5.5, 15, 10)
                                        xRadius:1.5
                                        yRadius:1.5];
    [screen setLineWidth:1.4];
    [[NSColor blackColor] setStroke];
    [screen stroke];
}

void drawStand() {
    strokeLine(NSMakePoint(9, 5.5), NSMakePoint(9, 3.5), 1.4, NSLineCapStyleButt);
    strokeLine(NSMakePoint(5.5, 2.8), NSMakePoint(12.5, 2.8), 1.6, NSLineCapStyleRound);
}

void drawPowerDot() {
    [[NSColor blackColor] setFill];
    [[NSBezierPath bezierPathWithOvalInRect:NSMakeRect(12.2, 7.2, 2.2, 2.2)] fill];
}

} // namespace

NSImage* makeStatusIcon() {
    return [NSImage imageWithSize:NSMakeSize(18, 18)
                          flipped:NO
                   drawingHandler:^BOOL(NSRect) {
                       drawScreen();
                       drawStand();
                       drawPowerDot();
                       return YES;
                   }];
}

} // namespace veilpane
