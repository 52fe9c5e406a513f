#pragma once

#include <chrono>

namespace macprobe {

/// How long is waited for what.
struct Patience {
    /// So long without a sign of life, and the watching process brings the display back.
    std::chrono::milliseconds withoutLife = std::chrono::seconds(20);
    /// Until a change is over that does not show at once.
    std::chrono::milliseconds forChange = std::chrono::seconds(1);
    /// Between two attempts to bring the display back.
    std::chrono::milliseconds betweenAttempts = std::chrono::seconds(1);
    int attempts = 30;
};

} // namespace macprobe
