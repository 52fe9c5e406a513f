#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>

namespace simulated_mac {

/// The character that valid UTF-8 at the beginning of `text` encodes.
struct UTF8Character {
    uint32_t codePoint = 0;
    std::size_t length = 0; ///< in bytes; 0 when what is there is no valid UTF-8
};

/// Surrogates, overlong forms and what lies beyond U+10FFFF are not valid. `text` is not empty.
constexpr UTF8Character firstCharacter(std::string_view text) {
    const auto byteAt = [text](std::size_t place) { return static_cast<uint8_t>(text[place]); };
    const uint8_t first = byteAt(0);
    if (first < 0x80) {
        return {first, 1};
    }
    const std::size_t length = first >= 0xF0 ? 4 : first >= 0xE0 ? 3 : 2;
    if (first < 0xC2 || first > 0xF4 || text.size() < length) {
        return {};
    }
    uint32_t codePoint = first & (0x7FU >> length);
    for (std::size_t i = 1; i < length; ++i) {
        if ((byteAt(i) & 0xC0) != 0x80) {
            return {};
        }
        codePoint = codePoint << 6 | (byteAt(i) & 0x3FU);
    }
    constexpr uint32_t least[] = {0, 0, 0x80, 0x800, 0x10000};
    const bool surrogate = codePoint >= 0xD800 && codePoint <= 0xDFFF;
    return codePoint < least[length] || codePoint > 0x10FFFF || surrogate
               ? UTF8Character{}
               : UTF8Character{codePoint, length};
}

/// How many bytes at the beginning are valid UTF-8; all of them in a valid text.
constexpr std::size_t validPrefix(std::string_view text) {
    std::size_t valid = 0;
    while (valid < text.size()) {
        const std::size_t length = firstCharacter(text.substr(valid)).length;
        if (length == 0) {
            break;
        }
        valid += length;
    }
    return valid;
}

} // namespace simulated_mac
