#include "SimulatedMac/Tests/MatchingServices.h"
#include "SimulatedMac/Tests/TransferToMonitor.h"
#include "SimulatedMac/World/Ledger.h"
#include "SimulatedMac/World/Mac.h"

#include <CoreFoundation/CoreFoundation.h>
#include <CoreGraphics/CoreGraphics.h>
#include <IOKit/IOKitLib.h>

#include <functional>
#include <gtest/gtest.h>
#include <string>
#include <vector>

// Deprecated, so the program looks it up at run time.
extern "C" io_service_t CGDisplayIOServicePort(CGDirectDisplayID display);

namespace simulated_mac {
namespace {

using nlohmann::json;

json readBack(CFTypeRef object);

json readBackNumber(CFNumberRef number) {
    int64_t whole = 0;
    double value = 0;
    return CFNumberGetValue(number, kCFNumberSInt64Type, &whole)
               ? json(whole)
               : (CFNumberGetValue(number, kCFNumberFloat64Type, &value), json(value));
}

json readBackData(CFDataRef data) {
    std::vector<UInt8> bytes(static_cast<std::size_t>(CFDataGetLength(data)));
    CFDataGetBytes(data, CFRangeMake(0, CFDataGetLength(data)), bytes.data());
    return {{"bytes", bytes}};
}

json readBackArray(CFArrayRef array) {
    json elements = json::array();
    for (CFIndex i = 0; i < CFArrayGetCount(array); ++i) {
        elements.push_back(readBack(CFArrayGetValueAtIndex(array, i)));
    }
    return elements;
}

json readBackDictionary(CFDictionaryRef dictionary) {
    const auto count = static_cast<std::size_t>(CFDictionaryGetCount(dictionary));
    std::vector<const void*> keys(count), values(count);
    CFDictionaryGetKeysAndValues(dictionary, keys.data(), values.data());
    json members = json::object();
    for (std::size_t i = 0; i < count; ++i) {
        members[readBack(keys[i]).get<std::string>()] = readBack(values[i]);
    }
    return members;
}

/// What the objects of a property say, as JSON; data as {"bytes": […]}.
json readBack(CFTypeRef object) {
    const CFTypeID type = CFGetTypeID(object);
    if (type == CFStringGetTypeID()) {
        char text[512] = {};
        CFStringGetCString(static_cast<CFStringRef>(object), text, sizeof text,
                           kCFStringEncodingUTF8);
        return text;
    }
    if (type == CFBooleanGetTypeID()) {
        return CFBooleanGetValue(static_cast<CFBooleanRef>(object)) != 0;
    }
    if (type == CFNumberGetTypeID()) {
        return readBackNumber(static_cast<CFNumberRef>(object));
    }
    if (type == CFDataGetTypeID()) {
        return readBackData(static_cast<CFDataRef>(object));
    }
    return type == CFArrayGetTypeID() ? readBackArray(static_cast<CFArrayRef>(object))
                                      : readBackDictionary(static_cast<CFDictionaryRef>(object));
}

json property(io_registry_entry_t entry, CFStringRef key) {
    CFTypeRef const object = IORegistryEntryCreateCFProperty(entry, key, nullptr, 0);
    if (object == nullptr) {
        return nullptr;
    }
    json value = readBack(object);
    CFRelease(object);
    return value;
}

void forEachService(const char* className, const std::function<void(io_service_t)>& look) {
    MatchingServices all(className);
    while (io_service_t const service = all.next()) {
        look(service);
        IOObjectRelease(service);
    }
}

std::vector<json> propertiesOf(const char* className, CFStringRef key) {
    std::vector<json> all;
    forEachService(className, [&](io_service_t service) { all.push_back(property(service, key)); });
    return all;
}

TEST(RegistryProperties, may_be_any_json) {
    Mac::boot(R"({ "registry": [ { "class": "X", "properties": { "P": {
        "array": [ 1, "text", [ true, 2.5 ], {} ], "empty": [],
        "nested": { "data": { "data": "0AFF" }, "-1": 18446744073709551615 } } } } ] })");
    EXPECT_EQ(propertiesOf("X", CFSTR("P")).at(0), json::parse(R"({
        "array": [ 1, "text", [ true, 2.5 ], {} ], "empty": [],
        "nested": { "data": { "bytes": [ 10, 255 ] }, "-1": -1 } })"));
    EXPECT_EQ(ledger::outstanding(), "");
}

constexpr const char* displays = R"("displays": [
    { "id": 1, "vendor": 1552, "model": 41002, "builtin": true, "main": true },
    { "id": 2, "vendor": 4268, "model": 53496, "registryName": "Studio", "ddc": { "brightness": 40 } } ])";

Mac& bootHardware(const std::string& hardware) {
    return Mac::boot(R"({ "hardware": ")" + hardware + R"(", )" + displays + " }");
}

TEST(IntelHardware, has_a_framebuffer_with_one_i2c_nub_for_each_connector_the_empty_one_too) {
    bootHardware("intel");
    EXPECT_EQ(serviceCount("IOFramebuffer"), 3);
    EXPECT_EQ(serviceCount("IOFramebufferI2CInterface"), 3);
    EXPECT_EQ(serviceCount("IODisplayConnect"), 2);
    EXPECT_EQ(serviceCount("AppleBacklightDisplay"), 1);
    EXPECT_EQ(serviceCount("AppleDisplay"), 1);
    EXPECT_EQ(serviceCount("IOMobileFramebuffer"), 0);
    forEachService("IOFramebuffer", [](io_service_t framebuffer) {
        IOItemCount count = 0;
        EXPECT_EQ(IOFBGetI2CInterfaceCount(framebuffer, &count), 0);
        EXPECT_EQ(count, 1u);
    });
    EXPECT_EQ(ledger::outstanding(), "");
}

TEST(IntelHardware, tells_vendor_and_product_below_the_display_connect_and_no_id_or_name) {
    bootHardware("intel");
    EXPECT_EQ(propertiesOf("AppleBacklightDisplay", CFSTR("DisplayVendorID")),
              std::vector<json>{1552});
    EXPECT_EQ(propertiesOf("AppleDisplay", CFSTR("DisplayProductID")), std::vector<json>{53496});
    const json block = propertiesOf("AppleDisplay", CFSTR("IODisplayEDID")).at(0)["bytes"];
    ASSERT_EQ(block.size(), 128u);
    int sum = 0;
    for (const int byte : block) {
        sum += byte;
    }
    EXPECT_EQ(sum % 256, 0);
    EXPECT_EQ(block[8], 0x10);
    EXPECT_EQ(block[9], 0xAC);
    EXPECT_EQ(
        propertiesOf("AppleDisplay", CFSTR("IODisplayPrefsKey")).at(0),
        "IOService:/AppleACPIPlatformExpert/PCI0@0/AppleACPIPCI/IGPU@2/AppleIntelFramebuffer@1/"
        "display0/AppleDisplay-10ac-d0f8");
    forEachService("IOService", [](io_service_t service) {
        EXPECT_EQ(property(service, CFSTR("DisplayID")), nullptr);
        EXPECT_EQ(property(service, CFSTR("DisplayProductName")), nullptr);
    });
    EXPECT_EQ(propertiesOf("IODisplayConnect", CFSTR("DisplayVendorID")),
              (std::vector<json>{nullptr, nullptr}));
}

TEST(IntelHardware, leads_to_the_monitor_behind_a_framebuffer_or_nowhere) {
    Mac& mac = bootHardware("intel");
    constexpr uint8_t brightness = 0x10;
    EXPECT_EQ(setFeature(brightness, 9, {}, 0), (Transfer{0, kIOReturnNoDevice})) << "built-in";
    EXPECT_EQ(setFeature(brightness, 8, {}, 2), (Transfer{0, kIOReturnNoDevice})) << "empty";
    EXPECT_EQ(mac.display(2).brightness, 40);
    EXPECT_EQ(setFeature(brightness, 7, {}, 1), Transfer());
    EXPECT_EQ(mac.display(2).brightness, 7);
}

TEST(IntelHardware, coregraphics_knows_the_framebuffer_of_a_display) {
    bootHardware("intel");
    EXPECT_NE(CGDisplayIOServicePort(1), IO_OBJECT_NULL);
    EXPECT_NE(CGDisplayIOServicePort(2), CGDisplayIOServicePort(1));
    EXPECT_TRUE(IOObjectConformsTo(CGDisplayIOServicePort(2), "IOFramebuffer"));
    EXPECT_EQ(CGDisplayIOServicePort(9), IO_OBJECT_NULL);
    Mac::boot(R"({ "hardware": "intel", "displays": [ { "id": 1, "servicePort": false } ] })");
    EXPECT_EQ(CGDisplayIOServicePort(1), IO_OBJECT_NULL);
}

TEST(IntelHardware, the_reference_of_coregraphics_is_not_the_programs_but_one_more_is) {
    bootHardware("intel");
    io_service_t const port = CGDisplayIOServicePort(2);
    EXPECT_EQ(ledger::outstanding(), "");
    IOObjectRetain(port);
    EXPECT_EQ(ledger::outstanding(), "AppleIntelFramebuffer entry: 1\n");
    IOObjectRelease(port);
    EXPECT_EQ(ledger::outstanding(), "");
}

TEST(AppleSiliconHardware, has_a_pipe_for_each_display_and_nothing_of_intels) {
    bootHardware("apple-silicon");
    for (const char* const className :
         {"IOFramebuffer", "IODisplayConnect", "IODisplay", "IOI2CInterface"}) {
        EXPECT_EQ(serviceCount(className), 0) << className;
    }
    EXPECT_EQ(serviceCount("AppleCLCD2"), 3);
    EXPECT_EQ(serviceCount("IOMobileFramebuffer"), 3);
    EXPECT_EQ(propertiesOf("AppleCLCD2", CFSTR("IONameMatched")),
              (std::vector<json>{"disp0,t600x", "dispext0,t600x", "dispext1,t600x"}));
    EXPECT_EQ(CGDisplayIOServicePort(1), IO_OBJECT_NULL);
    EXPECT_EQ(ledger::outstanding(), "");
}

TEST(AppleSiliconHardware, tells_a_display_by_nested_attributes_of_its_pipe) {
    bootHardware("apple-silicon");
    const auto attributes = propertiesOf("AppleCLCD2", CFSTR("DisplayAttributes"));
    EXPECT_EQ(attributes[0]["ProductAttributes"],
              json::parse(R"({ "ManufacturerID": "00-10-fa", "LegacyManufacturerID": 1552,
                               "ProductID": 41002 })"));
    EXPECT_EQ(attributes[1]["ProductAttributes"]["ManufacturerID"], "DEL");
    EXPECT_EQ(attributes[1]["ProductAttributes"]["ProductName"], "Studio");
    EXPECT_EQ(attributes[2], nullptr) << "nothing is plugged in";
    EXPECT_EQ(propertiesOf("AppleCLCD2", CFSTR("EDID UUID")),
              (std::vector<json>{nullptr, "10ACF8D0-0000-0000-2B1F-0104A5351E78", nullptr}));
    EXPECT_EQ(propertiesOf("AppleCLCD2", CFSTR("external")),
              (std::vector<json>{nullptr, true, nullptr}));
}

TEST(AppleSiliconHardware, a_built_in_panel_may_tell_nothing_of_itself) {
    Mac::boot(R"({ "hardware": "apple-silicon", "displays": [ { "id": 1, "builtin": true } ] })");
    EXPECT_EQ(propertiesOf("AppleCLCD2", CFSTR("DisplayAttributes")).at(0),
              json::parse(R"({ "ProductAttributes": {} })"));
}

TEST(Hardware, a_registry_that_the_scene_gives_comes_first) {
    Mac::boot(R"({ "hardware": "intel", "registry": [ { "class": "X" } ], )" +
              std::string(displays) + " }");
    EXPECT_EQ(serviceCount("IOService"), 1);
}

} // namespace
} // namespace simulated_mac
