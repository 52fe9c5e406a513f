// Values that are attached to any object: Apple's runtime has them, GCC's has not.
#pragma once
#pragma clang system_header

#include <objc/objc.h>

#include <stdint.h>

enum : uintptr_t {
    OBJC_ASSOCIATION_ASSIGN = 0,
    OBJC_ASSOCIATION_RETAIN_NONATOMIC = 1,
    OBJC_ASSOCIATION_COPY_NONATOMIC = 3,
    OBJC_ASSOCIATION_RETAIN = 01401,
    OBJC_ASSOCIATION_COPY = 01403
};
typedef uintptr_t objc_AssociationPolicy;

extern "C" {

/// Attaches `value` to `object` under `key`, an address of the caller's; nil takes it away. What is
/// attached goes when the object is deallocated.
void objc_setAssociatedObject(id object, const void* key, id value, objc_AssociationPolicy policy);

/// The value under `key`, or nil; it stays valid as long as it stays attached.
id objc_getAssociatedObject(id object, const void* key);

/// Takes away everything that is attached to `object`.
void objc_removeAssociatedObjects(id object);

} // extern "C"
