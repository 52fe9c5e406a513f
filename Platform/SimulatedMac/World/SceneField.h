#pragma once

#include "SimulatedMac/World/Scene.h"

#include <functional>
#include <map>
#include <string>

namespace simulated_mac {

/// A JSON value together with its place in the scene, for messages that name it.
class SceneField {
public:
    SceneField(const nlohmann::json& value, std::string source, std::string place = {})
        : value_(value), source_(std::move(source)), place_(std::move(place)) {}

    [[noreturn]] void reject(const std::string& problem) const {
        throw SceneError(source_ + ": " + (place_.empty() ? "" : place_ + ": ") + problem);
    }

    [[nodiscard]] const nlohmann::json& value() const { return value_; }
    [[nodiscard]] SceneField member(const std::string& key) const {
        return {value_.at(key), source_, place_.empty() ? key : place_ + "." + key};
    }
    [[nodiscard]] SceneField element(std::size_t index) const {
        return {value_.at(index), source_, place_ + "[" + std::to_string(index) + "]"};
    }

    [[nodiscard]] bool boolean() const {
        require(value_.is_boolean(), "true or false");
        return value_.get<bool>();
    }
    [[nodiscard]] std::string text() const {
        require(value_.is_string(), "a text");
        return value_.get<std::string>();
    }
    [[nodiscard]] int64_t integer(int64_t least, int64_t most) const {
        require(value_.is_number_integer(), "a whole number");
        const bool tooLarge = value_.is_number_unsigned() && value_.get<uint64_t>() > INT64_MAX;
        if (tooLarge || value_.get<int64_t>() < least || value_.get<int64_t>() > most) {
            reject("not within " + std::to_string(least) + " and " + std::to_string(most));
        }
        return value_.get<int64_t>();
    }
    [[nodiscard]] uint32_t word() const { return static_cast<uint32_t>(integer(0, UINT32_MAX)); }
    /// An IOReturn, as a signed or an unsigned number.
    [[nodiscard]] int32_t status() const {
        return static_cast<int32_t>(integer(INT32_MIN, UINT32_MAX));
    }

    void eachElement(const std::function<void(const SceneField&)>& read) const {
        require(value_.is_array(), "an array");
        for (std::size_t i = 0; i < value_.size(); ++i) {
            read(element(i));
        }
    }

    using Readers = std::map<std::string, std::function<void(const SceneField&)>>;
    /// Reads an object's members; one without a reader is an error.
    void eachMember(const Readers& readers) const {
        require(value_.is_object(), "an object");
        for (const auto& [key, value] : value_.items()) {
            const auto reader = readers.find(key);
            if (reader == readers.end()) {
                member(key).reject("unknown key");
            }
            reader->second(member(key));
        }
    }

    void require(bool condition, const char* expected) const {
        if (!condition) {
            reject(std::string("must be ") + expected);
        }
    }

private:
    const nlohmann::json& value_;
    std::string source_;
    std::string place_;
};

} // namespace simulated_mac
