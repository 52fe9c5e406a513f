#pragma once

#include <cstdint>
#include <string>
#include <utility>
#include <variant>
#include <vector>

namespace macprobe {

/// A JSON value to be written. Members keep the order in which they were added.
class Json {
public:
    using Array = std::vector<Json>;
    using Object = std::vector<std::pair<std::string, Json>>;

    Json(bool truth) : value_(truth) {}
    Json(std::int64_t number) : value_(number) {}
    Json(std::uint32_t number) : value_(std::int64_t{number}) {}
    Json(double number) : value_(number) {}             ///< finite
    Json(std::string text) : value_(std::move(text)) {} ///< in UTF-8
    Json(const char* text) : value_(std::string(text)) {}
    Json(Array elements) : value_(std::move(elements)) {}
    Json(Object members) : value_(std::move(members)) {}

    /// How deep arrays and objects lie in each other; 0 for neither, and for a scene's data.
    [[nodiscard]] std::size_t depth() const;

    /// A value that fits into the width of a line stands in one.
    [[nodiscard]] std::string text() const { return text(0); }

private:
    [[nodiscard]] std::string text(std::size_t indentation) const;
    [[nodiscard]] std::string inOneLine() const;

    std::variant<bool, std::int64_t, double, std::string, Array, Object> value_;
};

} // namespace macprobe
