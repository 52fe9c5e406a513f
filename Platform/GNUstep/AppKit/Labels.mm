// Text fields as labels, and text that is cut with an ellipsis where it does not fit.

#import "AppKit/Labels.h"

namespace {

CGFloat widthOf(NSString* text, NSDictionary* attributes) {
    return [text sizeWithAttributes:attributes].width;
}

// The longest beginning of the text that fits together with an ellipsis.
NSString* cutToWidth(NSString* text, CGFloat width, NSDictionary* attributes) {
    NSUInteger fitting = 0;
    for (NSUInteger end = 0; end < [text length];) {
        end = NSMaxRange([text rangeOfComposedCharacterSequenceAtIndex:end]);
        NSString* const candidate = [[text substringToIndex:end] stringByAppendingString:@"…"];
        if (widthOf(candidate, attributes) > width) {
            break;
        }
        fitting = end;
    }
    return [[text substringToIndex:fitting] stringByAppendingString:@"…"];
}

NSDictionary* attributesOf(NSTextFieldCell* cell) {
    NSMutableDictionary* const attributes =
        [[[[cell attributedStringValue] attributesAtIndex:0
                                           effectiveRange:nullptr] mutableCopy] autorelease];
    [attributes removeObjectForKey:NSParagraphStyleAttributeName];
    return attributes;
}

void drawCutAtTail(NSTextFieldCell* cell, NSRect frame) {
    NSDictionary* const attributes = attributesOf(cell);
    NSString* const text = [cell stringValue];
    const NSSize size = [text sizeWithAttributes:attributes];
    const CGFloat room = NSWidth(frame) - 2 * textInset;
    NSString* const shown = size.width > room ? cutToWidth(text, room, attributes) : text;
    [shown drawAtPoint:NSMakePoint(NSMinX(frame) + textInset, NSMidY(frame) - size.height / 2)
        withAttributes:attributes];
}

} // namespace

@implementation NSTextFieldCell (CutAtTail)

- (void)drawInteriorWithFrame:(NSRect)frame inView:(NSView*)view {
    if ([self drawsBackground]) {
        [[self backgroundColor] set];
        NSRectFill([self drawingRectForBounds:frame]);
    }
    const bool isOneLine = [self lineBreakMode] == NSLineBreakByTruncatingTail;
    if (isOneLine && ![self isEditable] && [[self stringValue] length] > 0) {
        drawCutAtTail(self, frame);
    } else {
        [super drawInteriorWithFrame:frame inView:view];
    }
}

@end

@implementation NSTextField (Labels)

+ (instancetype)labelWithString:(NSString*)text {
    NSTextField* const label = [[[self alloc] initWithFrame:NSZeroRect] autorelease];
    [label setEditable:NO];
    [label setSelectable:NO];
    [label setBezeled:NO];
    [label setBordered:NO];
    [label setDrawsBackground:NO];
    [label setTextColor:[NSColor labelColor]];
    [label setFont:[NSFont systemFontOfSize:13]];
    [label setStringValue:text];
    return label;
}

@end
