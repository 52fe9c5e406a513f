#pragma once

#import <Foundation/Foundation.h>

#include <utility>

/// Owns one reference to an Objective-C object whose references are counted by hand, or nothing.
template <class Object>
class Retained {
public:
    Retained() = default;
    /// Takes a reference of its own beside the caller's.
    explicit Retained(Object* object) : object_([object retain]) {}
    /// Takes over the caller's reference, which came from `alloc`, `new` or `copy`.
    static Retained adopt(Object* object) {
        Retained owner;
        owner.object_ = object;
        return owner;
    }

    Retained(const Retained& other) : Retained(other.object_) {}
    Retained(Retained&& other) noexcept : object_(std::exchange(other.object_, nil)) {}
    Retained& operator=(Retained other) noexcept {
        std::swap(object_, other.object_);
        return *this;
    }
    ~Retained() { [object_ release]; }

    [[nodiscard]] Object* get() const { return object_; }
    /// Gives the reference to the autorelease pool and the object to the caller.
    [[nodiscard]] Object* handToPool() && { return [std::exchange(object_, nil) autorelease]; }

private:
    Object* object_ = nil;
};

/// Keeps an object until the autorelease pool is drained, beyond what may lose its last reference.
template <class Object>
Object* keptUntilPoolDrains(Object* object) {
    return Retained<Object>(object).handToPool();
}
