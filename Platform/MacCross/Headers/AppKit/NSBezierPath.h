#pragma once

#include <Foundation/Foundation.h>

NS_ASSUME_NONNULL_BEGIN

NS_ENUM(NSUInteger, NSLineCapStyle){
    NSLineCapStyleButt = 0,
    NSLineCapStyleRound = 1,
    NSLineCapStyleSquare = 2,
};

NS_ENUM(NSUInteger, NSBezierPathElement){
    NSBezierPathElementMoveTo = 0,
    NSBezierPathElementLineTo = 1,
    NSBezierPathElementCurveTo = 2,
    NSBezierPathElementClosePath = 3,
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
@property (readonly) NSInteger elementCount;
// A curve has three points.
- (NSBezierPathElement)elementAtIndex:(NSInteger)index
                     associatedPoints:(nullable NSPointArray)points;
@end

NS_ASSUME_NONNULL_END
