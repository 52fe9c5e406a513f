#include "MacProbe/Json.h"

#include <algorithm>
#include <array>
#include <cstdio>

namespace macprobe {

namespace {

constexpr std::size_t lineWidth = 96;
constexpr std::size_t step = 2; // of indentation

std::string escaped(unsigned char byte) {
    std::array<char, 8> text = {};
    std::snprintf(text.data(), text.size(), "\\u%04x", static_cast<unsigned>(byte));
    return text.data();
}

std::string quoted(const std::string& text) {
    std::string result = "\"";
    for (const char character : text) {
        const auto byte = static_cast<unsigned char>(character);
        if (byte < 0x20 || byte == 0x7F) {
            result += escaped(byte);
            continue;
        }
        result += character == '"' || character == '\\' ? "\\" : "";
        result += character;
    }
    return result + '"';
}

// With as many digits as tell it from its neighbours.
std::string digitsOf(double number) {
    std::array<char, 32> text = {};
    std::snprintf(text.data(), text.size(), "%.17g", number);
    return text.data();
}

template <class... Functions>
struct Overloaded : Functions... {
    using Functions::operator()...;
};

/// Elements with commas between them, within brackets; `separator` follows each comma.
template <class Elements, class Text>
std::string joined(const char* brackets, const Elements& elements, const std::string& separator,
                   const std::string& end, const Text& text) {
    std::string result(1, brackets[0]);
    for (const auto& element : elements) {
        result += (&element == &elements.front() ? "" : ",") + separator + text(element);
    }
    return result + (elements.empty() ? "" : end) + brackets[1];
}

} // namespace

std::size_t Json::depth() const {
    std::size_t deepest = 0;
    if (const auto* const elements = std::get_if<Array>(&value_)) {
        for (const Json& element : *elements) {
            deepest = std::max(deepest, element.depth());
        }
        return deepest + 1;
    }
    const auto* const members = std::get_if<Object>(&value_);
    if (members == nullptr || (members->size() == 1 && members->front().first == "data")) {
        return 0;
    }
    for (const auto& [name, member] : *members) {
        deepest = std::max(deepest, member.depth());
    }
    return deepest + 1;
}

std::string Json::inOneLine() const {
    return std::visit(
        Overloaded{[](bool truth) { return std::string(truth ? "true" : "false"); },
                   [](std::int64_t number) { return std::to_string(number); },
                   [](double number) { return digitsOf(number); },
                   [](const std::string& text) { return quoted(text); },
                   [](const Array& elements) {
                       return joined("[]", elements, " ", " ",
                                     [](const Json& element) { return element.inOneLine(); });
                   },
                   [](const Object& members) {
                       return joined("{}", members, " ", " ", [](const auto& member) {
                           return quoted(member.first) + ": " + member.second.inOneLine();
                       });
                   }},
        value_);
}

std::string Json::text(std::size_t indentation) const {
    std::string line = inOneLine();
    const bool isBroken = line.size() + indentation > lineWidth;
    const auto* const elements = std::get_if<Array>(&value_);
    const auto* const members = std::get_if<Object>(&value_);
    const std::string end = "\n" + std::string(indentation, ' ');
    const std::string separator = end + std::string(step, ' ');
    if (isBroken && elements != nullptr) {
        return joined("[]", *elements, separator, end,
                      [=](const Json& element) { return element.text(indentation + step); });
    }
    if (isBroken && members != nullptr) {
        return joined("{}", *members, separator, end, [=](const auto& member) {
            return quoted(member.first) + ": " + member.second.text(indentation + step);
        });
    }
    return line;
}

} // namespace macprobe
