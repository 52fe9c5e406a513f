#pragma once

#include "Ownership/NSRef.h"

#import <AppKit/AppKit.h>

/// A menu row with a line of text and, optionally, a second text at the right.
@interface MenuLabelRowView : NSView {
@private
    veilpane::NSRef<NSTextField> _label;
    veilpane::NSRef<NSTextField> _trailing;
}

/// `trailingText` may be nil; `height` is in points.
- (instancetype)initWithText:(NSString*)text
                        font:(NSFont*)font
                       color:(NSColor*)color
                trailingText:(NSString*)trailingText
                      height:(CGFloat)height;

- (instancetype)initWithFrame:(NSRect)frame NS_UNAVAILABLE;
/// Ends the program: rows are never archived.
- (instancetype)initWithCoder:(NSCoder*)coder;

@property (nonatomic, readonly) NSTextField* label;
/// In the view only when the row has a trailing text.
@property (nonatomic, readonly) NSTextField* trailing;

@end
