#pragma once

#include <AppKit/NSGraphics.h>

NS_ASSUME_NONNULL_BEGIN

typedef CGFloat NSFontWeight;

APPKIT_EXTERN const NSFontWeight NSFontWeightRegular API_AVAILABLE(macos(10.11));
APPKIT_EXTERN const NSFontWeight NSFontWeightMedium API_AVAILABLE(macos(10.11));
APPKIT_EXTERN const NSFontWeight NSFontWeightSemibold API_AVAILABLE(macos(10.11));

// A size of 0 means the default one.
@interface NSFont : NSObject
+ (NSFont*)systemFontOfSize:(CGFloat)size;
+ (NSFont*)systemFontOfSize:(CGFloat)size weight:(NSFontWeight)weight API_AVAILABLE(macos(10.11));
+ (NSFont*)menuBarFontOfSize:(CGFloat)size;
@property (readonly) CGFloat pointSize;
@end

NS_ASSUME_NONNULL_END
