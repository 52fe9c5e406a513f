#pragma once

#include <optional>
#include <string>

namespace macprobe {

/// The version of macOS, as in "14.2.1"; absent when it is not told.
[[nodiscard]] std::optional<std::string> macOSVersion();

/// The kind of processor, "arm64" or "x86_64"; absent when another one or none is told.
[[nodiscard]] std::optional<std::string> processorKind();

} // namespace macprobe
