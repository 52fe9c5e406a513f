#include "MacProbe/RegistryValues.h"

#include <algorithm>
#include <cmath>
#include <set>

namespace macprobe {

namespace {

bool hasType(CFTypeRef object, CFTypeID type) {
    return CFGetTypeID(object) == type;
}

// The one property whose members have no names of their own.
constexpr const char* namesByLanguage = "DisplayProductName";

const std::set<std::string>& toldNames() {
    [[clang::no_destroy]] static const std::set<std::string> told = [] {
        std::set<std::string> all;
        for (const CFStringRef name : toldProperties()) {
            all.insert(utf8(name).value_or(""));
        }
        all.insert({"ProductAttributes", "ManufacturerID", "LegacyManufacturerID", "ProductID",
                    "ProductName", "YearOfManufacture", "PortID", "Upstream", "Downstream",
                    "IOI2CInterfaceID", "IOI2CTransactionTypes", "IOI2CBusType"});
        return all;
    }();
    return told;
}

Json numberValue(CFNumberRef number) {
    std::int64_t whole = 0;
    double real = 0;
    if (CFNumberGetValue(number, kCFNumberSInt64Type, &whole) != 0 ||
        CFNumberGetValue(number, kCFNumberFloat64Type, &real) == 0 || !std::isfinite(real)) {
        return whole;
    }
    return real;
}

Json dataValue(CFDataRef data) {
    constexpr const char* digits = "0123456789abcdef";
    std::vector<UInt8> bytes(static_cast<std::size_t>(CFDataGetLength(data)));
    CFDataGetBytes(data, CFRangeMake(0, static_cast<CFIndex>(bytes.size())), bytes.data());
    std::string hex;
    for (const UInt8 byte : bytes) {
        hex += digits[byte >> 4U];
        hex += digits[byte & 0xFU];
    }
    return Json::Object{{"data", hex}};
}

Json arrayValue(const std::string& name, CFArrayRef array) {
    Json::Array elements;
    for (CFIndex i = 0; i < CFArrayGetCount(array); ++i) {
        if (auto element = registryValue(name, CFArrayGetValueAtIndex(array, i))) {
            elements.push_back(std::move(*element));
        }
    }
    return elements;
}

/// A dictionary's members by name: their own order is none.
Json dictionaryValue(const std::string& dictionaryName, CFDictionaryRef dictionary) {
    const auto count = static_cast<std::size_t>(CFDictionaryGetCount(dictionary));
    std::vector<const void*> keys(count);
    std::vector<const void*> values(count);
    CFDictionaryGetKeysAndValues(dictionary, keys.data(), values.data());
    Json::Object members;
    for (std::size_t i = 0; i < count; ++i) {
        const auto name = hasType(keys[i], CFStringGetTypeID())
                              ? utf8(static_cast<CFStringRef>(keys[i]))
                              : std::nullopt;
        if (!name || (dictionaryName != namesByLanguage && !isTold(*name))) {
            continue;
        }
        if (auto value = registryValue(*name, values[i])) {
            members.emplace_back(*name, std::move(*value));
        }
    }
    std::ranges::sort(members, {}, &Json::Object::value_type::first);
    return members;
}

} // namespace

const std::vector<CFStringRef>& toldProperties() {
    [[clang::no_destroy]] static const std::vector<CFStringRef> properties = {
        CFSTR("DisplayID"),          CFSTR("DisplayVendorID"),
        CFSTR("DisplayProductID"),   CFSTR("DisplayProductName"),
        CFSTR("DisplayAttributes"),  CFSTR("IOClass"),
        CFSTR("IOProviderClass"),    CFSTR("IODisplayConnectFlags"),
        CFSTR("IOFBDependentIndex"), CFSTR("IOFBI2CInterfaceInfo"),
        CFSTR("IOI2CInterfaceID"),   CFSTR("IOI2CTransactionTypes"),
        CFSTR("IOI2CBusType"),       CFSTR("IONameMatched"),
        CFSTR("Transport"),          CFSTR("external"),
    };
    return properties;
}

bool isTold(const std::string& property) {
    return toldNames().contains(property);
}

std::optional<std::string> utf8(CFStringRef text) {
    const CFRange all = CFRangeMake(0, CFStringGetLength(text));
    CFIndex size = 0;
    if (CFStringGetBytes(text, all, kCFStringEncodingUTF8, 0, 0, nullptr, 0, &size) != all.length) {
        return std::nullopt;
    }
    std::string bytes(static_cast<std::size_t>(size), '\0');
    CFStringGetBytes(text, all, kCFStringEncodingUTF8, 0, 0, reinterpret_cast<UInt8*>(bytes.data()),
                     size, &size);
    return bytes;
}

std::optional<Json> registryValue(const std::string& name, CFTypeRef property) {
    if (hasType(property, CFStringGetTypeID())) {
        const auto text = utf8(static_cast<CFStringRef>(property));
        return text ? std::optional<Json>(*text) : std::nullopt;
    }
    if (hasType(property, CFBooleanGetTypeID())) {
        return Json(CFBooleanGetValue(static_cast<CFBooleanRef>(property)) != 0);
    }
    if (hasType(property, CFNumberGetTypeID())) {
        return numberValue(static_cast<CFNumberRef>(property));
    }
    if (hasType(property, CFDataGetTypeID())) {
        return dataValue(static_cast<CFDataRef>(property));
    }
    if (hasType(property, CFArrayGetTypeID())) {
        return arrayValue(name, static_cast<CFArrayRef>(property));
    }
    if (hasType(property, CFDictionaryGetTypeID())) {
        return dictionaryValue(name, static_cast<CFDictionaryRef>(property));
    }
    return std::nullopt;
}

} // namespace macprobe
