// Points, sizes and rectangles; on 64-bit Macs they are CoreGraphics' own.
#pragma once

#include <Foundation/NSObjCRuntime.h>

typedef double CGFloat;

struct CGPoint {
    CGFloat x;
    CGFloat y;
};
typedef struct CGPoint CGPoint;

struct CGSize {
    CGFloat width;
    CGFloat height;
};
typedef struct CGSize CGSize;

struct CGRect {
    CGPoint origin;
    CGSize size;
};
typedef struct CGRect CGRect;

typedef CGPoint NSPoint;
typedef CGSize NSSize;
typedef CGRect NSRect;

FOUNDATION_EXPORT const NSRect NSZeroRect;

static inline NSPoint NSMakePoint(CGFloat x, CGFloat y) {
    const NSPoint result = {x, y};
    return result;
}

static inline NSSize NSMakeSize(CGFloat width, CGFloat height) {
    const NSSize result = {width, height};
    return result;
}

static inline NSRect NSMakeRect(CGFloat x, CGFloat y, CGFloat width, CGFloat height) {
    const NSRect result = {{x, y}, {width, height}};
    return result;
}
