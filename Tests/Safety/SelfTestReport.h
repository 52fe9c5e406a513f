#pragma once

#include "Safety/Promise.h"

#include <cstdint>
#include <optional>
#include <string>

namespace safety {

/// What `--selftest` has printed.
struct SelfTestReport {
    /// Throws std::runtime_error for lines that are not as promised.
    explicit SelfTestReport(const std::string& output);

    /// Whether the last line and the exit status follow from the lines before; empty, or what is
    /// wrong, in words.
    [[nodiscard]] std::string brokenVerdict(int status) const;

    std::uint32_t id = 0;           ///< the display that was switched
    std::optional<Outcome> off, on; ///< absent when none was
    bool wasOff = false, wasOn = false;
    std::string verdict;
};

} // namespace safety
