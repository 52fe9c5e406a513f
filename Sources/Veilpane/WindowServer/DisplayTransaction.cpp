#include "Veilpane/WindowServer/DisplayTransaction.h"

#include <utility>

namespace veilpane {

std::expected<DisplayTransaction, CGError> DisplayTransaction::begin() {
    CGDisplayConfigRef config = nullptr;
    const CGError error = CGBeginDisplayConfiguration(&config);
    if (error != kCGErrorSuccess || config == nullptr) {
        return std::unexpected(error);
    }
    return DisplayTransaction(config);
}

DisplayTransaction::DisplayTransaction(DisplayTransaction&& other) noexcept
    : config_(std::exchange(other.config_, nullptr)) {}

DisplayTransaction::~DisplayTransaction() {
    if (config_ != nullptr) {
        CGCancelDisplayConfiguration(config_);
    }
}

CGError DisplayTransaction::complete(CGConfigureOption option) {
    return CGCompleteDisplayConfiguration(std::exchange(config_, nullptr), option);
}

CGError DisplayTransaction::completeOrCancel(CGConfigureOption option) {
    const CGDisplayConfigRef config = std::exchange(config_, nullptr);
    const CGError error = CGCompleteDisplayConfiguration(config, option);
    if (error != kCGErrorSuccess) {
        CGCancelDisplayConfiguration(config);
    }
    return error;
}

} // namespace veilpane
