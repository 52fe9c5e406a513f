#pragma once

#include "SimulatedMac/World/Field.h"
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
    /// that it has lost are gone. Throws InputError, which names `source` and the key, for what is
    /// no state.
    MacState(const Scene& scene, const nlohmann::json& stored, const std::string& source = "state");
    MacState(const Scene& scene, const Field& stored);
    [[nodiscard]] nlohmann::json toJson() const;

    // Lists, in the order of the scene.
    [[nodiscard]] std::vector<uint32_t> known() const;   ///< connected, disabled ones included
    [[nodiscard]] std::vector<uint32_t> online() const;  ///< connected and enabled
    [[nodiscard]] std::vector<uint32_t> active() const;  ///< drawable; main first
    [[nodiscard]] std::vector<uint32_t> screens() const; ///< with a desktop; main first
    [[nodiscard]] std::optional<uint32_t> main() const;
    /// The current IDs of all displays, unplugged ones included, in the order of the scene.
    [[nodiscard]] const std::vector<uint32_t>& ids() const { return order_; }
    /// Differs after every plugging in and pulling out.
    [[nodiscard]] int pluggings() const;
    /// Whether the lists, the main display and the mirror sets are the same.
    [[nodiscard]] bool looksLike(const MacState& other) const;

    // Questions; false or 0 for an unknown display.
    [[nodiscard]] bool isKnown(uint32_t id) const;
    [[nodiscard]] bool isOnline(uint32_t id) const;
    [[nodiscard]] bool isActive(uint32_t id) const;
    [[nodiscard]] bool isInMirrorSet(uint32_t id) const;
    [[nodiscard]] uint32_t mirrorMaster(uint32_t id) const;
    [[nodiscard]] bool isConnected(uint32_t id) const;
    [[nodiscard]] bool isEnabled(uint32_t id) const;
    [[nodiscard]] bool isAsleep(uint32_t id) const; ///< a closed lid included
    [[nodiscard]] bool isInStandby(uint32_t id) const;
    [[nodiscard]] int brightness(uint32_t id) const;
    [[nodiscard]] int droppedMessages(uint32_t id) const;

    // Configuration. A permanent change is the session's change as well. What belongs to one
    // configuration ends with `finishConfiguration`. A display that has got another ID since the
    // configuration named it is left alone.
    void setEnabled(uint32_t id, bool enabled, bool permanently);
    void setMirrorMaster(uint32_t id, uint32_t master, bool permanently);
    void setMain(uint32_t id, bool permanently);
    void finishConfiguration(bool permanently);
    /// Forgets what was configured for the session.
    void restorePermanent();

    // What a person does.
    void unplug(uint32_t id);
    void plug(uint32_t id);
    /// Plugs it in anew under another ID. The unplugged display that had this one gets the old ID.
    /// Throws std::invalid_argument for 0 and the ID of a display that is plugged in.
    void plugAs(uint32_t id, uint32_t newID);
    void sleep();
    void wake();
    void closeLid(uint32_t builtin);
    void openLid(uint32_t builtin);
    void logOut();
    void reboot();
    /// Restarts the Mac, after which each display has the ID of the next one in the scene.
    void rebootRenumbered();

    // Gamma. What is set for an unknown display is lost.
    [[nodiscard]] GammaTable gamma(uint32_t id) const;      ///< of the display's capacity
    [[nodiscard]] std::string gammaKind(uint32_t id) const; ///< "normal", "zero" or "other"
    /// A table of another size than the display's is resampled.
    void setGamma(uint32_t id, GammaTable table, const ProcessIdentity& owner);
    void resetGamma();
    /// Forgets the tables of processes that have ended, and does what their end does.
    void forgetEndedOwners();

    void monitorReceives(uint32_t id, uint32_t address, std::span<const uint8_t> bytes);

private:
    struct Layer {
        bool enabled = true;
        uint32_t mirrors = 0;
        bool main = false; ///< made the main display since the scene was set up
    };
    struct OwnedGamma {
        GammaTable table;
        ProcessIdentity owner; ///< number 0: the window server's own
    };
    struct Display {
        uint32_t sceneID = 0;
        PixelSize pixels;
        uint32_t gammaCapacity = 256;
        bool connected = true;
        int pluggings = 0;
        bool asleep = false;
        bool lidClosed = false;
        Layer session;
        Layer permanent;
        int brightness = 0;
        bool standby = false;
        int droppedMessages = 0;
        std::optional<OwnedGamma> gamma;
    };

    static Display initialDisplay(const SceneDisplay& display);
    static Layer storedLayer(const Field& stored);
    static OwnedGamma storedGamma(const Field& stored, std::size_t entries);
    static void restore(Display& display, const Field& stored);
    [[nodiscard]] nlohmann::json toJson(uint32_t id, const Display& display) const;
    [[nodiscard]] nlohmann::json toJson(const Layer& layer) const;
    using Question = bool (MacState::*)(uint32_t id) const;
    [[nodiscard]] std::vector<uint32_t> displaysThat(Question isSo) const;
    [[nodiscard]] const Display* find(uint32_t id) const;
    [[nodiscard]] const OwnedGamma* liveGamma(uint32_t id) const;
    [[nodiscard]] static bool hasEndedOwner(const Display& display);
    [[nodiscard]] bool isZeroedByAnEnd(uint32_t id) const;
    [[nodiscard]] bool hasDesktop(uint32_t id) const;
    [[nodiscard]] bool isOffBehindClosedLid(uint32_t id) const;
    [[nodiscard]] uint32_t mainOfSet(uint32_t id) const;
    [[nodiscard]] std::vector<uint32_t> mainFirst(std::vector<uint32_t> ids) const;
    [[nodiscard]] bool keeps(bool permanently) const;
    void setConnected(Display& display, bool connected);
    void reloadGamma();
    void endSession();
    void giveStoredIDs(const nlohmann::json& stored);
    void renumber(const std::map<uint32_t, uint32_t>& newIDs);

    std::vector<uint32_t> order_;
    std::optional<uint32_t> sceneMain_;
    bool softwareMirroring_;
    SceneHabits habits_;
    std::map<uint32_t, Display> displays_;
};

} // namespace simulated_mac
