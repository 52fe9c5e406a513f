#include "SimulatedMac/Tests/MatchingServices.h"
#include "SimulatedMac/Tests/SkyLightList.h"
#include "SimulatedMac/World/Ledger.h"
#include "SimulatedMac/World/Mac.h"
#include "SimulatedMac/World/MacState.h"

#include <CoreFoundation/CoreFoundation.h>
#include <CoreGraphics/CoreGraphics.h>
#include <IOKit/IOKitLib.h>

extern "C" {
#include <IOKit/i2c/IOI2CInterface.h>
}

#include <array>
#include <gtest/gtest.h>

namespace simulated_mac {
namespace {

using IDs = std::vector<uint32_t>;

IDs listOf(ListFunction* function) {
    std::array<CGDirectDisplayID, 8> displays = {};
    uint32_t count = 0;
    EXPECT_EQ(function(8, displays.data(), &count), 0);
    return {displays.begin(), displays.begin() + count};
}

void mirror(CGDirectDisplayID display, CGDirectDisplayID master, CGConfigureOption option) {
    CGDisplayConfigRef config = nullptr;
    ASSERT_EQ(CGBeginDisplayConfiguration(&config), 0);
    ASSERT_EQ(CGConfigureDisplayMirrorOfDisplay(config, display, master), 0);
    ASSERT_EQ(CGCompleteDisplayConfiguration(config, option), 0);
}

const std::string twoMonitors = R"({ "displays": [ { "id": 1, "main": true },
    { "id": 2, "vendor": 5, "model": 6, "registryName": "Studio", "ddc": {} },
    { "id": 3, "vendor": 5, "model": 6, "registryName": "Studio" } ] })";

TEST(RegistryOfMonitors, nodes_vanish_with_the_cable_and_those_of_the_connector_stay) {
    Mac& mac = Mac::boot(twoMonitors);
    EXPECT_EQ(serviceCount("IODisplayConnect"), 2);
    mac.unplug(2);
    EXPECT_EQ(serviceCount("IODisplayConnect"), 1);
    EXPECT_EQ(serviceCount("IOFramebuffer"), 3);
    mac.unplug(3);
    EXPECT_EQ(serviceCount("IODisplayConnect"), 0);
    mac.plug(2);
    EXPECT_EQ(serviceCount("IODisplayConnect"), 1);
    EXPECT_EQ(ledger::outstanding(), "");
}

TEST(RegistryOfMonitors, children_of_a_connector_vanish_too) {
    Mac& mac = Mac::boot(R"({ "displays": [ { "id": 1, "main": true }, { "id": 2 } ], "registry": [
        { "class": "AppleIntelFramebuffer", "properties": { "DisplayID": 2 }, "children": [
          { "class": "IODisplayConnect", "children": [ { "class": "AppleDisplay" } ] } ] } ] })");
    mac.unplug(2);
    EXPECT_EQ(serviceCount("AppleDisplay"), 0);
    MatchingServices framebuffers("IOFramebuffer");
    io_object_t const framebuffer = framebuffers.next();
    io_iterator_t children = IO_OBJECT_NULL;
    EXPECT_EQ(IORegistryEntryGetChildIterator(framebuffer, kIOServicePlane, &children), 0);
    EXPECT_EQ(IOIteratorNext(children), IO_OBJECT_NULL);
    IOObjectRelease(children);
    IOObjectRelease(framebuffer);
}

TEST(RegistryIterators, made_before_a_plugging_yield_nothing_after_it) {
    Mac& mac = Mac::boot(twoMonitors);
    MatchingServices unplugged("IOFramebuffer");
    IOObjectRelease(unplugged.next());
    mac.unplug(3);
    MatchingServices pluggedAgain("IOFramebuffer");
    mac.plug(3);
    EXPECT_EQ(unplugged.countRest(), 0);
    EXPECT_EQ(pluggedAgain.countRest(), 0);
    EXPECT_EQ(serviceCount("IOFramebuffer"), 3);
}

TEST(RegistryIterators, outlive_a_plugging_that_changes_nothing) {
    Mac& mac = Mac::boot(twoMonitors);
    MatchingServices framebuffers("IOFramebuffer");
    mac.plug(3);
    EXPECT_EQ(framebuffers.countRest(), 3);
}

TEST(RegistryNumbers, follow_a_displays_new_id) {
    Mac& mac = Mac::boot(twoMonitors);
    mac.plugAs(2, 9);
    MatchingServices framebuffers("IOFramebuffer");
    IOObjectRelease(framebuffers.next());
    io_object_t const framebuffer = framebuffers.next();
    CFTypeRef const number =
        IORegistryEntryCreateCFProperty(framebuffer, CFSTR("DisplayID"), nullptr, 0);
    int64_t id = 0;
    EXPECT_TRUE(CFNumberGetValue(static_cast<CFNumberRef>(number), kCFNumberSInt64Type, &id));
    EXPECT_EQ(id, 9);
    CFRelease(number);
    IOObjectRelease(framebuffer);
    EXPECT_EQ(CGDisplayVendorNumber(9), 5u);
    EXPECT_EQ(CGDisplayVendorNumber(2), 0xFFFFFFFF);
}

TEST(DDCToAnUnpluggedMonitor, has_no_device) {
    Mac& mac = Mac::boot(twoMonitors);
    MatchingServices framebuffers("IOFramebuffer");
    IOObjectRelease(framebuffers.next());
    io_object_t const framebuffer = framebuffers.next();
    io_service_t interface = 0;
    IOI2CConnectRef connect = nullptr;
    ASSERT_EQ(IOFBCopyI2CInterfaceForBus(framebuffer, 0, &interface), 0);
    ASSERT_EQ(IOI2CInterfaceOpen(interface, 0, &connect), 0);
    const auto send = [&] {
        const std::array<uint8_t, 7> bytes = {0x51, 0x84, 0x03, 0x10, 0, 9, 0xA1};
        IOI2CRequest request = {};
        request.sendTransactionType = kIOI2CSimpleTransactionType;
        request.sendAddress = 0x6E;
        request.sendBuffer = reinterpret_cast<uintptr_t>(bytes.data());
        request.sendBytes = 7;
        EXPECT_EQ(IOI2CSendRequest(connect, 0, &request), 0);
        return static_cast<uint32_t>(request.result);
    };
    mac.unplug(2);
    EXPECT_EQ(send(), 0xE00002C0);
    EXPECT_EQ(mac.display(2).brightness, 50);
    mac.plug(2);
    EXPECT_EQ(send(), 0u);
    EXPECT_EQ(mac.display(2).brightness, 9);
    IOI2CInterfaceClose(connect, 0);
    IOObjectRelease(interface);
    IOObjectRelease(framebuffer);
}

TEST(SlowLists, follow_some_calls_later) {
    Mac& mac = Mac::boot(R"({ "displays": [ { "id": 1, "main": true }, { "id": 2 } ],
                              "settleCalls": 2 })");
    const auto known = skyLightList();
    mac.unplug(2);
    EXPECT_EQ(listOf(CGGetOnlineDisplayList), IDs{1});
    EXPECT_EQ(listOf(known), (IDs{1, 2}));
    EXPECT_EQ(listOf(known), IDs{1});
    EXPECT_EQ(mac.lateState().screens(), IDs{1});
}

TEST(SlowLists, show_each_of_several_changes_after_its_own_time) {
    Mac& mac = Mac::boot(R"({ "displays": [ { "id": 1, "main": true }, { "id": 2 }, { "id": 3 } ],
                              "settleCalls": 2 })");
    mac.unplug(2);
    (void)CGDisplayIsMain(1);
    mac.unplug(3);
    const auto screens = [&mac] { return mac.lateState().screens(); };
    EXPECT_EQ(screens(), (IDs{1, 2, 3}));
    (void)CGDisplayIsMain(1);
    EXPECT_EQ(screens(), (IDs{1, 2, 3}));
    (void)CGDisplayIsMain(1);
    EXPECT_EQ(screens(), (IDs{1, 3}));
    (void)CGDisplayIsMain(1);
    EXPECT_EQ(screens(), IDs{1});
}

TEST(SlowLists, do_not_settle_anew_for_what_changes_no_list_and_are_settled_after_a_restart) {
    Mac& mac = Mac::boot(R"({ "displays": [ { "id": 1, "main": true }, { "id": 2 } ],
                              "settleCalls": 5 })");
    CGDisplayRestoreColorSyncSettings();
    EXPECT_EQ(&mac.lateState(), &mac.state());
    mac.unplug(2);
    EXPECT_NE(&mac.lateState(), &mac.state());
    mac.reboot();
    EXPECT_EQ(&mac.lateState(), &mac.state());
}

TEST(PermanentCompletion, may_silently_be_one_of_the_session) {
    Mac& mac = Mac::boot(R"({ "displays": [ { "id": 1, "main": true }, { "id": 2 } ],
                              "permanent": "session" })");
    mirror(2, 1, kCGConfigurePermanently);
    EXPECT_EQ(mac.display(2).mirrors, 1u);
    mac.logOut();
    EXPECT_EQ(mac.display(2).mirrors, 0u);
}

TEST(PermanentCompletion, may_keep_what_was_arranged_for_the_session_as_well) {
    Mac& mac = Mac::boot(R"({ "displays": [ { "id": 1, "main": true }, { "id": 2 }, { "id": 3 } ],
                              "permanentKeeps": "all" })");
    mirror(2, 1, kCGConfigureForSession);
    mirror(3, 1, kCGConfigurePermanently);
    mac.reboot();
    EXPECT_EQ(mac.display(2).mirrors, 1u);
}

TEST(ReloadingGamma, ends_a_black_picture_at_the_next_completion) {
    Mac& mac = Mac::boot(R"({ "displays": [ { "id": 1, "main": true }, { "id": 2 }, { "id": 3 } ],
                              "gammaReloads": true })");
    const std::array<CGGammaValue, 2> black = {};
    mirror(2, 1, kCGConfigureForSession);
    ASSERT_EQ(CGSetDisplayTransferByTable(2, 2, black.data(), black.data(), black.data()), 0);
    EXPECT_FALSE(mac.display(2).lit);
    mirror(3, 1, kCGConfigureForSession);
    EXPECT_TRUE(mac.display(2).lit);
}

TEST(NoSession, lists_are_empty_questions_answer_no_and_configurations_cannot_begin) {
    Mac& mac = Mac::boot(R"({ "displays": [ { "id": 1, "main": true }, { "id": 2 } ],
                              "session": false })");
    EXPECT_EQ(listOf(CGGetOnlineDisplayList), IDs{});
    EXPECT_EQ(listOf(CGGetActiveDisplayList), IDs{});
    EXPECT_EQ(listOf(skyLightList()), IDs{});
    EXPECT_FALSE(CGDisplayIsOnline(1) || CGDisplayIsActive(1) || CGDisplayIsMain(1));
    CGDisplayConfigRef config = nullptr;
    EXPECT_EQ(CGBeginDisplayConfiguration(&config), kCGErrorCannotComplete);
    const std::array<CGGammaValue, 2> black = {};
    EXPECT_NE(CGSetDisplayTransferByTable(1, 2, black.data(), black.data(), black.data()), 0);
    EXPECT_TRUE(mac.display(1).lit);
    EXPECT_EQ(ledger::outstanding(), "");
}

} // namespace
} // namespace simulated_mac
