#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace safety {

/// What `--list` or `--selftest` has printed.
struct PrintedReport {
    explicit PrintedReport(const std::string& output);

    std::vector<std::string> lines;   ///< with a star for each display's name
    std::vector<std::uint32_t> order; ///< the displays, as they come
};

/// In what the first lines differ from those that are due; empty for nothing.
[[nodiscard]] std::string differenceOf(const std::vector<std::string>& lines,
                                       const std::vector<std::string>& due);

} // namespace safety
