// The base types and the declaration macros of CoreFoundation, for machines without the macOS SDK.
#pragma once

#include <stdint.h>

// The C library for macOS tells since when an interface exists; other ones have no such header.
#if __has_include(<os/availability.h>)
#include <os/availability.h>
#else
#define API_AVAILABLE(...)
#endif

// As Apple's header does: it brings names such as Handle, Point and Style, which the program must
// not take for its own.
#if __has_include(<MacTypes.h>)
#include <MacTypes.h>
#endif

#ifdef __cplusplus
#define CF_EXTERN_C_BEGIN extern "C" {
#define CF_EXTERN_C_END }
#else
#define CF_EXTERN_C_BEGIN
#define CF_EXTERN_C_END
#endif

// An enumeration with a fixed underlying type, in C as well.
#define CF_ENUM(type, name)                                                                        \
    enum name : type;                                                                              \
    typedef enum name name;                                                                        \
    enum name : type

// The caller owns the result, or gives up a reference that it passes.
#define CF_RETURNS_RETAINED __attribute__((cf_returns_retained))
#define CF_RELEASES_ARGUMENT __attribute__((cf_consumed))

CF_EXTERN_C_BEGIN

typedef unsigned char UInt8;
typedef unsigned short UInt16;
typedef unsigned int UInt32; // not long: the SDK switches to int for 64 bits
typedef signed int OSStatus;
typedef signed int SInt32;
typedef unsigned char Boolean;
typedef unsigned short UniChar; // a UTF-16 unit

typedef signed long CFIndex;
typedef unsigned long CFTypeID;

typedef const void* CFTypeRef;
typedef const struct __CFAllocator* CFAllocatorRef;
typedef const struct __CFString* CFStringRef;

typedef struct {
    CFIndex location;
    CFIndex length;
} CFRange;

static inline __attribute__((unused)) CFRange CFRangeMake(CFIndex location, CFIndex length) {
    CFRange range = {location, length};
    return range;
}

extern const CFAllocatorRef kCFAllocatorDefault;

CFTypeRef CFRetain(CFTypeRef object);   // crashes on NULL
void CFRelease(CFTypeRef object);       // crashes on NULL
CFTypeID CFGetTypeID(CFTypeRef object); // crashes on NULL

CF_EXTERN_C_END
