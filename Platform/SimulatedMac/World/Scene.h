#pragma once

#include "SimulatedMac/World/InputError.h"
#include "SimulatedMac/World/SceneEvent.h"
#include "SimulatedMac/World/SceneFault.h"
#include "SimulatedMac/World/SceneHabits.h"
#include "SimulatedMac/World/SceneProfiler.h"

#include <cstdint>
#include <map>
#include <nlohmann/json.hpp>
#include <optional>
#include <string>
#include <vector>

namespace simulated_mac {

/// A scene that does not describe a possible Mac. The text names the source (a file name or
/// "built-in scene") and the key.
using SceneError = InputError;

/// How a display's monitor answers DDC/CI; the codes are IOReturn values.
struct MonitorDDC {
    int brightness = 50; ///< percent, when the monitor is first plugged in
    int32_t open = 0;    ///< what IOI2CInterfaceOpen returns
    int32_t send = 0;    ///< what IOI2CSendRequest returns
    int32_t result = 0;  ///< what the request's result field holds afterwards
    /// How many other platform calls must lie between two messages that it takes.
    uint32_t minGapCalls = 0;
    bool deafInStandby = false; ///< it takes no message in standby, also not to wake up
};

/// What a caller gets whose gamma tables are shorter than the display's.
enum class GammaReading {
    resample, ///< the whole curve in fewer entries
    truncate, ///< the first entries
};

/// A display's size; both 0 when the scene does not tell.
struct PixelSize {
    uint32_t width = 0;
    uint32_t height = 0;

    [[nodiscard]] uint64_t area() const { return uint64_t{width} * height; }
};

struct SceneDisplay {
    uint32_t id = 0;
    uint32_t vendor = 0;
    uint32_t model = 0;
    bool builtin = false;
    bool main = false;
    bool connected = true;
    bool enabled = true;
    uint32_t mirrors = 0; ///< the ID of the mirror master, 0 for none
    PixelSize pixels;
    std::optional<std::string> profilerName;
    std::optional<std::string> screenName;
    std::optional<std::string> registryName;
    bool gamma = true;                        ///< false: its tables cannot be read
    uint32_t gammaCapacity = 256;             ///< how many entries its tables have
    std::optional<GammaReading> gammaReading; ///< the scene's if not given
    std::optional<MonitorDDC> ddc;
    /// CGDisplayIOServicePort answers the first registry node with this display's DisplayID, as on
    /// Intel Macs; otherwise 0, as on Apple silicon.
    bool servicePort = false;
};

/// One node of the I/O registry, with its children in the plane "IOService".
struct RegistryNode {
    std::string className;
    nlohmann::json properties = nlohmann::json::object();
    int i2cBuses = 0;
    /// The display whose monitor hangs on the buses, if any: the one of the node's or a child's
    /// DisplayID, else of its vendor and product, else the only one with DDC.
    std::optional<uint32_t> busDisplay;
    /// Set for nodes that come and go with a monitor: the display that they describe.
    std::optional<uint32_t> display;
    std::vector<RegistryNode> children;
    /// The display on this connector, where the scene says so itself: the buses lead there, and
    /// CoreGraphics knows the node as that display's port.
    std::optional<uint32_t> connectorOf = std::nullopt;
};

/// What the registry that the displays imply is shaped like.
enum class Hardware {
    mixture, ///< of both kinds, for demonstration
    intel,
    appleSilicon,
};

struct Scene {
    std::string text;                     ///< what it was read from
    std::optional<std::string> macOS;     ///< its version, as in "14.2.1"
    std::optional<std::string> processor; ///< "arm64" or "x86_64"
    bool softwareMirroring = false;
    /// The functions that SkyLight exports; absent when there is no SkyLight at all.
    std::optional<std::vector<std::string>> skyLight;
    GammaReading gammaReading = GammaReading::resample;
    /// What the CGDisplayIs… questions answer about a display that is in no list, by the call's
    /// name; 0 where there is none.
    std::map<std::string, int32_t> unknownDisplayAnswers;
    std::vector<SceneDisplay> displays;
    Hardware hardware = Hardware::mixture;
    std::vector<RegistryNode> registry; ///< as given, or what the displays imply
    nlohmann::json defaults = nlohmann::json::object();
    std::optional<std::string> profilerOutput; ///< instead of the JSON made from the names
    bool profilerMissing = false;
    std::optional<std::string> profilerExecutable; ///< what is launched instead of the stand-in
    ProfilerManners profilerManners;
    std::vector<SceneFault> faults;
    std::vector<SceneEvent> events;
    SceneHabits habits;

    /// Reads a scene file's text. Throws SceneError, which names `source` and the key.
    static Scene parse(const std::string& text, const std::string& source);
    /// The built-in scene: 1 built-in and main without DDC, 2 with DDC, 3 without DDC, SkyLight.
    static Scene desk();
};

} // namespace simulated_mac
