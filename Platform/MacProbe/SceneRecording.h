#pragma once

#include <expected>
#include <string>

namespace macprobe {

/// This Mac as a scene for the simulated Mac, as far as looking can tell; nothing is changed. The
/// error is a line that says why there is nothing to write.
[[nodiscard]] std::expected<std::string, std::string> recordScene();

} // namespace macprobe
