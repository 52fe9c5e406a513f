#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace simulated_mac {

/// The longest that a key or an operand gets in a message, a file's name, and a whole message, in
/// characters.
constexpr std::size_t longestPiece = 60;
constexpr std::size_t longestName = 400;
constexpr std::size_t longestLine = 1000;

/// Text of any origin as a message may show it, on one line: control characters, line separators
/// and marks that turn the direction of writing become escapes (`\n`, `\u001b`), bytes that are no
/// UTF-8 `\xFF`. From the middle of what has more than `longest` characters (escapes count with all
/// of theirs) some are left out, for which an ellipsis stands. What has been shown once stays the
/// same when it is shown again.
[[nodiscard]] std::string shown(std::string_view text, std::size_t longest = longestPiece);

} // namespace simulated_mac
