#pragma once

// What the fuzzed programs share: looking at what the fuzzer has thought of, and telling that what
// must always hold does not.

#include <cstddef>
#include <cstdint>
#include <nlohmann/json.hpp>
#include <optional>
#include <string>
#include <string_view>

namespace veilpane::fuzz {

/// Ends the process with the text, which is a find to the fuzzer, unless the invariant holds.
void require(bool holds, const std::string& invariant);

[[nodiscard]] std::string textOf(const std::uint8_t* data, std::size_t size);
[[nodiscard]] bool isUTF8(std::string_view text);

/// The one JSON value that the text is; absent for what the simulated Mac would not read either.
[[nodiscard]] std::optional<nlohmann::json> jsonIn(const std::string& text);

/// What a JSON value stands for that is `{ "data": "0aff" }`: bytes. Absent for all others.
[[nodiscard]] std::optional<std::string> bytesIn(const nlohmann::json& value);

} // namespace veilpane::fuzz
