#include "SimulatedMac/World/Message.h"

#include "SimulatedMac/World/UTF8.h"

#include <cstdint>
#include <cstdio>
#include <vector>

namespace simulated_mac {
namespace {

std::string formatted(const char* format, unsigned value) {
    char text[16] = {};
    std::snprintf(text, sizeof text, format, value);
    return text;
}

bool isWithin(uint32_t value, uint32_t least, uint32_t most) {
    return value >= least && value <= most;
}

// A terminal acts on the controls, breaks the line at the separators, and lets the marks turn what
// follows around.
bool needsEscape(uint32_t codePoint) {
    return codePoint < 0x20 || isWithin(codePoint, 0x7F, 0x9F) ||
           isWithin(codePoint, 0x200B, 0x200F) || isWithin(codePoint, 0x2028, 0x202E) ||
           isWithin(codePoint, 0x2060, 0x206F) || codePoint == 0xFEFF;
}

std::string escape(uint32_t codePoint) {
    switch (codePoint) {
    case '\n':
        return "\\n";
    case '\r':
        return "\\r";
    case '\t':
        return "\\t";
    default:
        return formatted("\\u%04x", codePoint);
    }
}

/// The text as pieces of which each is shown whole or not at all.
std::vector<std::string> pieces(std::string_view text) {
    std::vector<std::string> all;
    while (!text.empty()) {
        const UTF8Character character = firstCharacter(text);
        const std::size_t length = character.length == 0 ? 1 : character.length;
        if (character.length == 0) {
            all.push_back(formatted("\\x%02X", static_cast<unsigned char>(text[0])));
        } else if (needsEscape(character.codePoint)) {
            all.push_back(escape(character.codePoint));
        } else {
            all.emplace_back(text.substr(0, length));
        }
        text.remove_prefix(length);
    }
    return all;
}

// An escape is plain ASCII; any other piece is one character.
std::size_t charactersOf(const std::string& piece) {
    return piece[0] == '\\' ? piece.size() : 1;
}

std::size_t charactersOf(const std::vector<std::string>& all) {
    std::size_t sum = 0;
    for (const std::string& piece : all) {
        sum += charactersOf(piece);
    }
    return sum;
}

/// Leaves out of a very long text what would not be shown anyway: no character has more than 4
/// bytes.
std::string withoutMiddle(std::string_view text, std::size_t longest) {
    const std::size_t end = 4 * longest;
    return text.size() <= 2 * end
               ? std::string(text)
               : std::string(text.substr(0, end)) + std::string(text.substr(text.size() - end));
}

/// As many pieces as fit, from one end.
template <class Iterator>
std::vector<std::string> fitting(Iterator piece, Iterator end, std::size_t room) {
    std::vector<std::string> kept;
    for (; piece != end && charactersOf(*piece) <= room; ++piece) {
        room -= charactersOf(*piece);
        kept.push_back(*piece);
    }
    return kept;
}

std::string joined(const std::vector<std::string>& all) {
    std::string text;
    for (const std::string& piece : all) {
        text += piece;
    }
    return text;
}

} // namespace

std::string shown(std::string_view text, std::size_t longest) {
    const std::vector<std::string> all = pieces(withoutMiddle(text, longest));
    if (charactersOf(all) <= longest) {
        return joined(all);
    }
    const std::size_t half = (longest - 1) / 2;
    const std::vector<std::string> tail = fitting(all.rbegin(), all.rend(), half);
    return joined(fitting(all.begin(), all.end(), half)) + "…" +
           joined({tail.rbegin(), tail.rend()});
}

} // namespace simulated_mac
