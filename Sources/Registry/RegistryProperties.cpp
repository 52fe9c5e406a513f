#include "Registry/RegistryProperties.h"

namespace veilpane {

namespace {

bool isBoolean(CFTypeRef object) {
    return CFGetTypeID(object) == CFBooleanGetTypeID();
}

} // namespace

CFRef<CFTypeRef> copyRegistryProperty(io_registry_entry_t entry, CFStringRef key) {
    return CFRef<CFTypeRef>::adopt(
        IORegistryEntryCreateCFProperty(entry, key, kCFAllocatorDefault, 0));
}

bool isNumber(CFTypeRef object) {
    return CFGetTypeID(object) == CFNumberGetTypeID();
}

std::uint32_t signedWord(CFTypeRef number) {
    SInt32 value = 0;
    // Display IDs with the top bit set are reported as a loss, so the report is not looked at.
    CFNumberGetValue(static_cast<CFNumberRef>(number), kCFNumberSInt32Type, &value);
    return static_cast<std::uint32_t>(value);
}

std::uint32_t truncatedWord(CFTypeRef number) {
    std::int64_t value = 0;
    CFNumberGetValue(static_cast<CFNumberRef>(number), kCFNumberSInt64Type, &value);
    return static_cast<std::uint32_t>(value);
}

std::optional<std::uint32_t> firstWordOfData(CFTypeRef object) {
    if (CFGetTypeID(object) != CFDataGetTypeID()) {
        return std::nullopt;
    }
    const auto data = static_cast<CFDataRef>(object);
    std::uint32_t value = 0;
    if (CFDataGetLength(data) < static_cast<CFIndex>(sizeof value)) {
        return std::nullopt;
    }
    CFDataGetBytes(data, CFRangeMake(0, sizeof value), reinterpret_cast<UInt8*>(&value));
    return value;
}

std::optional<std::uint32_t> registryUInt32(io_registry_entry_t entry, CFStringRef key) {
    const auto property = copyRegistryProperty(entry, key);
    if (!property) {
        return std::nullopt;
    }
    const CFTypeRef object = property.get();
    if (isNumber(object)) {
        return truncatedWord(object);
    }
    if (isBoolean(object)) {
        return CFBooleanGetValue(static_cast<CFBooleanRef>(object)) != 0 ? 1 : 0;
    }
    return firstWordOfData(object);
}

} // namespace veilpane
