#pragma once

#include <cstddef>
#include <string>
#include <sys/stat.h>

namespace simulated_mac {

/// The largest scene, state or file of user defaults, in bytes, and the largest call log, which
/// grows until somebody clears it.
constexpr std::size_t largestFile = std::size_t{16} << 20;
constexpr std::size_t largestLog = std::size_t{1} << 30;

/// The content of a regular file of at most `largest` bytes. Throws InputError for what cannot be
/// read, is larger, or is no regular file: a pipe might never end, and a device does what it likes.
[[nodiscard]] std::string readTextFile(const std::string& file, std::size_t largest = largestFile);

/// Throws InputError for a status that is not a regular file's.
void requireRegular(const struct stat& status, const std::string& file);

/// What is at that name itself is a link; it leads to nothing.
[[nodiscard]] bool isDanglingLink(const std::string& file);

} // namespace simulated_mac
