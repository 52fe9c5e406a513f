#pragma once

#include <cstdint>
#include <optional>
#include <string_view>

namespace veilpane {

/// Reads an unsigned 32-bit number: ASCII decimal digits only, after at most one sign; a minus only
/// before zero. Absent for everything else, surrounding spaces and values out of range included.
[[nodiscard]] std::optional<std::uint32_t> parseDecimalUInt32(std::string_view text);

} // namespace veilpane
