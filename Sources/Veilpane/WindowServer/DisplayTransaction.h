#pragma once

#include <CoreGraphics/CoreGraphics.h>

#include <expected>

namespace veilpane {

/// A display configuration between CGBeginDisplayConfiguration and its completion. Nothing changes
/// before it is completed; one that is not completed is cancelled at the end of its scope.
class DisplayTransaction {
public:
    /// Fails with CoreGraphics' error, or with kCGErrorSuccess when it reported success without a
    /// configuration.
    [[nodiscard]] static std::expected<DisplayTransaction, CGError> begin();

    DisplayTransaction(DisplayTransaction&& other) noexcept;
    DisplayTransaction& operator=(DisplayTransaction&&) = delete;
    DisplayTransaction(const DisplayTransaction&) = delete;
    DisplayTransaction& operator=(const DisplayTransaction&) = delete;
    ~DisplayTransaction();

    /// The configuration to add changes to.
    [[nodiscard]] CGDisplayConfigRef get() const { return config_; }

    /// Applies all changes at once. Whatever it returns, the configuration is spent.
    [[nodiscard]] CGError complete(CGConfigureOption option);

    /// Like `complete`, but when that fails also cancels the configuration, although it is spent.
    [[nodiscard]] CGError completeOrCancel(CGConfigureOption option);

private:
    explicit DisplayTransaction(CGDisplayConfigRef config) : config_(config) {}

    CGDisplayConfigRef config_;
};

} // namespace veilpane
