#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <nlohmann/json.hpp>
#include <string>

namespace simulated_mac {

/// A JSON value together with its place in a file. What is asked of it and does not hold throws
/// InputError, which names the file and the place.
class Field {
public:
    /// The value must outlive the field. `source` names the file; `place` leads to the value in it.
    Field(const nlohmann::json& value, std::string source, std::string place = {})
        : value_(value), source_(std::move(source)), place_(std::move(place)) {}

    [[noreturn]] void reject(const std::string& problem) const;
    /// "must be" what is expected.
    void require(bool condition, const char* expected) const;

    [[nodiscard]] const nlohmann::json& value() const { return value_; }
    /// The file and the key, for messages: "desk.json: displays[0].id".
    [[nodiscard]] std::string place() const;
    /// A member that is there.
    [[nodiscard]] Field member(const std::string& key) const;
    /// A member of what must be an object with it.
    [[nodiscard]] Field at(const std::string& key) const;
    [[nodiscard]] Field element(std::size_t index) const;

    [[nodiscard]] bool boolean() const;
    [[nodiscard]] std::string text() const;
    [[nodiscard]] int64_t integer(int64_t least, int64_t most) const;
    [[nodiscard]] uint32_t word() const { return static_cast<uint32_t>(integer(0, UINT32_MAX)); }
    /// An IOReturn, as a signed or an unsigned number.
    [[nodiscard]] int32_t status() const {
        return static_cast<int32_t>(integer(INT32_MIN, UINT32_MAX));
    }
    /// Any number that a float can hold, rounded.
    [[nodiscard]] float real() const;

    void eachElement(const std::function<void(const Field&)>& read) const;
    void
    eachKey(const std::function<void(const std::string& key, const Field& member)>& read) const;

    using Readers = std::map<std::string, std::function<void(const Field&)>>;
    /// Reads an object's members; one without a reader is an error.
    void eachMember(const Readers& readers) const;

private:
    const nlohmann::json& value_;
    std::string source_;
    std::string place_;
};

} // namespace simulated_mac
