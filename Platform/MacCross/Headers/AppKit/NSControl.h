#pragma once

#include <AppKit/NSView.h>

@class NSFont;

NS_ASSUME_NONNULL_BEGIN

typedef NSInteger NSControlStateValue;
static const NSControlStateValue NSControlStateValueMixed = -1;
static const NSControlStateValue NSControlStateValueOff = 0;
static const NSControlStateValue NSControlStateValueOn = 1;

NS_ENUM(NSUInteger, NSControlSize){
    NSControlSizeRegular = 0,
    NSControlSizeSmall = 1,
};

NS_ENUM(NSUInteger, NSLineBreakMode){
    NSLineBreakByTruncatingTail = 4,
};

@interface NSControl : NSView
- (instancetype)initWithFrame:(NSRect)frame NS_DESIGNATED_INITIALIZER;
- (nullable instancetype)initWithCoder:(NSCoder*)coder NS_DESIGNATED_INITIALIZER;
@property (nullable, weak) id target;
@property (nullable) SEL action;
- (BOOL)sendAction:(nullable SEL)action to:(nullable id)target;
@property (getter=isEnabled) BOOL enabled;
@property NSControlSize controlSize API_AVAILABLE(macos(10.10));
@property (copy) NSString* stringValue;
@property (nullable, copy) NSFont* font;
@property NSLineBreakMode lineBreakMode API_AVAILABLE(macos(10.10));
@end

NS_ASSUME_NONNULL_END
