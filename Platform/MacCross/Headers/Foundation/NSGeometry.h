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
typedef NSPoint* NSPointArray;
typedef CGSize NSSize;
typedef CGRect NSRect;

FOUNDATION_EXPORT const NSPoint NSZeroPoint;
FOUNDATION_EXPORT const NSRect NSZeroRect;

FOUNDATION_EXPORT BOOL NSEqualSizes(NSSize one, NSSize other);

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

static inline CGFloat NSMinX(NSRect rect) {
    return rect.origin.x;
}

static inline CGFloat NSMinY(NSRect rect) {
    return rect.origin.y;
}

static inline CGFloat NSWidth(NSRect rect) {
    return rect.size.width;
}

static inline CGFloat NSHeight(NSRect rect) {
    return rect.size.height;
}

static inline CGFloat NSMaxX(NSRect rect) {
    return rect.origin.x + rect.size.width;
}

static inline CGFloat NSMidY(NSRect rect) {
    return rect.origin.y + rect.size.height * 0.5;
}
