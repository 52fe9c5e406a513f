#pragma once

#include <cstddef>
#include <nlohmann/json.hpp>
#include <string>

namespace simulated_mac {

/// How deep arrays and objects may lie in each other. Whoever goes through them does so by
/// recursion.
constexpr std::size_t deepestNesting = 64;

/// Reads one JSON value in UTF-8, of which a byte order mark may come first, and nothing after it.
/// Throws InputError, which names `source` (a file, or a place in one) and the key, for what is
/// none; for keys given twice or with a U+0000, numbers out of range and nesting too deep. A text
/// may hold a U+0000, as a display's name may on a Mac.
[[nodiscard]] nlohmann::json parseJson(const std::string& text, const std::string& source);

} // namespace simulated_mac
