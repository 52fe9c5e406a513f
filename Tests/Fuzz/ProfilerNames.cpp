// Whatever the system profiler prints: names are texts, and those of a good report are the right
// ones.

#include "Veilpane/Inventory/ProfilerNames.h"

#include "Fuzz/FuzzInput.h"
#include "Veilpane/Support/DecimalNumber.h"

#include <algorithm>

namespace {

using namespace veilpane;
using nlohmann::json;

bool isArrayOfObjects(const json& parent, const char* key) {
    return parent.is_object() && parent.contains(key) && parent[key].is_array() &&
           std::ranges::all_of(parent[key], &json::is_object);
}

void addName(const json& display, ProfilerNames& names) {
    const json name = display.value("_name", json());
    const json id = display.value("_spdisplays_displayID", json());
    if (!name.is_string() || !id.is_string()) {
        return;
    }
    if (const auto displayID = parseDecimalUInt32(id.get<std::string>())) {
        names[*displayID] = name.get<std::string>();
    }
}

ProfilerNames namesIn(const json& report) {
    ProfilerNames names;
    if (!isArrayOfObjects(report, "SPDisplaysDataType")) {
        return names;
    }
    for (const json& device : report["SPDisplaysDataType"]) {
        if (isArrayOfObjects(device, "spdisplays_ndrvs")) {
            std::ranges::for_each(device["spdisplays_ndrvs"],
                                  [&](const json& display) { addName(display, names); });
        }
    }
    return names;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string output = fuzz::textOf(data, size);
    const ProfilerNames names = parseProfilerNames(output);
    for (const auto& [id, name] : names) {
        fuzz::require(fuzz::isUTF8(name), "a name is UTF-8");
    }
    if (const auto report = fuzz::jsonIn(output)) {
        fuzz::require(names == namesIn(*report), "the names are the report's");
    }
    return 0;
}
