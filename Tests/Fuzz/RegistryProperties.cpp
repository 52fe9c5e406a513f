// Whatever a driver publishes as a property: JSON as a scene's registry has it, which must read as
// a number and as a product name.

#include "Registry/RegistryProperties.h"

#include "Fuzz/FuzzInput.h"
#include "Registry/RegistryEntries.h"
#include "SimulatedMac/World/Ledger.h"
#include "SimulatedMac/World/Mac.h"
#include "Veilpane/Inventory/RegistryNames.h"

#include <algorithm>
#include <cstring>

namespace {

using namespace veilpane;
using nlohmann::json;
using simulated_mac::Mac;
using Word = std::optional<std::uint32_t>;
using Name = std::optional<std::string>;

/// Throws InputError for what no property can be.
void bootWith(const json& property) {
    const json node = {
        {"class", "IODisplay"},
        {"properties",
         {{"DisplayVendorID", 25001}, {"DisplayProductID", 7}, {"DisplayProductName", property}}}};
    const json display = {{"id", 2}, {"vendor", 25001}, {"model", 7}};
    Mac::boot(json{{"displays", {display}}, {"registry", {node}}}.dump());
}

Word firstWordOf(const std::string& bytes) {
    std::uint32_t word = 0;
    if (bytes.size() < sizeof word) {
        return std::nullopt;
    }
    std::memcpy(&word, bytes.data(), sizeof word);
    return word;
}

Word wordIn(const json& property) {
    if (property.is_boolean()) {
        return property.get<bool>() ? 1 : 0;
    }
    if (property.is_number_integer()) {
        return static_cast<std::uint32_t>(property.get<std::int64_t>());
    }
    const auto bytes = fuzz::bytesIn(property);
    return bytes ? firstWordOf(*bytes) : std::nullopt;
}

bool isNonEmptyText(const json& value) {
    return value.is_string() && value != "";
}

bool isNameTable(const json& property) {
    return property.is_object() && !fuzz::bytesIn(property) &&
           std::ranges::all_of(property, &json::is_string) &&
           std::ranges::any_of(property, isNonEmptyText);
}

/// The name that the table must give, where a preferred language has one.
Name preferredNameIn(const json& table) {
    for (const char* const language : {"zh_CN", "zh-Hans", "en_US", "en", ""}) {
        if (table.contains(language) && table[language] != "") {
            return table[language].get<std::string>();
        }
    }
    return std::nullopt;
}

bool isNameIn(const json& property, const Name& name) {
    if (isNonEmptyText(property)) {
        return name == property.get<std::string>();
    }
    if (!isNameTable(property)) {
        return !name;
    }
    const auto preferred = preferredNameIn(property);
    const auto isName = [&](const json& text) { return text == *name; };
    return preferred ? name == preferred : name && std::ranges::any_of(property, isName);
}

void readProperty(const json& property) {
    const IORef entry = nextEntry(matchingServices("IODisplay"));
    const Word word = registryUInt32(entry.get(), CFSTR("DisplayProductName"));
    // A fraction is cut somehow.
    fuzz::require(property.is_number_float() ? word.has_value() : word == wordIn(property),
                  "the word is the property's");
    const Name name = registryProductName(entry.get());
    fuzz::require(isNameIn(property, name), "the name is one of the property's");
    fuzz::require(iokitDisplayName(2) == name, "the display has its monitor's name");
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const auto property = fuzz::jsonIn(fuzz::textOf(data, size));
    if (!property) {
        return -1;
    }
    try {
        bootWith(*property);
    } catch (const simulated_mac::InputError&) {
        return -1;
    }
    readProperty(*property);
    fuzz::require(simulated_mac::ledger::outstanding().empty(), "everything is given back");
    return 0;
}
