#pragma once

#include "Ownership/Owned.h"

#import <Foundation/Foundation.h>

namespace veilpane {

template <class Object>
struct NSObjectTraits {
    using Raw = Object*;
    static constexpr Raw null = nullptr;
    static void retain(Raw object) { [object retain]; }
    static void release(Raw object) { [object release]; }
};

/// Owns an Objective-C object under manual retain/release.
template <class Object>
using NSRef = Owned<NSObjectTraits<Object>>;

/// Keeps an object until the autorelease pool is drained: for a method that may lose the last
/// reference to its own object, whose caller goes on using it.
template <class Object>
void keepUntilPoolDrains(Object* object) {
    [[object retain] autorelease];
}

} // namespace veilpane
