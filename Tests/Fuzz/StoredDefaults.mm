// Whatever is stored under the key of the disconnected displays: JSON with data, `{ "data": "0aff"
// }`, and dates, `{ "date": 0 }`, can say all that a property list can hold.

#include "Fuzz/FuzzInput.h"
#include "SimulatedMac/World/Mac.h"
#include "Veilpane/Power/StoredDisplays.h"
#include "Veilpane/Support/UTF8Text.h"

#import <Foundation/Foundation.h>

#include <algorithm>
#include <cmath>

namespace {

using namespace veilpane;
using nlohmann::json;
using Displays = std::set<CGDirectDisplayID>;

id objectFrom(const json& value);

NSNumber* numberFrom(const json& value) {
    if (value.is_boolean()) {
        return [NSNumber numberWithBool:value.get<bool>()];
    }
    if (value.is_number_float()) {
        return [NSNumber numberWithDouble:value.get<double>()];
    }
    return value.is_number_unsigned()
               ? [NSNumber numberWithUnsignedLongLong:value.get<unsigned long long>()]
               : [NSNumber numberWithLongLong:value.get<long long>()];
}

NSArray* arrayFrom(const json& value) {
    NSMutableArray* const array = [NSMutableArray array];
    for (const json& element : value) {
        [array addObject:objectFrom(element)];
    }
    return array;
}

bool isDate(const json& value) {
    return value.is_object() && value.size() == 1 && value.contains("date") &&
           value["date"].is_number();
}

id objectWith(const json& members) {
    if (const auto bytes = fuzz::bytesIn(members)) {
        return [NSData dataWithBytes:bytes->data() length:bytes->size()];
    }
    if (isDate(members)) {
        return [NSDate dateWithTimeIntervalSince1970:members["date"].get<double>()];
    }
    NSMutableDictionary* const dictionary = [NSMutableDictionary dictionary];
    for (const auto& [key, member] : members.items()) {
        [dictionary setObject:objectFrom(member) forKey:nsString(key)];
    }
    return dictionary;
}

// What no property list holds becomes a text.
id objectFrom(const json& value) {
    if (value.is_number() || value.is_boolean()) {
        return numberFrom(value);
    }
    if (value.is_array()) {
        return arrayFrom(value);
    }
    return value.is_object() ? objectWith(value)
                             : nsString(value.is_string() ? value.get<std::string>() : "");
}

bool isDisplayID(const json& value) {
    if (!value.is_number()) {
        return value.is_boolean();
    }
    const auto number = value.get<double>();
    return number >= 0 && number <= UINT32_MAX && std::floor(number) == number;
}

Displays displaysIn(const json& stored) {
    Displays displays;
    if (!stored.is_array() || !std::ranges::all_of(stored, isDisplayID)) {
        return displays;
    }
    for (const json& element : stored) {
        displays.insert(element.is_boolean() ? element.get<bool>() : element.get<std::uint32_t>());
    }
    return displays;
}

// What the command line says under a key comes before what is stored, and may be any object.
void replaceArguments(NSDictionary* arguments) {
    NSUserDefaults* const defaults = [NSUserDefaults standardUserDefaults];
    [defaults removeVolatileDomainForName:NSArgumentDomain];
    [defaults setVolatileDomain:arguments forName:NSArgumentDomain];
}

Displays readAs(const json& stored) {
    replaceArguments([NSDictionary dictionaryWithObject:objectFrom(stored)
                                                 forKey:@"Veilpane.disconnectedDisplayIDs"]);
    const Displays displays = readStoredDisplays();
    replaceArguments([NSDictionary dictionary]);
    return displays;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const auto stored = fuzz::jsonIn(fuzz::textOf(data, size));
    if (!stored) {
        return -1;
    }
    static auto& mac = simulated_mac::Mac::boot(simulated_mac::Scene::desk());
    @autoreleasepool {
        const Displays displays = readAs(*stored);
        fuzz::require(displays == displaysIn(*stored), "the displays are those that are stored");
        storeDisplays(displays);
        fuzz::require(readStoredDisplays() == displays, "what is stored is read again");
    }
    mac.clearCalls();
    return 0;
}
