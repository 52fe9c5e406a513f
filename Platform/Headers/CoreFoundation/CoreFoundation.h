// The CoreFoundation declarations that the program uses, for machines without the macOS SDK.
#pragma once

#include <mach/port.h>

#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

typedef unsigned char UInt8;
typedef unsigned short UInt16;
typedef unsigned int UInt32;
typedef signed int SInt32;
typedef unsigned char Boolean;
typedef unsigned short UniChar;

typedef signed long CFIndex;
typedef unsigned long CFTypeID;
typedef UInt32 CFStringEncoding;

typedef const void* CFTypeRef;
typedef const struct __CFAllocator* CFAllocatorRef;
typedef const struct __CFBoolean* CFBooleanRef;
typedef const struct __CFNumber* CFNumberRef;
typedef const struct __CFData* CFDataRef;
typedef const struct __CFString* CFStringRef;
typedef const struct __CFDictionary* CFDictionaryRef;
typedef struct __CFDictionary* CFMutableDictionaryRef;

typedef struct {
    CFIndex location;
    CFIndex length;
} CFRange;

static inline CFRange CFRangeMake(CFIndex location, CFIndex length) {
    CFRange range = {location, length};
    return range;
}

typedef CFIndex CFNumberType;
enum {
    kCFNumberSInt32Type = 3,
    kCFNumberSInt64Type = 4,
    kCFNumberFloat64Type = 6,
};

enum {
    kCFStringEncodingUTF8 = 0x08000100,
};

extern const CFAllocatorRef kCFAllocatorDefault;
extern const CFBooleanRef kCFBooleanTrue;
extern const CFBooleanRef kCFBooleanFalse;

CFTypeRef CFRetain(CFTypeRef object);
void CFRelease(CFTypeRef object); // crashes on NULL
CFTypeID CFGetTypeID(CFTypeRef object);

CFTypeID CFBooleanGetTypeID(void);
Boolean CFBooleanGetValue(CFBooleanRef boolean);

CFTypeID CFNumberGetTypeID(void);
// False when the conversion loses something; a best attempt is written all the same.
Boolean CFNumberGetValue(CFNumberRef number, CFNumberType type, void* value);

CFTypeID CFDataGetTypeID(void);
CFIndex CFDataGetLength(CFDataRef data);
void CFDataGetBytes(CFDataRef data, CFRange range, UInt8* buffer);

CFTypeID CFStringGetTypeID(void);
CFIndex CFStringGetLength(CFStringRef string); // UTF-16 units
Boolean CFStringGetCString(CFStringRef string, char* buffer, CFIndex bufferSize,
                           CFStringEncoding encoding);
CFIndex CFStringGetMaximumSizeForEncoding(CFIndex length, CFStringEncoding encoding);

CFTypeID CFDictionaryGetTypeID(void);
CFIndex CFDictionaryGetCount(CFDictionaryRef dictionary);
const void* CFDictionaryGetValue(CFDictionaryRef dictionary, const void* key);
void CFDictionaryGetKeysAndValues(CFDictionaryRef dictionary, const void** keys,
                                  const void** values);

// Creating objects: what the simulated Mac makes registry properties of.

typedef struct {
    CFIndex version;
    const void* reserved[5];
} CFDictionaryKeyCallBacks;

typedef struct {
    CFIndex version;
    const void* reserved[4];
} CFDictionaryValueCallBacks;

extern const CFDictionaryKeyCallBacks kCFTypeDictionaryKeyCallBacks;
extern const CFDictionaryValueCallBacks kCFTypeDictionaryValueCallBacks;

CFNumberRef CFNumberCreate(CFAllocatorRef allocator, CFNumberType type, const void* value);
CFDataRef CFDataCreate(CFAllocatorRef allocator, const UInt8* bytes, CFIndex length);
CFStringRef CFStringCreateWithBytes(CFAllocatorRef allocator, const UInt8* bytes, CFIndex count,
                                    CFStringEncoding encoding, Boolean isExternalRepresentation);
CFDictionaryRef CFDictionaryCreate(CFAllocatorRef allocator, const void** keys, const void** values,
                                   CFIndex count, const CFDictionaryKeyCallBacks* keyCallBacks,
                                   const CFDictionaryValueCallBacks* valueCallBacks);

// The compiler lays the string out as a constant object of class
// __CFConstantStringClassReference; it is never released.
#define CFSTR(literal) ((CFStringRef)__builtin___CFStringMakeConstantString("" literal ""))

#ifdef __cplusplus
}
#endif
