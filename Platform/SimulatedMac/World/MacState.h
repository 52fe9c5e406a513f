#pragma once

#include "SimulatedMac/World/GammaTable.h"
#include "SimulatedMac/World/ProcessIdentity.h"
#include "SimulatedMac/World/Scene.h"

#include <cstdint>
#include <map>
#include <optional>
#include <span>
#include <string>
#include <vector>

namespace simulated_mac {

/// The arrangement of displays at one moment, and the rules by which it changes. It knows nothing
/// of files or calls.
class MacState {
public:
    /// The Mac as the scene describes it.
    explicit MacState(const Scene& scene);

    /// A stored state of the same Mac. Displays that the scene has gained are plugged in, those
    /// that it has lost are gone. Throws nlohmann::json::exception for what is no state.
    MacState(const Scene& scene, const nlohmann::json& stored);
    [[nodiscard]] nlohmann::json toJson() const;

    // Lists, in the order of the scene.
    [[nodiscard]] std::vector<uint32_t> known() const;  ///< connected, disabled ones included
    [[nodiscard]] std::vector<uint32_t> online() const; ///< connected and enabled
    [[nodiscard]] std::vector<uint32_t> active() const; ///< drawable; main first
    [[nodiscard]] std::optional<uint32_t> main() const;

    // Questions; false or 0 for an unknown display.
    [[nodiscard]] bool isKnown(uint32_t id) const;
    [[nodiscard]] bool isOnline(uint32_t id) const;
    [[nodiscard]] bool isActive(uint32_t id) const;
    [[nodiscard]] bool isInMirrorSet(uint32_t id) const;
    [[nodiscard]] uint32_t mirrorMaster(uint32_t id) const;
    [[nodiscard]] bool isConnected(uint32_t id) const;
    [[nodiscard]] bool isEnabled(uint32_t id) const;
    [[nodiscard]] bool isInStandby(uint32_t id) const;
    [[nodiscard]] int brightness(uint32_t id) const;
    [[nodiscard]] int droppedMessages(uint32_t id) const;

    // Configuration. A permanent change is the session's change as well.
    void setEnabled(uint32_t id, bool enabled, bool permanently);
    void setMirrorMaster(uint32_t id, uint32_t master, bool permanently);

    // What a person does.
    void unplug(uint32_t id);
    void plug(uint32_t id);
    void logOut();
    void reboot();

    // Gamma.
    [[nodiscard]] GammaTable gamma(uint32_t id) const;      ///< of the display's capacity
    [[nodiscard]] std::string gammaKind(uint32_t id) const; ///< "normal", "zero" or "other"
    /// A table of another size than the display's is resampled.
    void setGamma(uint32_t id, const GammaTable& table, const ProcessIdentity& owner);
    void resetGamma();

    void monitorReceives(uint32_t id, uint32_t address, std::span<const uint8_t> bytes);

private:
    struct Layer {
        bool enabled = true;
        uint32_t mirrors = 0;
    };
    struct OwnedGamma {
        GammaTable table;
        ProcessIdentity owner;
    };
    struct Display {
        bool connected = true;
        Layer session;
        Layer permanent;
        int brightness = 0;
        bool standby = false;
        int droppedMessages = 0;
        std::optional<OwnedGamma> gamma;
    };

    static Display initialDisplay(const SceneDisplay& display);
    static Display storedDisplay(const nlohmann::json& stored);
    static nlohmann::json toJson(const Display& display);
    using Question = bool (MacState::*)(uint32_t id) const;
    [[nodiscard]] std::vector<uint32_t> displaysThat(Question isSo) const;
    [[nodiscard]] const Display* find(uint32_t id) const;
    [[nodiscard]] const OwnedGamma* liveGamma(uint32_t id) const;
    [[nodiscard]] bool isDrawable(uint32_t id) const;
    void endSession();

    std::vector<uint32_t> order_;
    std::optional<uint32_t> sceneMain_;
    bool softwareMirroring_;
    std::map<uint32_t, Display> displays_;
    std::map<uint32_t, uint32_t> gammaCapacities_; // the hardware's, not stored
};

} // namespace simulated_mac
