// The I/O registry functions that the program uses, for machines without the macOS SDK.
#pragma once

#include <CoreFoundation/CoreFoundation.h>
#include <mach/boolean.h>
#include <mach/kern_return.h>
#include <mach/port.h>

CF_EXTERN_C_BEGIN

typedef kern_return_t IOReturn;
typedef UInt32 IOOptionBits;
typedef UInt32 IOItemCount;
typedef mach_port_t io_object_t;
typedef io_object_t io_service_t;
typedef io_object_t io_iterator_t;
typedef io_object_t io_registry_entry_t;
typedef char io_name_t[128];

#define IO_OBJECT_NULL ((io_object_t)0)
#define kIOServicePlane "IOService"

enum {
    kIOReturnSuccess = 0,
    kIOReturnNoDevice = (IOReturn)0xE00002C0,
    kIOReturnBadArgument = (IOReturn)0xE00002C2,
    kIOReturnUnsupportedMode = (IOReturn)0xE00002E6,
    kIOReturnOverrun = (IOReturn)0xE00002E8,
};

extern const mach_port_t kIOMainPortDefault API_AVAILABLE(macos(12.0));

CFMutableDictionaryRef IOServiceMatching(const char* name) CF_RETURNS_RETAINED;
// Always consumes one reference of `matching`, on failure too.
kern_return_t IOServiceGetMatchingServices(mach_port_t mainPort,
                                           CFDictionaryRef matching CF_RELEASES_ARGUMENT,
                                           io_iterator_t* existing);
io_object_t IOIteratorNext(io_iterator_t iterator); // +1
kern_return_t IOObjectRetain(io_object_t object);
kern_return_t IOObjectRelease(io_object_t object);
boolean_t IOObjectConformsTo(io_object_t object, const io_name_t className);
kern_return_t IOObjectGetClass(io_object_t object, io_name_t className); // writes the name
// The same for every reference to an entry, and for no other entry until the Mac is restarted.
kern_return_t IORegistryEntryGetRegistryEntryID(io_registry_entry_t entry, uint64_t* entryID);
CFTypeRef IORegistryEntryCreateCFProperty(io_registry_entry_t entry, CFStringRef key,
                                          CFAllocatorRef allocator, IOOptionBits options); // +1
kern_return_t IORegistryEntryGetChildIterator(io_registry_entry_t entry, const io_name_t plane,
                                              io_iterator_t* iterator);

CF_EXTERN_C_END
