#pragma once

#include "Ownership/Handle.h"

#import <Foundation/Foundation.h>

template <class Object>
struct NSObjectTraits {
    using Raw = Object*;
    static constexpr Raw null = nullptr;
    static void retain(Raw object) { [object retain]; }
    static void release(Raw object) { [object release]; }
};

/// Owns an Objective-C object under manual retain/release.
template <class Object>
using NSRef = Handle<NSObjectTraits<Object>>;
