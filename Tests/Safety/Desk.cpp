#include "Safety/Desk.h"

#include "SimulatedMac/Calls/Call.h"

#include <CoreGraphics/CoreGraphics.h>

#include <algorithm>
#include <cmath>

namespace safety {
namespace {

constexpr std::uint32_t entriesOfTable = 256;

Tables tablesOf(std::uint32_t id) {
    Tables tables;
    for (std::vector<float>& channel : tables) {
        channel.resize(entriesOfTable);
    }
    const bool readable =
        CGGetDisplayTransferByTable(id, entriesOfTable, tables[0].data(), tables[1].data(),
                                    tables[2].data(), nullptr) == kCGErrorSuccess;
    return readable ? tables : Tables();
}

Sight sightOf(const simulated_mac::DisplayStatus& status) {
    Sight sight;
    sight.connected = status.connected;
    sight.enabled = status.enabled;
    sight.main = status.main;
    sight.lit = status.lit;
    sight.asleep = status.asleep;
    sight.online = status.online;
    sight.mirrors = status.mirrors;
    sight.standby = status.power == "standby";
    sight.brightness = status.brightness;
    sight.tables = tablesOf(status.id);
    return sight;
}

} // namespace

bool Sight::isBlack() const {
    return !tables[0].empty() && std::ranges::all_of(tables, [](const auto& channel) {
        return std::ranges::all_of(channel, [](float value) { return value == 0; });
    });
}

bool areAlike(const Tables& some, const Tables& others) {
    constexpr float rounding = 0.0001F;
    const auto isClose = [](float a, float b) { return std::abs(a - b) < rounding; };
    return std::ranges::equal(some, others, [&](const auto& channel, const auto& other) {
        return std::ranges::equal(channel, other, isClose);
    });
}

std::string differenceOf(const Sight& before, const Sight& after) {
    std::string words;
    const auto compare = [&](const char* word, const auto member) {
        words +=
            before.*member == after.*member ? "" : std::string(words.empty() ? "" : ", ") + word;
    };
    compare("connected", &Sight::connected);
    compare("enabled", &Sight::enabled);
    compare("main", &Sight::main);
    compare("lit", &Sight::lit);
    compare("asleep", &Sight::asleep);
    compare("mirrors", &Sight::mirrors);
    compare("standby", &Sight::standby);
    compare("brightness", &Sight::brightness);
    if (!areAlike(before.tables, after.tables)) {
        words += words.empty() ? "tables" : ", tables";
    }
    return words;
}

std::size_t Desk::litDisplays() const {
    return static_cast<std::size_t>(
        std::ranges::count_if(displays, [](const auto& entry) { return entry.second.lit; }));
}

bool lostMaster(const Desk& before, const Desk& after, std::uint32_t id) {
    const auto gone = after.displays.find(id);
    return (gone == after.displays.end() || !gone->second.online) &&
           std::ranges::any_of(before.displays,
                               [id](const auto& entry) { return entry.second.mirrors == id; });
}

Desk lookAt(simulated_mac::Mac& mac) {
    const simulated_mac::InternalCalls unseen;
    Desk desk;
    for (const auto& status : mac.displays()) {
        desk.displays[status.id] = sightOf(status);
    }
    const auto stored = mac.storedDefaults();
    if (const auto found = stored.find("Veilpane.disconnectedDisplayIDs");
        found != stored.end() && found->is_array()) {
        for (const auto& id : *found) {
            desk.stored.insert(id.get<std::uint32_t>());
        }
    }
    return desk;
}

void calibrate(simulated_mac::Mac& mac) {
    const simulated_mac::InternalCalls unseen;
    float darker = 0;
    for (const auto& status : mac.displays()) {
        darker += 0.01F;
        Tables tables;
        for (std::size_t channel = 0; channel < tables.size(); ++channel) {
            for (std::uint32_t i = 0; i < entriesOfTable; ++i) {
                const float share = static_cast<float>(i) / static_cast<float>(entriesOfTable - 1);
                tables[channel].push_back(share *
                                          (1.0F - 0.1F * static_cast<float>(channel) - darker));
            }
        }
        (void)CGSetDisplayTransferByTable(status.id, entriesOfTable, tables[0].data(),
                                          tables[1].data(), tables[2].data());
    }
}

} // namespace safety
