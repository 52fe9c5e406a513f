#pragma once

#include <optional>
#include <string>
#include <vector>

namespace macprobe {

/// A display as the system profiler prints it.
struct ProfiledDisplay {
    std::string idText; ///< its ID, in whatever base
    std::string name;
};

/// All displays that the profiler prints; absent when it cannot be started. It takes seconds.
[[nodiscard]] std::optional<std::vector<ProfiledDisplay>> profiledDisplays();

/// The name of the display whose ID is printed so; absent when it is not there.
[[nodiscard]] std::optional<std::string> nameOf(const std::vector<ProfiledDisplay>& displays,
                                                const std::string& idText);

/// As the profiler is expected to print an ID.
[[nodiscard]] std::string hexadecimal(unsigned displayID);

} // namespace macprobe
