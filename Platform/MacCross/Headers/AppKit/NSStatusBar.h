#pragma once

#include <AppKit/NSButton.h>

@class NSMenu;

NS_ASSUME_NONNULL_BEGIN

static const CGFloat NSVariableStatusItemLength = -1.0;

API_AVAILABLE(macos(10.10))
@interface NSStatusBarButton : NSButton
@end

@interface NSStatusItem : NSObject
@property CGFloat length;
@property (nullable, readonly, strong) NSStatusBarButton* button API_AVAILABLE(macos(10.10));
@property (nullable, strong) NSMenu* menu;
@end

// It does not keep its items alive.
@interface NSStatusBar : NSObject
@property (class, readonly, strong) NSStatusBar* systemStatusBar;
- (NSStatusItem*)statusItemWithLength:(CGFloat)length;
@end

NS_ASSUME_NONNULL_END
