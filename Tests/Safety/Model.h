#pragma once

#include "Safety/Promise.h"
#include "Safety/Rules.h"
#include "SimulatedMac/World/Scene.h"

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace safety {

/// The displays to whose monitors the Mac's buses lead, one for each framebuffer that has buses;
/// none where they lead nowhere.
[[nodiscard]] std::vector<std::optional<std::uint32_t>>
busDisplays(const simulated_mac::Scene& scene);

/// Whether the registry tells which framebuffer is the display's.
[[nodiscard]] bool isNamedInRegistry(const simulated_mac::Scene& scene, std::uint32_t id);

/// Whether another display's monitor is taken for that of this one: there is one bus, and the
/// display is not there or not named.
[[nodiscard]] bool mayReachAnother(const simulated_mac::Scene& scene, const Desk& desk,
                                   std::uint32_t id);

[[nodiscard]] bool hasInSkyLight(const simulated_mac::Scene& scene, const char* function);

/// What a power operation makes of a desk when nothing goes wrong, worked out from what stood there
/// before. Of the calls it looks only at the messages that reached a monitor; one whose bus the
/// scene tells of must get them.
class Model {
public:
    /// The scene must live as long as the model.
    explicit Model(const simulated_mac::Scene& scene) : scene_(scene) {}

    /// Whether it can tell: lists that lag behind, monitors that lose messages, displays that are
    /// not there and tables that nobody has seen are left to the rules.
    [[nodiscard]] bool knows(const Switching& done) const;

    /// Empty, or in what the result or the desk is another one than due, in words. `known` is what
    /// the process knew before.
    [[nodiscard]] std::string difference(const Switching& done, const Memory& known) const;

private:
    struct Due {
        std::string method;
        bool success = true;
        Desk desk;
    };
    [[nodiscard]] Due switchedOff(const Switching& done, const Memory& known) const;
    [[nodiscard]] Due switchedOn(const Switching& done, const Memory& known) const;
    void letGo(Desk& desk, const Switching& done) const;
    void blackOut(Desk& desk, std::uint32_t id) const;
    [[nodiscard]] Due fallenBack(const Switching& done) const;
    [[nodiscard]] bool has(const char* function) const;
    [[nodiscard]] bool takesMessages(std::uint32_t id) const;
    [[nodiscard]] bool isOurs(const Switching& done, const Memory& known) const;
    [[nodiscard]] bool draws(const Sight& sight) const;
    void applyMessages(Desk& desk, const Switching& done) const;

    const simulated_mac::Scene& scene_;
};

} // namespace safety
