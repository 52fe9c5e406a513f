// Habits of real Macs that a scene can ask for.

#include "SimulatedMac/Tests/TransferToMonitor.h"
#include "SimulatedMac/World/Mac.h"

#include <CoreGraphics/CoreGraphics.h>

#include <gtest/gtest.h>
#include <vector>

namespace simulated_mac {
namespace {

using Channel = std::vector<CGGammaValue>;

struct Reading {
    uint32_t count = 0;
    Channel red;
};

/// Reads with room for `capacity` entries; what the call leaves alone stays 7.
Reading readGamma(uint32_t capacity) {
    Channel red(capacity, 7), green(capacity, 7), blue(capacity, 7);
    uint32_t count = 0;
    EXPECT_EQ(
        CGGetDisplayTransferByTable(1, capacity, red.data(), green.data(), blue.data(), &count), 0);
    EXPECT_EQ(red, green);
    EXPECT_EQ(red, blue);
    return {count, red};
}

void setGamma(const Channel& channel) {
    EXPECT_EQ(CGSetDisplayTransferByTable(1, static_cast<uint32_t>(channel.size()), channel.data(),
                                          channel.data(), channel.data()),
              0);
}

Mac& bootWithGamma(const std::string& ofDisplay, const std::string& ofScene = "") {
    return Mac::boot(R"({ "displays": [ { "id": 1, )" + ofDisplay + " } ]" + ofScene + " }");
}

TEST(GammaCapacity, fewer_entries_than_the_hardwares_are_the_whole_curve) {
    Mac& mac = bootWithGamma(R"("gammaCapacity": 1024)");
    const Reading reading = readGamma(256);
    EXPECT_EQ(reading.count, 256u);
    EXPECT_NEAR(reading.red[128], 128.0 / 255, 1e-5);
    EXPECT_EQ(reading.red[255], 1);
    setGamma(reading.red);
    EXPECT_EQ(mac.display(1).gamma, "normal");
}

TEST(GammaCapacity, or_its_first_part) {
    const std::string truncate = R"(, "gammaReading": "truncate")";
    for (const bool ofDisplay : {true, false}) {
        Mac& mac = bootWithGamma(R"("gammaCapacity": 1024)" + (ofDisplay ? truncate : ""),
                                 ofDisplay ? "" : truncate);
        const Reading reading = readGamma(256);
        EXPECT_EQ(reading.count, 256u);
        EXPECT_NEAR(reading.red[255], 255.0 / 1023, 1e-5);
        setGamma(reading.red);
        EXPECT_EQ(mac.display(1).gamma, "other");
    }
}

TEST(GammaCapacity, a_display_reads_otherwise_than_its_scene) {
    bootWithGamma(R"("gammaCapacity": 1024, "gammaReading": "resample")",
                  R"(, "gammaReading": "truncate")");
    EXPECT_EQ(readGamma(256).red[255], 1);
}

TEST(GammaCapacity, a_shorter_table_leaves_the_callers_tail_alone) {
    bootWithGamma(R"("gammaCapacity": 4)");
    const Reading reading = readGamma(6);
    EXPECT_EQ(reading.count, 4u);
    EXPECT_EQ(reading.red, (Channel{0, 1.0F / 3, 2.0F / 3, 1, 7, 7}));
}

TEST(GammaCapacity, a_longer_table_is_interpolated_to_the_hardwares) {
    bootWithGamma(R"("gammaCapacity": 3)");
    setGamma({0, 0.25F, 0.5F, 0.75F, 1});
    EXPECT_EQ(readGamma(3).red, (Channel{0, 0.5F, 1}));
}

TEST(GammaCapacity, is_256_without_the_key) {
    Mac::boot(Scene::desk());
    const Reading reading = readGamma(1024);
    EXPECT_EQ(reading.count, 256u);
    EXPECT_EQ(reading.red[255], 1);
    EXPECT_EQ(reading.red[256], 7);
}

std::vector<boolean_t> answersAbout(CGDirectDisplayID display) {
    return {CGDisplayIsActive(display), CGDisplayIsOnline(display), CGDisplayIsMain(display),
            CGDisplayIsBuiltin(display), CGDisplayIsInMirrorSet(display)};
}

TEST(UnknownDisplays, answer_what_the_scene_says) {
    const std::string displays =
        R"("displays": [ { "id": 1 }, { "id": 2, "connected": false }, { "id": 3, "enabled": false } ])";
    Mac::boot("{ " + displays + R"(, "unknownDisplayAnswers": -1 })");
    EXPECT_EQ(answersAbout(9), std::vector<boolean_t>(5, -1));
    EXPECT_EQ(answersAbout(2), std::vector<boolean_t>(5, -1));
    EXPECT_EQ(answersAbout(3), std::vector<boolean_t>(5, 0));
    EXPECT_EQ(answersAbout(1), (std::vector<boolean_t>{1, 1, 1, 0, 0}));
    Mac::boot("{ " + displays + R"(, "unknownDisplayAnswers": { "CGDisplayIsMain": 7,
        "CGDisplayIsInMirrorSet": -1 } })");
    EXPECT_EQ(answersAbout(9), (std::vector<boolean_t>{0, 0, 7, 0, -1}));
    EXPECT_EQ(answersAbout(3), std::vector<boolean_t>(5, 0));
    Mac::boot("{ " + displays + " }");
    EXPECT_EQ(answersAbout(9), std::vector<boolean_t>(5, 0));
    EXPECT_EQ(answersAbout(2), std::vector<boolean_t>(5, 0));
}

Mac& bootWithMonitor(const std::string& habits) {
    return Mac::boot(R"({ "displays": [ { "id": 2, "ddc": { "brightness": 40)" + habits +
                     " } } ] }");
}

constexpr uint8_t powerCode = 0x0C;

TEST(MonitorGap, a_message_after_too_few_calls_is_lost) {
    Mac& mac = bootWithMonitor(R"(, "minGapCalls": 20)");
    EXPECT_EQ(setBrightness(9), Transfer());
    EXPECT_EQ(setBrightness(8), Transfer());
    EXPECT_EQ(mac.display(2).brightness, 9);
    for (int i = 0; i < 20; ++i) {
        (void)CGDisplayIsMain(1);
    }
    EXPECT_EQ(setBrightness(7), Transfer());
    EXPECT_EQ(mac.display(2).brightness, 7);
    EXPECT_EQ(mac.droppedMessages(2), 0);
}

/// How many calls lie between the first two transfers in the log.
std::size_t callsBetweenTransfers(Mac& mac) {
    std::vector<std::size_t> places;
    const auto calls = mac.calls();
    for (std::size_t i = 0; i < calls.size(); ++i) {
        if (calls[i].call == "IOI2CSendRequest") {
            places.push_back(i);
        }
    }
    return places.at(1) - places.at(0) - 1;
}

int brightnessAfterTwoMessages(std::size_t gap) {
    Mac& mac = bootWithMonitor(R"(, "minGapCalls": )" + std::to_string(gap));
    (void)setBrightness(9);
    (void)setBrightness(8);
    return mac.display(2).brightness.value_or(-1);
}

TEST(MonitorGap, is_as_many_calls_as_it_says) {
    Mac& mac = bootWithMonitor("");
    (void)setBrightness(9);
    (void)setBrightness(8);
    EXPECT_EQ(mac.display(2).brightness, 8);
    const std::size_t between = callsBetweenTransfers(mac);
    EXPECT_EQ(brightnessAfterTwoMessages(between), 8);
    EXPECT_EQ(brightnessAfterTwoMessages(between + 1), 9);
}

TEST(MonitorInStandby, may_be_deaf_also_to_being_woken) {
    Mac& mac = bootWithMonitor(R"(, "deafInStandby": true)");
    EXPECT_EQ(setFeature(powerCode, 5), Transfer());
    EXPECT_EQ(setFeature(powerCode, 1), Transfer());
    EXPECT_EQ(setBrightness(9), Transfer());
    EXPECT_EQ(mac.display(2).power, "standby");
    EXPECT_EQ(mac.display(2).brightness, 40);
    mac.unplug(2);
    mac.plug(2);
    EXPECT_EQ(setBrightness(9), Transfer());
    EXPECT_EQ(mac.display(2).brightness, 9);
}

TEST(MonitorInStandby, hears_without_the_key) {
    Mac& mac = bootWithMonitor("");
    EXPECT_EQ(setFeature(powerCode, 5), Transfer());
    EXPECT_EQ(setFeature(powerCode, 1), Transfer());
    EXPECT_EQ(mac.display(2).power, "on");
}

nlohmann::json notesOfTransfer(const Mac& booted) {
    for (const LoggedCall& call : const_cast<Mac&>(booted).calls()) {
        if (call.call == "IOI2CSendRequest") {
            return call.notes;
        }
    }
    return nullptr;
}

TEST(I2CRequests, what_is_no_plain_write_is_refused_or_does_nothing_and_is_in_the_log) {
    struct Row {
        const char* field;
        std::function<void(IOI2CRequest&)> change;
        Transfer outcome;
        int brightness;
        int noted;
    };
    const Transfer refused = {0, kIOReturnUnsupportedMode};
    const std::vector<Row> rows = {
        {"sendTransactionType", [](auto& r) { r.sendTransactionType = 2; }, refused, 40, 2},
        {"sendTransactionType", [](auto& r) { r.sendTransactionType = 0; }, {}, 40, 0},
        {"replyTransactionType", [](auto& r) { r.replyTransactionType = 1; }, refused, 40, 1},
        {"commFlags", [](auto& r) { r.commFlags = 2; }, refused, 40, 2},
        {"minReplyDelay", [](auto& r) { r.minReplyDelay = 50; }, {}, 9, 50},
        {"replyBytes", [](auto& r) { r.replyBytes = 11; }, {}, 9, 11},
        {"replyAddress", [](auto& r) { r.replyAddress = 0x6F; }, {}, 9, 0x6F},
        {"replySubAddress", [](auto& r) { r.replySubAddress = 0x51; }, {}, 9, 0x51},
        {"sendSubAddress", [](auto& r) { r.sendSubAddress = 0x51; }, {}, 9, 0x51},
        {"completion", [](auto& r) { r.completion = [](IOI2CRequest*) {}; }, {}, 9, 1},
    };
    for (const Row& row : rows) {
        Mac& mac = bootWithMonitor("");
        EXPECT_EQ(setBrightness(9, row.change), row.outcome) << row.field;
        EXPECT_EQ(mac.display(2).brightness, row.brightness) << row.field;
        EXPECT_EQ(notesOfTransfer(mac).value(row.field, -1), row.noted) << row.field;
    }
}

TEST(I2CRequests, a_plain_write_is_logged_with_address_and_bytes_alone) {
    const Mac& mac = bootWithMonitor("");
    (void)setBrightness(9);
    EXPECT_EQ(notesOfTransfer(mac),
              nlohmann::json({{"address", 110}, {"bytes", "518403100009A1"}}));
}

} // namespace
} // namespace simulated_mac
