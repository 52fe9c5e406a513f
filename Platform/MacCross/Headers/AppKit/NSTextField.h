#pragma once

#include <AppKit/NSControl.h>

@class NSColor;

NS_ASSUME_NONNULL_BEGIN

@interface NSTextField : NSControl
+ (instancetype)labelWithString:(NSString*)text API_AVAILABLE(macos(10.12));
@property (nullable, copy) NSColor* textColor;
@property (getter=isEditable) BOOL editable;
@end

NS_ASSUME_NONNULL_END
