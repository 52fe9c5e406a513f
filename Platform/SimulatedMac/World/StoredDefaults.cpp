#include "SimulatedMac/World/StoredDefaults.h"

namespace simulated_mac {
namespace {

using nlohmann::json;

void checkPropertyList(const Field& field) {
    const json& value = field.value();
    if (value.is_object()) {
        field.eachKey([](const std::string&, const Field& member) { checkPropertyList(member); });
    } else if (value.is_array()) {
        field.eachElement(checkPropertyList);
    } else if (value.is_number_integer()) {
        (void)field.integer(INT64_MIN, INT64_MAX);
    } else {
        field.require(!value.is_null(), "a number, a text, true, false, an array or an object");
    }
}

} // namespace

void checkDefaults(const Field& defaults) {
    defaults.require(defaults.value().is_object(), "an object");
    checkPropertyList(defaults);
}

json readDefaults(const StateStore& store) {
    json stored = store.read(StateStore::defaultsFile);
    if (stored.is_null()) {
        return json::object();
    }
    checkDefaults(Field(stored, store.place(StateStore::defaultsFile)));
    return stored;
}

} // namespace simulated_mac
