#include "SimulatedMac/World/StoredState.h"

#include "SimulatedMac/World/Field.h"

namespace simulated_mac {
namespace {

using nlohmann::json;

void checkVersion(const Field& version) {
    const json& value = version.value();
    if (value.is_number_unsigned() && value.get<uint64_t>() > stateVersion) {
        version.reject("written by a newer simulated Mac");
    }
    version.require(value.is_number_integer() && value == stateVersion,
                    std::to_string(stateVersion).c_str());
}

} // namespace

json readState(const StateStore& store) {
    json stored = store.read(StateStore::stateFile);
    if (stored.is_null()) {
        return stored;
    }
    const Field state(stored, store.place(StateStore::stateFile));
    checkVersion(state.at("version"));
    (void)state.at("scene").text();
    state.at("displays").require(state.at("displays").value().is_object(), "an object");
    return stored;
}

} // namespace simulated_mac
