#pragma once

#include <utility>

namespace veilpane {

/// Owns one reference of a counted platform object.
///
/// There are two doors in: `adopt` takes over a reference that the caller already owns (Create,
/// Copy, Next, alloc), `retain` adds one to a borrowed object. `leak` is the only way out.
///
/// Traits supply `Raw`, `null`, `retain(Raw)` and `release(Raw)`.
template <class Traits>
class Owned {
public:
    using Raw = typename Traits::Raw;

    [[nodiscard]] static Owned adopt(Raw owned) { return Owned(owned); }
    [[nodiscard]] static Owned retain(Raw borrowed) {
        if (borrowed != Traits::null) {
            Traits::retain(borrowed);
        }
        return Owned(borrowed);
    }

    constexpr Owned() = default;
    Owned(Owned&& other) noexcept : raw_(other.leak()) {}
    Owned& operator=(Owned&& other) noexcept {
        Owned(std::move(other)).swap(*this);
        return *this;
    }
    Owned(const Owned&) = delete;
    Owned& operator=(const Owned&) = delete;
    ~Owned() { reset(); }

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

    void swap(Owned& other) noexcept { std::swap(raw_, other.raw_); }

private:
    explicit Owned(Raw owned) : raw_(owned) {}

    Raw raw_ = Traits::null;
};

} // namespace veilpane
