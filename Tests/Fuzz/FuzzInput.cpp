#include "Fuzz/FuzzInput.h"

#include "SimulatedMac/World/InputError.h"
#include "SimulatedMac/World/JsonText.h"
#include "SimulatedMac/World/UTF8.h"

#include <cstdio>
#include <cstdlib>

namespace veilpane::fuzz {

void require(bool holds, const std::string& invariant) {
    if (!holds) {
        std::fprintf(stderr, "does not hold: %s\n", invariant.c_str());
        std::abort();
    }
}

std::string textOf(const std::uint8_t* data, std::size_t size) {
    return {data, data + size};
}

bool isUTF8(std::string_view text) {
    return simulated_mac::validPrefix(text) == text.size();
}

std::optional<nlohmann::json> jsonIn(const std::string& text) {
    try {
        return simulated_mac::parseJson(text, "input");
    } catch (const simulated_mac::InputError&) {
        return std::nullopt;
    }
}

std::optional<std::string> bytesIn(const nlohmann::json& value) {
    if (!value.is_object() || value.size() != 1 || !value.contains("data") ||
        !value["data"].is_string()) {
        return std::nullopt;
    }
    const auto digits = value["data"].get<std::string>();
    if (digits.size() % 2 != 0 ||
        digits.find_first_not_of("0123456789abcdefABCDEF") != std::string::npos) {
        return std::nullopt;
    }
    std::string bytes;
    for (std::size_t i = 0; i < digits.size(); i += 2) {
        bytes += static_cast<char>(std::stoi(digits.substr(i, 2), nullptr, 16));
    }
    return bytes;
}

} // namespace veilpane::fuzz
