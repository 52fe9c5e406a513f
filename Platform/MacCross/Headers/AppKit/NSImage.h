#pragma once

#include <AppKit/NSImageRep.h>

NS_ASSUME_NONNULL_BEGIN

NS_ENUM(NSUInteger, NSImageScaling){
    NSImageScaleProportionallyUpOrDown = 3,
};

@interface NSImage : NSObject
// The block is copied and called whenever the image is drawn.
+ (NSImage*)imageWithSize:(NSSize)size
                  flipped:(BOOL)flipped
           drawingHandler:(BOOL (^)(NSRect rect))drawingHandler API_AVAILABLE(macos(10.8));
// Nil for a name that this system does not know.
+ (nullable instancetype)imageWithSystemSymbolName:(NSString*)name
                          accessibilityDescription:(nullable NSString*)description
    API_AVAILABLE(macos(11.0));
@property NSSize size;
@property (readonly, copy) NSArray<NSImageRep*>* representations;
// No property: its name is a keyword of C++.
- (BOOL)isTemplate;
- (void)setTemplate:(BOOL)isTemplate;
@end

NS_ASSUME_NONNULL_END
