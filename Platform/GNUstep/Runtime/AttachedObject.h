#pragma once

#import <objc/associated_objects.h>

/// What is attached to `object` under `key`: an Object that is made empty when it is first asked
/// for and goes with `object`.
template <class Object>
Object* attachedObject(id object, const void* key) {
    Object* attached = objc_getAssociatedObject(object, key);
    if (attached == nil) {
        attached = [[[Object alloc] init] autorelease];
        objc_setAssociatedObject(object, key, attached, OBJC_ASSOCIATION_RETAIN);
    }
    return attached;
}
