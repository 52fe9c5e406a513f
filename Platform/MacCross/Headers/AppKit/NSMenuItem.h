#pragma once

#include <AppKit/NSEvent.h>

@class NSView;

NS_ASSUME_NONNULL_BEGIN

@interface NSMenuItem : NSObject
+ (NSMenuItem*)separatorItem;
- (instancetype)initWithTitle:(NSString*)title
                       action:(nullable SEL)action
                keyEquivalent:(NSString*)keyEquivalent NS_DESIGNATED_INITIALIZER;
- (instancetype)initWithCoder:(NSCoder*)coder NS_DESIGNATED_INITIALIZER;
@property (getter=isSeparatorItem, readonly) BOOL separatorItem;
@property (copy) NSString* title;
@property (copy) NSString* keyEquivalent; // with Command unless a mask is set
@property NSEventModifierFlags keyEquivalentModifierMask;
@property (nullable, weak) id target;
@property (nullable) SEL action;
@property (getter=isEnabled) BOOL enabled;
@property (nullable, strong) NSView* view;
@end

NS_ASSUME_NONNULL_END
