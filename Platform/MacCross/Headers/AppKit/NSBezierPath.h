#pragma once

#include <Foundation/Foundation.h>

NS_ASSUME_NONNULL_BEGIN

NS_ENUM(NSUInteger, NSLineCapStyle){
    NSLineCapStyleButt = 0,
    NSLineCapStyleRound = 1,
    NSLineCapStyleSquare = 2,
};

@interface NSBezierPath : NSObject
+ (NSBezierPath*)bezierPath;
+ (NSBezierPath*)bezierPathWithRoundedRect:(NSRect)rect
                                   xRadius:(CGFloat)xRadius
                                   yRadius:(CGFloat)yRadius;
+ (NSBezierPath*)bezierPathWithOvalInRect:(NSRect)rect;
- (void)moveToPoint:(NSPoint)point;
- (void)lineToPoint:(NSPoint)point;
@property CGFloat lineWidth;
@property NSLineCapStyle lineCapStyle;
- (void)stroke;
- (void)fill;
@end

NS_ASSUME_NONNULL_END
