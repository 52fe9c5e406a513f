#include "Veilpane/Inventory/RegistryNames.h"

#include "Registry/RegistryEntries.h"
#include "Registry/RegistryProperties.h"

#include <algorithm>
#include <array>
#include <vector>

namespace veilpane {

namespace {

constexpr std::array displayClasses = {"IODisplayConnect", "IODisplay", "AppleCLCD2"};

bool hasType(CFTypeRef object, CFTypeID type) {
    return CFGetTypeID(object) == type;
}

// A name goes through as it stands, a zero character inside it included. Absent also for what UTF-8
// cannot express.
std::optional<std::string> nonEmptyText(CFStringRef string) {
    const CFRange all = CFRangeMake(0, CFStringGetLength(string));
    CFIndex size = 0;
    if (CFStringGetBytes(string, all, kCFStringEncodingUTF8, 0, 0, nullptr, 0, &size) !=
            all.length ||
        size == 0) {
        return std::nullopt;
    }
    std::string text(static_cast<std::size_t>(size), '\0');
    CFStringGetBytes(string, all, kCFStringEncodingUTF8, 0, 0,
                     reinterpret_cast<UInt8*>(text.data()), size, &size);
    return text;
}

struct NameTable {
    std::vector<const void*> languages;
    std::vector<const void*> names;
};

NameTable entriesOf(CFDictionaryRef dictionary) {
    const auto count = static_cast<std::size_t>(CFDictionaryGetCount(dictionary));
    NameTable table{std::vector<const void*>(count), std::vector<const void*>(count)};
    CFDictionaryGetKeysAndValues(dictionary, table.languages.data(), table.names.data());
    return table;
}

bool areTexts(const std::vector<const void*>& objects) {
    return std::ranges::all_of(
        objects, [](const void* object) { return hasType(object, CFStringGetTypeID()); });
}

std::optional<std::string> nameInPreferredLanguage(CFDictionaryRef dictionary) {
    const std::array languages = {CFSTR("zh_CN"), CFSTR("zh-Hans"), CFSTR("en_US"), CFSTR("en"),
                                  CFSTR("")};
    for (const CFStringRef language : languages) {
        const void* const name = CFDictionaryGetValue(dictionary, language);
        if (name == nullptr) {
            continue;
        }
        if (auto text = nonEmptyText(static_cast<CFStringRef>(name))) {
            return text;
        }
    }
    return std::nullopt;
}

std::optional<std::string> nameInAnyLanguage(const NameTable& table) {
    for (const void* const name : table.names) {
        if (auto text = nonEmptyText(static_cast<CFStringRef>(name))) {
            return text;
        }
    }
    return std::nullopt;
}

std::optional<std::string> localizedName(CFDictionaryRef dictionary) {
    const NameTable table = entriesOf(dictionary);
    if (!areTexts(table.languages) || !areTexts(table.names)) {
        return std::nullopt;
    }
    auto name = nameInPreferredLanguage(dictionary);
    return name ? name : nameInAnyLanguage(table);
}

struct MonitorKind {
    std::uint32_t vendor;
    std::uint32_t model;
};

std::optional<std::string> nameOfService(io_service_t service, const MonitorKind& kind) {
    const auto vendor = registryUInt32(service, CFSTR("DisplayVendorID"));
    if (!vendor) {
        return std::nullopt;
    }
    const auto product = registryUInt32(service, CFSTR("DisplayProductID"));
    if (!product || *vendor != kind.vendor || *product != kind.model) {
        return std::nullopt;
    }
    return registryProductName(service);
}

std::optional<std::string> nameAmongServices(const char* className, const MonitorKind& kind) {
    const IORef services = matchingServices(className);
    while (const IORef service = nextEntry(services)) {
        if (auto name = nameOfService(service.get(), kind)) {
            return name;
        }
    }
    return std::nullopt;
}

} // namespace

std::optional<std::string> iokitDisplayName(CGDirectDisplayID displayID) {
    const MonitorKind kind{CGDisplayVendorNumber(displayID), CGDisplayModelNumber(displayID)};
    for (const char* const className : displayClasses) {
        if (auto name = nameAmongServices(className, kind)) {
            return name;
        }
    }
    return std::nullopt;
}

std::optional<std::string> registryProductName(io_registry_entry_t entry) {
    const auto property = copyRegistryProperty(entry, CFSTR("DisplayProductName"));
    if (!property) {
        return std::nullopt;
    }
    const CFTypeRef object = property.get();
    if (hasType(object, CFDictionaryGetTypeID())) {
        return localizedName(static_cast<CFDictionaryRef>(object));
    }
    if (hasType(object, CFStringGetTypeID())) {
        return nonEmptyText(static_cast<CFStringRef>(object));
    }
    return std::nullopt;
}

} // namespace veilpane
