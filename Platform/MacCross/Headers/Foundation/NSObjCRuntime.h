// The base of Foundation: integers, macros, ranges and what every class derives from.
#pragma once

#include <CoreFoundation/CFBase.h>
#include <objc/NSObject.h>
#include <objc/objc.h>

#define NS_ENUM(type, name) CF_ENUM(type, name)
// Flags, which are or-ed: in C++ their type is the integer, as enumerations do not mix there.
#ifdef __cplusplus
#define NS_OPTIONS(type, name)                                                                     \
    typedef type name;                                                                             \
    enum : type
#else
#define NS_OPTIONS(type, name) CF_ENUM(type, name)
#endif

#define NS_ASSUME_NONNULL_BEGIN _Pragma("clang assume_nonnull begin")
#define NS_ASSUME_NONNULL_END _Pragma("clang assume_nonnull end")

#define NS_UNAVAILABLE __attribute__((unavailable))
#define NS_RETURNS_INNER_POINTER __attribute__((objc_returns_inner_pointer))
#define NS_WARN_UNUSED_RESULT __attribute__((warn_unused_result))
#define NS_FORMAT_FUNCTION(text, first) __attribute__((format(__NSString__, text, first)))

#ifdef __cplusplus
#define FOUNDATION_EXPORT extern "C"
#else
#define FOUNDATION_EXPORT extern
#endif

NS_ENUM(NSInteger, NSComparisonResult){
    NSOrderedAscending = -1,
    NSOrderedSame = 0,
    NSOrderedDescending = 1,
};

static const NSInteger NSNotFound = NSIntegerMax;

typedef struct _NSRange {
    NSUInteger location;
    NSUInteger length;
} NSRange;

static inline NSUInteger NSMaxRange(NSRange range) {
    return range.location + range.length;
}
