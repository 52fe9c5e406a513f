#include "CDdc/ddc.h"
#include "Support/Scenes.h"
#include "Support/SimulatedMacTest.h"

extern "C" {
#include <IOKit/i2c/IOI2CInterface.h>
}

namespace veilpane::test {

namespace {

using simulated_mac::Mac;

using DDCTransport = SimulatedMacTest;

/// A scene with displays 2 (vendor 100, product 7), 3 and 4 (product 7 of no known vendor), and a
/// registry of its own.
std::string ddcScene(std::string_view nodes) {
    return scene({R"({ "id": 1, "main": true, "vendor": 0, "model": 0 })",
                  R"({ "id": 2, "vendor": 100, "model": 7, "ddc": {} })",
                  R"({ "id": 3, "vendor": 100, "model": 8 })",
                  R"({ "id": 4, "vendor": 0, "model": 7 })"},
                 {registry(nodes)});
}

std::vector<std::string> sentBytes() {
    std::vector<std::string> messages;
    for (const auto& call : Mac::current().calls()) {
        if (call.call == "IOI2CSendRequest") {
            messages.push_back(call.notes.at("bytes").get<std::string>());
        }
    }
    return messages;
}

TEST_F(DDCTransport, the_power_messages_are_these_bytes) {
    boot();
    EXPECT_EQ(ddc_set_power(2, false), DDCResultSent);
    EXPECT_EQ(ddc_set_power(2, true), DDCResultSent);
    EXPECT_EQ(sentBytes(), (std::vector<std::string>{"5184030C0005B1", "5184030C0001B5"}));
}

TEST_F(DDCTransport, a_vcp_message_carries_code_value_and_checksum) {
    boot();
    EXPECT_EQ(ddc_set_vcp(2, 0x10, 0), DDCResultSent);
    EXPECT_EQ(ddc_set_vcp(2, 0x10, 100), DDCResultSent);
    EXPECT_EQ(ddc_set_vcp(2, 0xD6, 0xABCD), DDCResultSent);
    EXPECT_EQ(sentBytes(),
              (std::vector<std::string>{"518403100000A8", "518403100064CC", "518403D6ABCD08"}));
}

TEST_F(DDCTransport, a_message_goes_to_address_0x6E_and_the_monitor_obeys) {
    Mac& mac = boot();
    EXPECT_EQ(ddc_set_power(2, false), DDCResultSent);
    EXPECT_EQ(ddc_set_vcp(2, 0x10, 12), DDCResultSent);
    EXPECT_EQ(mac.display(2).power, "standby");
    EXPECT_EQ(mac.display(2).brightness, 12);
    EXPECT_EQ(mac.droppedMessages(2), 0);
    for (const auto& call : mac.calls()) {
        if (call.call == "IOI2CSendRequest") {
            EXPECT_EQ(call.notes.at("address"), 0x6E);
        }
    }
}

// The call log tells of every field of a request that is not as a plain write without a reply has
// it.
TEST_F(DDCTransport, a_request_asks_for_nothing_but_the_sending_of_its_bytes) {
    Mac& mac = boot();
    ddc_set_power(2, true);
    for (const auto& call : mac.calls()) {
        if (call.call == "IOI2CSendRequest") {
            EXPECT_EQ(call.notes, (nlohmann::json{{"address", 0x6E}, {"bytes", "5184030C0001B5"}}));
        }
    }
}

TEST_F(DDCTransport, one_message_takes_one_open_one_send_and_one_close) {
    boot();
    ddc_set_power(2, true);
    EXPECT_EQ(calls({"IOI2CInterfaceOpen", "IOI2CSendRequest", "IOI2CInterfaceClose"}).size(), 3u);
    const auto sequence =
        calls({"IOI2CInterfaceOpen", "IOI2CSendRequest", "IOI2CInterfaceClose", "IOObjectRelease"});
    // The interface is released as soon as it was opened; the framebuffer last.
    ASSERT_GE(sequence.size(), 5u);
    const auto tail = std::vector(sequence.end() - 5, sequence.end());
    EXPECT_TRUE(tail[0].starts_with("IOI2CInterfaceOpen"));
    EXPECT_TRUE(tail[1].starts_with("IOObjectRelease"));
    EXPECT_TRUE(tail[2].starts_with("IOI2CSendRequest"));
    EXPECT_EQ(tail[3], "IOI2CInterfaceClose(1, 0) = 0");
    EXPECT_TRUE(tail[4].starts_with("IOObjectRelease"));
}

struct FailureCase {
    const char* name;
    std::string scene;
    std::int32_t result;

    friend void PrintTo(const FailureCase& row, std::ostream* stream) { *stream << row.name; }
};

class DDCFailure : public SimulatedMacTest, public testing::WithParamInterface<FailureCase> {};

TEST_P(DDCFailure, ends_in_its_result_code_without_a_retry) {
    boot(GetParam().scene);
    EXPECT_EQ(ddc_set_vcp(2, 0x10, 5), GetParam().result);
    EXPECT_LE(calls({"IOI2CInterfaceOpen"}).size(), 1u);
    EXPECT_LE(calls({"IOI2CSendRequest"}).size(), 1u);
}

INSTANTIATE_TEST_SUITE_P(
    DDCTransport, DDCFailure,
    testing::Values(
        FailureCase{"no_framebuffer", scene({ddc2}, {registry("")}), 1},
        FailureCase{"no_i2c_interface", scene({plain2}), 2},
        FailureCase{"open_fails", scene({R"({ "id": 2, "ddc": { "open": 3758097109 } })"}), 3},
        FailureCase{"open_succeeds_with_a_null_connection",
                    scene({ddc2}, {faults({fails("IOI2CInterfaceOpen").withNull()})}), 3},
        FailureCase{"send_fails", scene({mute2}), 4},
        FailureCase{"the_requests_own_result_fails",
                    scene({R"({ "id": 2, "ddc": { "result": 64 } })"}), 4}),
    [](const auto& info) { return info.param.name; });

TEST_F(DDCTransport, can_control_tells_whether_there_is_an_i2c_interface_and_opens_nothing) {
    boot();
    EXPECT_EQ(ddc_can_control(1), 0);
    EXPECT_EQ(ddc_can_control(2), 1);
    EXPECT_EQ(ddc_can_control(3), 0);
    EXPECT_TRUE(calls({"IOI2CInterfaceOpen", "IOI2CSendRequest"}).empty());
}

TEST_F(DDCTransport, every_call_searches_the_registry_anew) {
    boot();
    ddc_can_control(2);
    ddc_can_control(2);
    EXPECT_EQ(calls({"IOServiceGetMatchingServices"}).size(), 2u);
}

struct MatchCase {
    const char* name;
    std::string registry;
    CGDirectDisplayID display;
    bool found;

    friend void PrintTo(const MatchCase& row, std::ostream* stream) { *stream << row.name; }
};

class FramebufferMatch : public SimulatedMacTest, public testing::WithParamInterface<MatchCase> {};

TEST_P(FramebufferMatch, finds_the_framebuffer_by_its_rule) {
    boot(ddcScene(GetParam().registry));
    const IORef framebuffer = copy_framebuffer_for_display(GetParam().display);
    ASSERT_EQ(static_cast<bool>(framebuffer), GetParam().found);
    if (framebuffer) {
        IOItemCount buses = 0;
        EXPECT_EQ(IOFBGetI2CInterfaceCount(framebuffer.get(), &buses), kIOReturnSuccess);
        EXPECT_EQ(buses, 1u) << "this is another framebuffer";
    }
}

// A framebuffer with one bus and further members, between others, of two buses each, that keep the
// single-monitor fallback out of the way.
std::string framebuffer(const std::string& members, const std::string& name = "IOFramebuffer") {
    const std::string other = R"({ "class": "IOFramebuffer", "i2cBuses": 2 })";
    return other + R"(, { "class": ")" + name + R"(", "i2cBuses": 1, )" + members + " }, " + other;
}

std::string displayID(const std::string& value) {
    return R"("properties": { "DisplayID": )" + value + " }";
}

std::string child(const std::string& properties) {
    return R"("children": [ { "class": "IODisplayConnect", "properties": { )" + properties +
           " } } ]";
}

INSTANTIATE_TEST_SUITE_P(
    DDCTransport, FramebufferMatch,
    testing::Values(
        MatchCase{"display_id_as_number_in_a_subclass",
                  framebuffer(displayID("2"), "AMDFramebuffer"), 2, true},
        MatchCase{"display_id_as_4_bytes_of_data",
                  framebuffer(displayID(R"({ "data": "02000000" })")), 2, true},
        MatchCase{"display_id_as_6_bytes_of_data",
                  framebuffer(displayID(R"({ "data": "02000000FFFF" })")), 2, true},
        MatchCase{"display_id_as_3_bytes_of_data_is_none",
                  framebuffer(displayID(R"({ "data": "020000" })")), 2, false},
        MatchCase{"display_id_as_text_is_none", framebuffer(displayID(R"("2")")), 2, false},
        MatchCase{"display_id_as_text_is_not_1_either", framebuffer(displayID(R"("2")")), 1, false},
        MatchCase{"display_id_above_the_signed_range", framebuffer(displayID("4026531840")),
                  4026531840, true},
        MatchCase{"childs_display_id_as_number", framebuffer(child(R"("DisplayID": 2)")), 2, true},
        MatchCase{"childs_display_id_as_data_is_none",
                  framebuffer(child(R"("DisplayID": { "data": "02000000" })")), 2, false},
        MatchCase{"childs_other_display_id_is_none", framebuffer(child(R"("DisplayID": 3)")), 2,
                  false},
        MatchCase{"childs_vendor_as_text_is_none",
                  framebuffer(child(R"("DisplayVendorID": "100", "DisplayProductID": 7)")), 2,
                  false},
        MatchCase{"childs_vendor_and_product",
                  framebuffer(
                      R"("children": [ { "class": "X" }, { "class": "IODisplayConnect",
                    "properties": { "DisplayVendorID": 100, "DisplayProductID": 7 } } ])"),
                  2, true},
        MatchCase{"childs_vendor_and_product_as_data_are_none",
                  framebuffer(child(R"("DisplayVendorID": { "data": "64000000" },
                      "DisplayProductID": { "data": "07000000" })")),
                  2, false},
        MatchCase{"childs_vendor_as_data_is_none",
                  framebuffer(child(R"("DisplayVendorID": { "data": "64000000" },
                      "DisplayProductID": 7)")),
                  2, false},
        MatchCase{"childs_product_as_data_is_none", framebuffer(child(R"("DisplayVendorID": 100,
                      "DisplayProductID": { "data": "07000000" })")),
                  2, false},
        MatchCase{"childs_vendor_that_is_no_number_counts_as_zero",
                  framebuffer(child(R"("DisplayVendorID": "100", "DisplayProductID": 7)")), 4,
                  true},
        MatchCase{"childs_vendor_alone_is_none", framebuffer(child(R"("DisplayVendorID": 100)")), 2,
                  false},
        MatchCase{"childs_other_product_is_none",
                  framebuffer(child(R"("DisplayVendorID": 100, "DisplayProductID": 9)")), 2, false},
        MatchCase{"vendor_and_product_both_zero_say_nothing",
                  framebuffer(child(R"("DisplayVendorID": 0, "DisplayProductID": 0)")), 1, false},
        MatchCase{
            "grandchildren_are_not_looked_at",
            framebuffer(
                R"("children": [ { "class": "IODisplayConnect", "children": [ { "class": "AppleDisplay",
                    "properties": { "DisplayVendorID": 100, "DisplayProductID": 7 } } ] } ])"),
            2, false}),
    [](const auto& info) { return info.param.name; });

TEST_F(DDCTransport, a_product_without_a_vendor_identifies_a_monitor) {
    boot(scene({R"({ "id": 2, "vendor": 0, "model": 7 })"},
               {registry(framebuffer(child(R"("DisplayVendorID": 0, "DisplayProductID": 7)")))}));
    EXPECT_TRUE(copy_framebuffer_for_display(2));
}

TEST_F(DDCTransport, a_single_i2c_framebuffer_serves_any_display) {
    boot(ddcScene(R"({ "class": "IOFramebuffer" },
        { "class": "IOFramebuffer", "i2cBuses": 1 })"));
    EXPECT_EQ(ddc_can_control(1), 1);
    EXPECT_EQ(ddc_can_control(77), 1);
}

TEST_F(DDCTransport, of_two_i2c_framebuffers_without_a_match_none_is_taken) {
    boot(ddcScene(R"({ "class": "IOFramebuffer", "i2cBuses": 1 },
        { "class": "IOFramebuffer", "i2cBuses": 1 })"));
    EXPECT_FALSE(copy_framebuffer_for_display(2));
    EXPECT_EQ(ddc_set_vcp(2, 0x10, 1), DDCResultNoFramebuffer);
}

TEST_F(DDCTransport, a_framebuffer_whose_bus_count_cannot_be_read_is_no_candidate) {
    Mac& mac = boot(ddcScene(R"({ "class": "IOFramebuffer", "i2cBuses": 1 })"));
    mac.failCall(fails("IOFBGetI2CInterfaceCount").with(-1));
    EXPECT_FALSE(copy_framebuffer_for_display(2));
}

TEST_F(DDCTransport, a_failed_or_empty_registry_search_finds_nothing) {
    Mac& mac = boot();
    mac.failCall(fails("IOServiceGetMatchingServices").with(-1));
    EXPECT_EQ(ddc_can_control(2), 0);
    mac.failCall(fails("IOServiceGetMatchingServices").withNull());
    EXPECT_EQ(ddc_can_control(2), 0);
    EXPECT_EQ(ddc_can_control(2), 1);
}

TEST_F(DDCTransport, the_first_bus_that_yields_an_interface_wins) {
    Mac& mac = boot(ddcScene(
        R"({ "class": "IOFramebuffer", "i2cBuses": 3, "properties": { "DisplayID": 2 } })"));
    mac.failCall(fails("IOFBCopyI2CInterfaceForBus").with(-536870208));
    mac.failCall(fails("IOFBCopyI2CInterfaceForBus").nth(2).withNull());
    EXPECT_EQ(ddc_set_vcp(2, 0x10, 1), DDCResultSent);
    EXPECT_EQ(calls({"IOFBCopyI2CInterfaceForBus"}).size(), 3u);
}

TEST_F(DDCTransport, without_a_bus_the_first_i2c_child_is_taken) {
    boot(ddcScene(R"({ "class": "IOFramebuffer", "properties": { "DisplayID": 2 },
        "children": [ { "class": "IODisplayConnect" }, { "class": "IOI2CInterface" },
                      { "class": "IOFramebufferI2CInterface" } ] })"));
    const IORef framebuffer = copy_framebuffer_for_display(2);
    const IORef interface = copy_i2c_interface(framebuffer.get());
    ASSERT_TRUE(interface);
    EXPECT_FALSE(IOObjectConformsTo(interface.get(), "IOFramebufferI2CInterface"));
}

// Whether the one class descends from the other is the Mac's business.
TEST_F(DDCTransport, a_child_is_asked_for_both_classes_of_i2c_interfaces) {
    boot(ddcScene(R"({ "class": "IOFramebuffer", "properties": { "DisplayID": 2 },
        "children": [ { "class": "IODisplayConnect" } ] })"));
    const IORef framebuffer = copy_framebuffer_for_display(2);
    EXPECT_FALSE(copy_i2c_interface(framebuffer.get()));
    EXPECT_EQ(calls({"IOObjectConformsTo"}),
              (std::vector<std::string>{"IOObjectConformsTo(4100, IOFramebufferI2CInterface) = 0",
                                        "IOObjectConformsTo(4100, IOI2CInterface) = 0"}));
}

TEST_F(DDCTransport, when_all_buses_fail_the_children_are_tried) {
    Mac& mac = boot();
    mac.failCall(fails("IOFBCopyI2CInterfaceForBus").every().with(-1));
    EXPECT_EQ(ddc_set_vcp(2, 0x10, 3), DDCResultSent);
    EXPECT_EQ(mac.display(2).brightness, 3);
}

TEST_F(DDCTransport, coregraphics_service_port_comes_before_the_registry) {
    boot(R"({ "displays": [ { "id": 2, "ddc": {}, "servicePort": true } ] })");
    {
        const IORef framebuffer = copy_framebuffer_for_display(2);
        EXPECT_TRUE(framebuffer);
    }
    EXPECT_TRUE(calls({"IOServiceGetMatchingServices"}).empty());
    EXPECT_EQ(calls({"dlopen", "dlsym", "CGDisplayIOServicePort", "IOObjectRetain", "dlclose",
                     "IOObjectRelease"})
                  .size(),
              6u);
}

TEST_F(DDCTransport, a_service_port_that_is_no_framebuffer_is_released_once) {
    Mac& mac = boot(R"({ "displays": [ { "id": 2, "ddc": {}, "servicePort": true } ], "registry": [
        { "class": "IOAccelerator", "properties": { "DisplayID": 2 } },
        { "class": "IOFramebuffer", "i2cBuses": 1, "properties": { "DisplayID": 2 } } ] })");
    {
        const IORef framebuffer = copy_framebuffer_for_display(2);
        EXPECT_TRUE(framebuffer);
    }
    int borrowed = 0;
    for (const auto& call : mac.calls()) {
        borrowed += call.notes.contains("note") ? 1 : 0;
    }
    EXPECT_EQ(borrowed, 1);
    EXPECT_EQ(calls({"IOServiceGetMatchingServices"}).size(), 1u);
}

TEST_F(DDCTransport, the_library_is_closed_whenever_it_was_opened) {
    Mac& mac = boot();
    mac.failCall(fails("dlsym").with(0));
    EXPECT_EQ(ddc_can_control(2), 1);
    EXPECT_EQ(calls({"dlopen", "dlclose"}).size(), 2u);
    mac.clearCalls();
    mac.failCall(fails("dlopen").with(0));
    EXPECT_EQ(ddc_can_control(2), 1);
    EXPECT_EQ(calls({"dlopen", "dlsym", "dlclose"}),
              (std::vector<std::string>{
                  "dlopen(/System/Library/Frameworks/CoreGraphics.framework/CoreGraphics, 1) = "
                  "false"}));
}

} // namespace

} // namespace veilpane::test
