#include "SimulatedMac/World/Ledger.h"
#include "SimulatedMac/World/Mac.h"
#include "Support/Faults.h"

#include <CoreFoundation/CoreFoundation.h>
#include <CoreGraphics/CoreGraphics.h>
#include <IOKit/IOKitLib.h>

extern "C" {
#include <IOKit/i2c/IOI2CInterface.h>
}

#include <array>
#include <cstring>
#include <dlfcn.h>
#include <gtest/gtest.h>
#include <vector>

namespace simulated_mac {
namespace {

static_assert(sizeof(IOI2CRequest) == 124 && offsetof(IOI2CRequest, sendBuffer) == 68 &&
              offsetof(IOI2CRequest, minReplyDelay) == 20 && offsetof(IOI2CRequest, result) == 28);

CFNumberRef number(int64_t value) {
    return CFNumberCreate(nullptr, kCFNumberSInt64Type, &value);
}

CFStringRef string(const std::string& text) {
    return CFStringCreateWithBytes(nullptr, reinterpret_cast<const UInt8*>(text.data()),
                                   static_cast<CFIndex>(text.size()), kCFStringEncodingUTF8, 0);
}

std::string textOf(CFStringRef text) {
    char buffer[64] = {};
    EXPECT_TRUE(CFStringGetCString(text, buffer, sizeof buffer, kCFStringEncodingUTF8));
    return buffer;
}

TEST(CoreFoundation, a_lossy_number_conversion_reports_the_loss_and_writes_the_low_bits) {
    Mac::boot(Scene::desk());
    CFNumberRef const large = number(4026531840);
    SInt32 narrow = 0;
    EXPECT_FALSE(CFNumberGetValue(large, kCFNumberSInt32Type, &narrow));
    EXPECT_EQ(static_cast<uint32_t>(narrow), 4026531840u);
    int64_t wide = 0;
    EXPECT_TRUE(CFNumberGetValue(large, kCFNumberSInt64Type, &wide));
    EXPECT_EQ(wide, 4026531840);
    CFRelease(large);
    EXPECT_EQ(ledger::outstanding(), "");
}

TEST(CoreFoundation, literals_read_like_other_strings_and_need_no_release) {
    Mac::boot(Scene::desk());
    EXPECT_EQ(textOf(CFSTR("plain")), "plain");
    EXPECT_EQ(textOf(CFSTR("显示器 😀")), "显示器 😀");
    EXPECT_EQ(CFStringGetLength(CFSTR("显示器 😀")), 6);
    CFRetain(CFSTR("plain"));
    CFRelease(CFSTR("plain"));
    EXPECT_EQ(ledger::outstanding(), "");
}

TEST(CoreFoundation, a_buffer_without_room_for_the_end_is_too_small) {
    Mac::boot(Scene::desk());
    char buffer[5] = {};
    EXPECT_FALSE(CFStringGetCString(CFSTR("plain"), buffer, 5, kCFStringEncodingUTF8));
    EXPECT_TRUE(CFStringGetCString(CFSTR("four"), buffer, 5, kCFStringEncodingUTF8));
}

TEST(CoreFoundation, a_dictionary_owns_its_members) {
    Mac::boot(Scene::desk());
    const void* key = string("key");
    const void* value = string("value");
    CFDictionaryRef const dictionary = CFDictionaryCreate(
        nullptr, &key, &value, 1, &kCFTypeDictionaryKeyCallBacks, &kCFTypeDictionaryValueCallBacks);
    CFRelease(key);
    CFRelease(value);
    EXPECT_EQ(textOf(static_cast<CFStringRef>(CFDictionaryGetValue(dictionary, CFSTR("key")))),
              "value");
    EXPECT_EQ(CFDictionaryGetValue(dictionary, CFSTR("other")), nullptr);
    for (const LoggedCall& call : Mac::current().calls()) {
        EXPECT_TRUE(call.args.is_array()) << call.call;
    }
    CFRelease(dictionary);
    EXPECT_EQ(ledger::outstanding(), "");
}

TEST(CrashOfCoreFoundation, misuse_ends_the_process_with_one_line) {
    Mac::boot(Scene::desk());
    EXPECT_DEATH(CFRelease(nullptr), "crash: CFRelease: NULL");
    EXPECT_DEATH((void)CFGetTypeID(nullptr), "crash: CFGetTypeID: NULL");
    CFNumberRef const released = number(1);
    CFRelease(released);
    EXPECT_DEATH(CFRelease(released), "CFNumber is used after its last release");
    EXPECT_DEATH((void)CFGetTypeID(released), "CFNumber is used after its last release");
    EXPECT_DEATH((void)CFDataGetLength(reinterpret_cast<CFDataRef>(number(1))),
                 "object of another type");
    UInt8 buffer[4];
    const UInt8 bytes[2] = {1, 2};
    EXPECT_DEATH(CFDataGetBytes(CFDataCreate(nullptr, bytes, 2), CFRangeMake(0, 4), buffer),
                 "range beyond the data");
    CFIndex size = 0;
    const auto sizeOf = [&](CFRange range, UInt8 lossByte, bool hasByteOrderMark) {
        CFStringGetBytes(CFSTR("name"), range, kCFStringEncodingUTF8, lossByte, hasByteOrderMark,
                         nullptr, 0, &size);
    };
    EXPECT_DEATH(sizeOf(CFRangeMake(0, 2), 0, false), "CFStringGetBytes: not the whole text");
    EXPECT_DEATH(sizeOf(CFRangeMake(0, 4), '?', false), "CFStringGetBytes: not the text as it is");
    EXPECT_DEATH(sizeOf(CFRangeMake(0, 4), 0, true), "CFStringGetBytes: not the text as it is");
}

io_iterator_t servicesOfClass(const char* name) {
    io_iterator_t iterator = IO_OBJECT_NULL;
    EXPECT_EQ(IOServiceGetMatchingServices(kIOMainPortDefault, IOServiceMatching(name), &iterator),
              0);
    return iterator;
}

int countOf(const char* className) {
    io_iterator_t const iterator = servicesOfClass(className);
    int count = 0;
    while (io_object_t const service = IOIteratorNext(iterator)) {
        ++count;
        IOObjectRelease(service);
    }
    IOObjectRelease(iterator);
    return count;
}

TEST(Registry, matching_finds_a_class_and_its_subclasses_anywhere_in_the_tree) {
    Mac::boot(R"({ "registry": [ { "class": "AppleIntelFramebuffer", "children": [
        { "class": "IODisplayConnect", "children": [ { "class": "AppleDisplay" } ] },
        { "class": "IOFramebufferI2CInterface" } ] }, { "class": "AppleCLCD2" },
        { "class": "IOMobileFramebufferShim" } ] })");
    EXPECT_EQ(countOf("IOFramebuffer"), 1);
    EXPECT_EQ(countOf("IODisplay"), 1);
    EXPECT_EQ(countOf("IOI2CInterface"), 1);
    EXPECT_EQ(countOf("IOMobileFramebuffer"), 2);
    EXPECT_EQ(countOf("IOService"), 6);
    EXPECT_EQ(countOf("Nothing"), 0);
    EXPECT_EQ(ledger::outstanding(), "");
}

TEST(Registry, the_matching_dictionary_is_consumed_on_failure_too) {
    Mac& mac = Mac::boot(Scene::desk());
    mac.failCall(fails("IOServiceGetMatchingServices").with(-1));
    io_iterator_t iterator = IO_OBJECT_NULL;
    EXPECT_EQ(IOServiceGetMatchingServices(0, IOServiceMatching("IOService"), &iterator), -1);
    EXPECT_EQ(ledger::outstanding(), "");
    EXPECT_NE(IOServiceGetMatchingServices(0, nullptr, &iterator), 0);
}

TEST(Registry, what_is_not_released_is_outstanding_and_a_release_too_many_crashes) {
    Mac::boot(Scene::desk());
    io_iterator_t const iterator = servicesOfClass("IOFramebuffer");
    io_object_t const service = IOIteratorNext(iterator);
    EXPECT_EQ(ledger::outstanding(), "IOFramebuffer entry: 1\niterator over IOFramebuffer: 1\n");
    IOObjectRetain(service);
    IOObjectRelease(service);
    IOObjectRelease(service);
    IOObjectRelease(iterator);
    EXPECT_EQ(ledger::outstanding(), "");
    EXPECT_DEATH(IOObjectRelease(service), "used after its last release");
    EXPECT_DEATH((void)IOIteratorNext(iterator), "used after its last release");
    EXPECT_NE(IOObjectRelease(IO_OBJECT_NULL), 0);
}

TEST(DisplayConfigurations, nothing_changes_before_the_completion) {
    Mac& mac = Mac::boot(Scene::desk());
    CGDisplayConfigRef config = nullptr;
    ASSERT_EQ(CGBeginDisplayConfiguration(&config), 0);
    ASSERT_EQ(CGConfigureDisplayMirrorOfDisplay(config, 2, 1), 0);
    EXPECT_EQ(mac.display(2).mirrors, 0u);
    ASSERT_EQ(CGCompleteDisplayConfiguration(config, kCGConfigureForSession), 0);
    EXPECT_EQ(mac.display(2).mirrors, 1u);
}

TEST(DisplayConfigurations, cancel_forgets) {
    Mac& mac = Mac::boot(Scene::desk());
    CGDisplayConfigRef config = nullptr;
    ASSERT_EQ(CGBeginDisplayConfiguration(&config), 0);
    ASSERT_EQ(CGConfigureDisplayMirrorOfDisplay(config, 2, 1), 0);
    EXPECT_NE(ledger::outstanding(), "");
    EXPECT_EQ(CGCancelDisplayConfiguration(config), 0);
    EXPECT_EQ(mac.display(2).mirrors, 0u);
    EXPECT_EQ(ledger::outstanding(), "");
}

TEST(DisplayConfigurations, a_reference_is_good_for_one_end) {
    Mac& mac = Mac::boot(Scene::desk());
    CGDisplayConfigRef config = nullptr;
    ASSERT_EQ(CGBeginDisplayConfiguration(&config), 0);
    ASSERT_EQ(CGCompleteDisplayConfiguration(config, kCGConfigureForSession), 0);
    EXPECT_DEATH((void)CGCompleteDisplayConfiguration(config, kCGConfigureForSession), "has ended");
    EXPECT_DEATH((void)CGCancelDisplayConfiguration(config), "has ended");
    EXPECT_DEATH((void)CGCancelDisplayConfiguration(nullptr), "null display configuration");

    mac.failCall(fails("CGCompleteDisplayConfiguration").with(1000));
    ASSERT_EQ(CGBeginDisplayConfiguration(&config), 0);
    EXPECT_EQ(CGCompleteDisplayConfiguration(config, kCGConfigureForSession), 1000);
    EXPECT_EQ(ledger::outstanding(), "");
    // Tolerated, because Apple leaves its effect open.
    EXPECT_EQ(CGCancelDisplayConfiguration(config), kCGErrorIllegalArgument);
    EXPECT_DEATH((void)CGCompleteDisplayConfiguration(config, kCGConfigureForSession), "has ended");
}

TEST(DisplayConfigurations, impossible_mirrors_are_refused) {
    Mac::boot(R"({ "displays": [ { "id": 1 }, { "id": 2, "enabled": false }, { "id": 3 } ] })");
    CGDisplayConfigRef config = nullptr;
    ASSERT_EQ(CGBeginDisplayConfiguration(&config), 0);
    EXPECT_NE(CGConfigureDisplayMirrorOfDisplay(config, 1, 1), 0);
    EXPECT_NE(CGConfigureDisplayMirrorOfDisplay(config, 1, 2), 0);
    EXPECT_NE(CGConfigureDisplayMirrorOfDisplay(config, 2, 1), 0);
    EXPECT_NE(CGConfigureDisplayMirrorOfDisplay(config, 9, 1), 0);
    EXPECT_EQ(CGConfigureDisplayMirrorOfDisplay(config, 3, 1), 0);
    EXPECT_EQ(CGCancelDisplayConfiguration(config), 0);
}

TEST(DisplayLists, a_list_is_cut_to_its_capacity_and_counted_without_an_array) {
    Mac::boot(Scene::desk());
    uint32_t count = 0;
    EXPECT_EQ(CGGetOnlineDisplayList(0, nullptr, &count), 0);
    EXPECT_EQ(count, 3u);
    std::array<CGDirectDisplayID, 2> displays = {};
    EXPECT_EQ(CGGetOnlineDisplayList(2, displays.data(), &count), 0);
    EXPECT_EQ(count, 2u);
    EXPECT_EQ(displays, (std::array<CGDirectDisplayID, 2>{1, 2}));
}

TEST(DisplayLists, a_failing_list_leaves_garbage) {
    Mac& mac = Mac::boot(Scene::desk());
    mac.failCall(fails("CGGetActiveDisplayList").with(1000));
    uint32_t count = 0;
    EXPECT_EQ(CGGetActiveDisplayList(0, nullptr, &count), 1000);
    EXPECT_GT(count, 1000u);
}

TEST(DisplayQuestions, an_unknown_display_is_nothing) {
    Mac::boot(Scene::desk());
    EXPECT_FALSE(CGDisplayIsActive(99) || CGDisplayIsOnline(99) || CGDisplayIsMain(99) ||
                 CGDisplayIsBuiltin(99) || CGDisplayIsInMirrorSet(99));
    EXPECT_EQ(CGDisplayVendorNumber(99), 0xFFFFFFFF);
    EXPECT_EQ(CGDisplayModelNumber(99), 0xFFFFFFFF);
}

TEST(Gamma, tables_are_read_up_to_the_capacity_and_set_from_any_size) {
    Mac& mac = Mac::boot(R"({ "displays": [ { "id": 1 }, { "id": 2, "gamma": false } ] })");
    std::vector<CGGammaValue> red(4, -1), green(4, -1), blue(4, -1);
    uint32_t count = 0;
    EXPECT_EQ(CGGetDisplayTransferByTable(1, 2, red.data(), green.data(), blue.data(), &count), 0);
    EXPECT_EQ(count, 2u);
    EXPECT_EQ(red[2], -1);
    EXPECT_NE(CGGetDisplayTransferByTable(2, 2, red.data(), green.data(), blue.data(), &count), 0);
    const std::vector<CGGammaValue> half(2, 0.5F);
    EXPECT_EQ(CGSetDisplayTransferByTable(1, 2, half.data(), half.data(), half.data()), 0);
    EXPECT_EQ(mac.display(1).gamma, "other");
    EXPECT_NE(CGSetDisplayTransferByTable(9, 2, half.data(), half.data(), half.data()), 0);
    CGDisplayRestoreColorSyncSettings();
    EXPECT_EQ(mac.display(1).gamma, "normal");
}

TEST(Faults, the_nth_call_of_a_function_or_of_all_fails) {
    Mac& mac = Mac::boot(Scene::desk());
    mac.failCall(fails("CGDisplayIsMain").nth(2).with(0));
    EXPECT_TRUE(CGDisplayIsMain(1));
    EXPECT_FALSE(mac.faultFired());
    EXPECT_FALSE(CGDisplayIsMain(1));
    EXPECT_TRUE(mac.faultFired());
    EXPECT_TRUE(CGDisplayIsMain(1));
    mac.clearFaults();
    mac.failCall(fails("*").nth(3).with(7));
    EXPECT_TRUE(CGDisplayIsOnline(1));
    EXPECT_TRUE(CGDisplayIsMain(1));
    EXPECT_EQ(CGDisplayVendorNumber(1), 7u);
    mac.clearFaults();
    mac.failCall(fails("CGDisplayIsMain").every().withNull());
    EXPECT_FALSE(CGDisplayIsMain(1));
    EXPECT_FALSE(CGDisplayIsMain(1));
}

TEST(CallLog, every_call_is_logged_in_order_faulted_ones_too) {
    Mac& mac = Mac::boot(Scene::desk());
    mac.failCall(fails("CGDisplayIsMain").with(0));
    (void)CGDisplayIsOnline(2);
    (void)CGDisplayIsMain(1);
    const auto calls = mac.calls();
    ASSERT_EQ(calls.size(), 2u);
    EXPECT_EQ(calls[0].call, "CGDisplayIsOnline");
    EXPECT_EQ(calls[0].args.dump(), "[2]");
    EXPECT_EQ(calls[0].result, 1);
    EXPECT_EQ(calls[1].result, 0);
    EXPECT_GT(calls[0].pid, 0);
    mac.clearCalls();
    EXPECT_TRUE(mac.calls().empty());
}

TEST(Loader, frameworks_are_found_without_files_and_other_libraries_really_loaded) {
    Mac::boot(R"({ "skylight": ["SLSGetDisplayList"] })");
    void* const skyLight =
        dlopen("/System/Library/PrivateFrameworks/SkyLight.framework/SkyLight", RTLD_LAZY);
    ASSERT_NE(skyLight, nullptr);
    EXPECT_NE(dlsym(skyLight, "SLSGetDisplayList"), nullptr);
    EXPECT_EQ(dlsym(skyLight, "SLSConfigureDisplayEnabled"), nullptr);
    EXPECT_EQ(ledger::outstanding(), "");
    EXPECT_EQ(dlopen("/System/Library/Frameworks/Nothing.framework/Nothing", RTLD_LAZY), nullptr);
    void* const math = dlopen("libm.so.6", RTLD_LAZY);
    ASSERT_NE(math, nullptr);
    EXPECT_NE(dlsym(math, "cos"), nullptr);
    EXPECT_EQ(dlclose(math), 0);
    Mac::boot(R"({ "skylight": false })");
    EXPECT_EQ(dlopen("/System/Library/PrivateFrameworks/SkyLight.framework/SkyLight", RTLD_LAZY),
              nullptr);
}

TEST(I2C, an_object_of_another_class_is_refused_and_nothing_written) {
    Mac::boot(Scene::desk());
    io_iterator_t const iterator = servicesOfClass("IODisplayConnect");
    io_object_t const service = IOIteratorNext(iterator);
    auto* connect = reinterpret_cast<IOI2CConnectRef>(uintptr_t(1));
    EXPECT_NE(IOI2CInterfaceOpen(service, 0, &connect), 0);
    EXPECT_EQ(connect, reinterpret_cast<IOI2CConnectRef>(uintptr_t(1)));
    IOObjectRelease(service);
    IOObjectRelease(iterator);
}

TEST(I2C, a_bus_beyond_the_count_has_no_device_and_a_sent_request_loses_its_buffers) {
    Mac& mac = Mac::boot(Scene::desk());
    io_iterator_t const iterator = servicesOfClass("IOFramebuffer");
    IOObjectRelease(IOIteratorNext(iterator)); // display 1's, without a bus
    io_object_t const framebuffer = IOIteratorNext(iterator);
    io_service_t interface = 0;
    EXPECT_NE(IOFBCopyI2CInterfaceForBus(framebuffer, 1, &interface), 0);
    ASSERT_EQ(IOFBCopyI2CInterfaceForBus(framebuffer, 0, &interface), 0);
    IOI2CConnectRef connect = nullptr;
    EXPECT_NE(IOI2CInterfaceOpen(interface, 1, &connect), 0);
    ASSERT_EQ(IOI2CInterfaceOpen(interface, 0, &connect), 0);
    std::array<uint8_t, 7> bytes = {0x51, 0x84, 0x03, 0x10, 0, 9, 0xA1};
    IOI2CRequest request = {};
    request.sendTransactionType = kIOI2CSimpleTransactionType;
    request.sendAddress = 0x6E;
    request.sendBuffer = reinterpret_cast<uintptr_t>(bytes.data());
    request.sendBytes = 7;
    EXPECT_EQ(IOI2CSendRequest(connect, 0, &request), 0);
    EXPECT_EQ(uintptr_t(request.sendBuffer), 0u);
    EXPECT_EQ(mac.display(2).brightness, 9);
    IOI2CInterfaceClose(connect, 0);
    EXPECT_DEATH((void)IOI2CSendRequest(connect, 0, &request), "used after its last release");
    IOObjectRelease(interface);
    IOObjectRelease(framebuffer);
    IOObjectRelease(iterator);
    EXPECT_EQ(ledger::outstanding(), "");
}

} // namespace
} // namespace simulated_mac
