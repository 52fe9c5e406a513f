#include "Veilpane/Support/DecimalNumber.h"

#include <charconv>
#include <system_error>

namespace veilpane {

std::optional<std::uint32_t> parseDecimalUInt32(std::string_view text) {
    const bool negative = text.starts_with('-');
    if (negative || text.starts_with('+')) {
        text.remove_prefix(1);
    }
    std::uint32_t value = 0;
    const char* const end = text.data() + text.size();
    const auto [stop, error] = std::from_chars(text.data(), end, value);
    if (error != std::errc() || stop != end || (negative && value != 0)) {
        return std::nullopt;
    }
    return value;
}

} // namespace veilpane
