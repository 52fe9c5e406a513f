#include "SimulatedMac/World/Field.h"

#include "SimulatedMac/World/InputError.h"
#include "SimulatedMac/World/Message.h"

#include <cmath>
#include <limits>

namespace simulated_mac {
namespace {

using nlohmann::json;

// A whole number with more digits than an integer has arrives as a floating-point one.
bool isTooLarge(const json& value) {
    return (value.is_number_unsigned() && value.get<uint64_t>() > INT64_MAX) ||
           (value.is_number_float() && std::abs(value.get<double>()) >= 0x1p63);
}

} // namespace

std::string Field::place() const {
    return source_ + (place_.empty() ? "" : ": " + place_);
}

void Field::reject(const std::string& problem) const {
    throw InputError(place() + ": " + problem);
}

void Field::require(bool condition, const char* expected) const {
    if (!condition) {
        reject(std::string("must be ") + expected);
    }
}

Field Field::member(const std::string& key) const {
    return {value_.at(key), source_, (place_.empty() ? "" : place_ + ".") + shown(key)};
}

Field Field::at(const std::string& key) const {
    require(value_.is_object(), "an object");
    if (!value_.contains(key)) {
        reject(key + " is missing");
    }
    return member(key);
}

Field Field::element(std::size_t index) const {
    return {value_.at(index), source_, place_ + "[" + std::to_string(index) + "]"};
}

bool Field::boolean() const {
    require(value_.is_boolean(), "true or false");
    return value_.get<bool>();
}

std::string Field::text() const {
    require(value_.is_string(), "a text");
    return value_.get<std::string>();
}

int64_t Field::integer(int64_t least, int64_t most) const {
    const bool tooLarge = isTooLarge(value_);
    require(value_.is_number_integer() || tooLarge, "a whole number");
    if (tooLarge || value_.get<int64_t>() < least || value_.get<int64_t>() > most) {
        reject("not within " + std::to_string(least) + " and " + std::to_string(most));
    }
    return value_.get<int64_t>();
}

float Field::real() const {
    require(value_.is_number(), "a number");
    if (std::abs(value_.get<double>()) > std::numeric_limits<float>::max()) {
        reject("number out of range");
    }
    return value_.get<float>();
}

void Field::eachElement(const std::function<void(const Field&)>& read) const {
    require(value_.is_array(), "an array");
    for (std::size_t i = 0; i < value_.size(); ++i) {
        read(element(i));
    }
}

void Field::eachKey(
    const std::function<void(const std::string& key, const Field& member)>& read) const {
    require(value_.is_object(), "an object");
    for (const auto& [key, value] : value_.items()) {
        read(key, member(key));
    }
}

void Field::eachMember(const Readers& readers) const {
    eachKey([&readers](const std::string& key, const Field& member) {
        const auto reader = readers.find(key);
        if (reader == readers.end()) {
            member.reject("unknown key");
        }
        reader->second(member);
    });
}

} // namespace simulated_mac
