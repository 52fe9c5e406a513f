#include "SimulatedMac/Tests/SkyLightList.h"
#include "SimulatedMac/Tests/TransferToMonitor.h"
#include "SimulatedMac/World/Ledger.h"
#include "SimulatedMac/World/Mac.h"

#include <CoreGraphics/CoreGraphics.h>
#include <IOKit/IOKitLib.h>

#include <array>
#include <gtest/gtest.h>
#include <vector>

namespace simulated_mac {
namespace {

using IDs = std::vector<CGDirectDisplayID>;

struct List {
    int32_t error = 0;
    uint32_t count = 0;
    IDs displays;

    bool operator==(const List&) const = default;
};

/// Asks with room for `capacity` displays; what the call leaves alone stays 77.
List ask(ListFunction* function, uint32_t capacity) {
    List list;
    list.displays.assign(capacity, 77);
    list.error = function(capacity, list.displays.data(), &list.count);
    return list;
}

struct ListCase {
    const char* fault;
    List wide;      ///< with room for four
    List fitting;   ///< with room for the three that there are
    uint32_t count; ///< without an array
};

const std::vector<ListCase> listCases = {
    {"short", {0, 2, {1, 2, 77, 77}}, {0, 2, {1, 2, 77}}, 2},
    {"duplicated", {0, 4, {1, 1, 2, 3}}, {0, 3, {1, 1, 2}}, 4},
    {"zero", {0, 4, {0, 1, 2, 3}}, {0, 3, {0, 1, 2}}, 4},
    {"too-large", {0, 5, {1, 2, 3, 77}}, {0, 4, {1, 2, 3}}, 4},
};

std::string sceneWithList(const char* function, const char* kind) {
    return R"({ "displays": [ { "id": 1 }, { "id": 2 }, { "id": 3 } ], "faults": [ { "call": ")" +
           std::string(function) + R"(", "nth": 0, "list": ")" + kind + R"(" } ] })";
}

void expectLists(ListFunction* function, const ListCase& row) {
    EXPECT_EQ(ask(function, 4), row.wide) << row.fault;
    EXPECT_EQ(ask(function, 3), row.fitting) << row.fault;
    uint32_t count = 0;
    EXPECT_EQ(function(0, nullptr, &count), 0);
    EXPECT_EQ(count, row.count) << row.fault;
}

TEST(ListFaults, a_wrong_list_is_reported_with_success) {
    for (const ListCase& row : listCases) {
        Mac::boot(sceneWithList("CGGetOnlineDisplayList", row.fault));
        expectLists(CGGetOnlineDisplayList, row);
        EXPECT_EQ(ask(CGGetActiveDisplayList, 3), (List{0, 3, {1, 2, 3}}));
        Mac::boot(sceneWithList("CGGetActiveDisplayList", row.fault));
        expectLists(CGGetActiveDisplayList, row);
        Mac::boot(sceneWithList("SLSGetDisplayList", row.fault));
        expectLists(skyLightList(), row);
    }
}

TEST(ListFaults, a_test_plans_one_by_its_field) {
    Mac& mac = Mac::boot(Scene::desk());
    mac.failCall({.call = "CGGetOnlineDisplayList", .nth = 2, .list = ListFault::shortened});
    EXPECT_EQ(ask(CGGetOnlineDisplayList, 3).count, 3u);
    EXPECT_EQ(ask(CGGetOnlineDisplayList, 3).count, 2u);
    EXPECT_TRUE(mac.faultFired());
}

TEST(FailuresWithEffect, a_completion_takes_effect_and_leaves_the_reference_of_a_failed_one) {
    Mac& mac = Mac::boot(R"({ "displays": [ { "id": 1 }, { "id": 2 } ], "faults": [
        { "call": "CGCompleteDisplayConfiguration", "returns": 1004, "effect": true } ] })");
    CGDisplayConfigRef config = nullptr;
    ASSERT_EQ(CGBeginDisplayConfiguration(&config), 0);
    ASSERT_EQ(CGConfigureDisplayMirrorOfDisplay(config, 2, 1), 0);
    EXPECT_EQ(CGCompleteDisplayConfiguration(config, kCGConfigureForSession), 1004);
    EXPECT_EQ(mac.display(2).mirrors, 1u);
    EXPECT_EQ(mac.calls().back().result, 1004);
    EXPECT_EQ(CGCancelDisplayConfiguration(config), kCGErrorIllegalArgument);
    EXPECT_EQ(ledger::outstanding(), "");
}

TEST(FailuresWithEffect, a_mirror_and_a_gamma_table_too) {
    Mac& mac = Mac::boot(R"({ "displays": [ { "id": 1 }, { "id": 2 } ], "faults": [
        { "call": "CGConfigureDisplayMirrorOfDisplay", "returns": 1001, "effect": true },
        { "call": "CGSetDisplayTransferByTable", "returns": 1000, "effect": true } ] })");
    const std::vector<CGGammaValue> dark(256, 0);
    EXPECT_EQ(CGSetDisplayTransferByTable(2, 256, dark.data(), dark.data(), dark.data()), 1000);
    EXPECT_EQ(mac.display(2).gamma, "zero");
    CGDisplayConfigRef config = nullptr;
    ASSERT_EQ(CGBeginDisplayConfiguration(&config), 0);
    EXPECT_EQ(CGConfigureDisplayMirrorOfDisplay(config, 2, 1), 1001);
    EXPECT_EQ(CGCompleteDisplayConfiguration(config, kCGConfigureForSession), 0);
    EXPECT_EQ(mac.display(2).mirrors, 1u);
}

TEST(RequestFaults, a_transfer_reports_an_error_without_or_with_effect) {
    struct Row {
        const char* fault;
        Transfer outcome;
        int brightness;
    };
    const std::vector<Row> rows = {
        {R"("result": 64)", {0, 64}, 40},
        {R"("result": 3758097088)", {0, kIOReturnNoDevice}, 40},
        {R"("result": 64, "effect": true)", {0, 64}, 9},
        {R"("returns": -536870208)", {kIOReturnNoDevice, Transfer::untouched}, 40},
        {R"("returns": -536870208, "effect": true)", {kIOReturnNoDevice, 0}, 9},
    };
    for (const Row& row : rows) {
        Mac& mac = Mac::boot(R"({ "displays": [ { "id": 2, "ddc": { "brightness": 40 } } ],
            "faults": [ { "call": "IOI2CSendRequest", )" +
                             std::string(row.fault) + " } ] }");
        EXPECT_EQ(setBrightness(9), row.outcome) << row.fault;
        EXPECT_EQ(mac.display(2).brightness, row.brightness) << row.fault;
        EXPECT_EQ(setBrightness(8), Transfer()) << row.fault;
        EXPECT_EQ(mac.display(2).brightness, 8) << row.fault;
    }
}

TEST(GammaFaults, a_short_table_is_reported_with_success) {
    Mac::boot(R"({ "displays": [ { "id": 1 } ], "faults": [
        { "call": "CGGetDisplayTransferByTable", "samples": 3 } ] })");
    std::array<CGGammaValue, 256> red = {}, green = {}, blue = {};
    for (auto* const channel : {&red, &green, &blue}) {
        channel->fill(7);
    }
    uint32_t count = 0;
    EXPECT_EQ(CGGetDisplayTransferByTable(1, 256, red.data(), green.data(), blue.data(), &count),
              0);
    EXPECT_EQ(count, 3u);
    EXPECT_FLOAT_EQ(red[2], 2.0F / 255);
    EXPECT_EQ(red[3], 7);
    EXPECT_EQ(blue[3], 7);
}

} // namespace
} // namespace simulated_mac
