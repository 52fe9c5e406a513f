#pragma once

#include <utility>

/// Owns one reference of a counted platform object. (Apple's MacTypes.h has the name Handle.)
///
/// There are two doors in: `adopt` takes over a reference that the caller already owns (Create,
/// Copy, Next, alloc), `retain` adds one to a borrowed object. `leak` is the only way out.
///
/// Traits supply `Raw`, `null`, `retain(Raw)` and `release(Raw)`.
template <class Traits>
class OwnedReference {
public:
    using Raw = typename Traits::Raw;

    [[nodiscard]] static OwnedReference adopt(Raw owned) { return OwnedReference(owned); }
    [[nodiscard]] static OwnedReference retain(Raw borrowed) {
        if (borrowed != Traits::null) {
            Traits::retain(borrowed);
        }
        return OwnedReference(borrowed);
    }

    OwnedReference() = default;
    OwnedReference(OwnedReference&& other) noexcept : raw_(other.leak()) {}
    OwnedReference& operator=(OwnedReference&& other) noexcept {
        OwnedReference(std::move(other)).swap(*this);
        return *this;
    }
    OwnedReference(const OwnedReference&) = delete;
    OwnedReference& operator=(const OwnedReference&) = delete;
    ~OwnedReference() { reset(); }

    [[nodiscard]] Raw get() const { return raw_; }
    explicit operator bool() const { return raw_ != Traits::null; }

    /// Gives the reference to the caller, who releases it.
    [[nodiscard]] Raw leak() { return std::exchange(raw_, Traits::null); }

    /// Releases the reference now instead of at the end of the scope.
    void reset() {
        if (const Raw raw = std::exchange(raw_, Traits::null); raw != Traits::null) {
            Traits::release(raw);
        }
    }

    void swap(OwnedReference& other) noexcept { std::swap(raw_, other.raw_); }

private:
    explicit OwnedReference(Raw owned) : raw_(owned) {}

    Raw raw_ = Traits::null;
};
