#include "SimulatedMac/World/Scene.h"

#include "SimulatedMac/World/Field.h"
#include "SimulatedMac/World/HabitReaders.h"
#include "SimulatedMac/World/HardwareRegistry.h"
#include "SimulatedMac/World/JsonText.h"
#include "SimulatedMac/World/SceneEvents.h"
#include "SimulatedMac/World/SceneFaults.h"
#include "SimulatedMac/World/StoredDefaults.h"

#include <algorithm>
#include <set>

namespace simulated_mac {
namespace {

using nlohmann::json;

/// More than anybody has, and few enough to be drawn and gone through again and again.
constexpr std::size_t mostDisplays = 64;
constexpr std::size_t mostNodes = 4096;

MonitorDDC readMonitor(const Field& field) {
    MonitorDDC monitor;
    field.eachMember({
        {"brightness",
         [&](const Field& f) { monitor.brightness = static_cast<int>(f.integer(0, 100)); }},
        {"open", [&](const Field& f) { monitor.open = f.status(); }},
        {"send", [&](const Field& f) { monitor.send = f.status(); }},
        {"result", [&](const Field& f) { monitor.result = f.status(); }},
        {"minGapCalls", [&](const Field& f) { monitor.minGapCalls = f.word(); }},
        {"deafInStandby", [&](const Field& f) { monitor.deafInStandby = f.boolean(); }},
    });
    return monitor;
}

std::optional<MonitorDDC> readDDC(const Field& field) {
    if (field.value().is_boolean()) {
        return field.value().get<bool>() ? std::optional(MonitorDDC()) : std::nullopt;
    }
    return readMonitor(field);
}

PixelSize readPixels(const Field& field) {
    field.require(field.value().is_array() && field.value().size() == 2, "[width, height]");
    constexpr int64_t longestSide = 1 << 20;
    return {static_cast<uint32_t>(field.element(0).integer(1, longestSide)),
            static_cast<uint32_t>(field.element(1).integer(1, longestSide))};
}

GammaReading readGammaReading(const Field& field) {
    field.require(field.value() == "resample" || field.value() == "truncate",
                  "\"resample\" or \"truncate\"");
    return field.value() == "truncate" ? GammaReading::truncate : GammaReading::resample;
}

SceneDisplay readDisplay(const Field& field) {
    SceneDisplay display;
    field.eachMember({
        {"id", [&](const Field& f) { display.id = f.word(); }},
        {"vendor", [&](const Field& f) { display.vendor = f.word(); }},
        {"model", [&](const Field& f) { display.model = f.word(); }},
        {"builtin", [&](const Field& f) { display.builtin = f.boolean(); }},
        {"main", [&](const Field& f) { display.main = f.boolean(); }},
        {"connected", [&](const Field& f) { display.connected = f.boolean(); }},
        {"enabled", [&](const Field& f) { display.enabled = f.boolean(); }},
        {"mirrors", [&](const Field& f) { display.mirrors = f.word(); }},
        {"pixels", [&](const Field& f) { display.pixels = readPixels(f); }},
        {"profilerName", [&](const Field& f) { display.profilerName = f.text(); }},
        {"screenName", [&](const Field& f) { display.screenName = f.text(); }},
        {"registryName", [&](const Field& f) { display.registryName = f.text(); }},
        {"gamma", [&](const Field& f) { display.gamma = f.boolean(); }},
        {"gammaCapacity",
         [&](const Field& f) {
             display.gammaCapacity = static_cast<uint32_t>(f.integer(2, 65536));
         }},
        {"gammaReading", [&](const Field& f) { display.gammaReading = readGammaReading(f); }},
        {"ddc", [&](const Field& f) { display.ddc = readDDC(f); }},
        {"servicePort", [&](const Field& f) { display.servicePort = f.boolean(); }},
    });
    if (!field.value().contains("id")) {
        field.reject("id is missing");
    }
    if (display.id == 0) {
        field.member("id").reject("0 is no display");
    }
    return display;
}

bool isHex(const std::string& digits) {
    return digits.size() % 2 == 0 &&
           digits.find_first_not_of("0123456789abcdefABCDEF") == std::string::npos;
}

void checkData(const Field& field) {
    field.eachMember({{"data", [](const Field& f) {
                           f.require(isHex(f.text()), "pairs of hexadecimal digits");
                       }}});
}

/// Whatever JSON can say but null, which is no object of the registry.
void checkProperty(const Field& field) {
    const json& value = field.value();
    field.require(!value.is_null(), "a number, a text, true, false, an array or an object");
    if (value.is_array()) {
        field.eachElement(checkProperty);
    } else if (value.is_object() && value.contains("data") && value.size() == 1) {
        checkData(field);
    } else if (value.is_object()) {
        field.eachKey([](const std::string&, const Field& member) { checkProperty(member); });
    }
}

RegistryNode readNode(const Field& field) {
    RegistryNode node;
    field.eachMember({
        {"class", [&](const Field& f) { node.className = f.text(); }},
        {"properties",
         [&](const Field& f) {
             f.eachKey([](const std::string&, const Field& member) { checkProperty(member); });
             node.properties = f.value();
         }},
        {"i2cBuses", [&](const Field& f) { node.i2cBuses = static_cast<int>(f.integer(0, 256)); }},
        {"display", [&](const Field& f) { node.connectorOf = f.word(); }},
        {"children",
         [&](const Field& f) {
             f.eachElement([&](const Field& child) { node.children.push_back(readNode(child)); });
         }},
    });
    if (node.className.empty()) {
        field.reject("class is missing");
    }
    return node;
}

std::optional<std::vector<std::string>> readSkyLight(const Field& field) {
    if (field.value().is_boolean()) {
        return field.value().get<bool>() ? std::optional<std::vector<std::string>>(
                                               {"SLSConfigureDisplayEnabled", "SLSGetDisplayList"})
                                         : std::nullopt;
    }
    std::vector<std::string> exported;
    field.eachElement([&](const Field& f) {
        f.require(f.text() == "SLSConfigureDisplayEnabled" || f.text() == "SLSGetDisplayList",
                  "SLSConfigureDisplayEnabled or SLSGetDisplayList");
        exported.push_back(f.text());
    });
    return exported;
}

/// One number for all questions, or one for each.
std::map<std::string, int32_t> readUnknownAnswers(const Field& field) {
    field.require(field.value().is_number() || field.value().is_object(), "a number or an object");
    std::map<std::string, int32_t> answers;
    Field::Readers readers;
    for (const char* const question : {"CGDisplayIsActive", "CGDisplayIsOnline", "CGDisplayIsMain",
                                       "CGDisplayIsBuiltin", "CGDisplayIsInMirrorSet"}) {
        readers[question] = [&answers, question](const Field& f) {
            answers[question] = static_cast<int32_t>(f.integer(INT32_MIN, INT32_MAX));
        };
    }
    if (field.value().is_object()) {
        field.eachMember(readers);
        return answers;
    }
    for (const auto& [question, read] : readers) {
        read(field);
    }
    return answers;
}

std::size_t countOf(const std::vector<RegistryNode>& nodes) {
    std::size_t count = nodes.size();
    for (const RegistryNode& node : nodes) {
        count += countOf(node.children);
    }
    return count;
}

Hardware readHardware(const Field& field) {
    field.require(field.value() == "intel" || field.value() == "apple-silicon",
                  "\"intel\" or \"apple-silicon\"");
    return field.value() == "intel" ? Hardware::intel : Hardware::appleSilicon;
}

const SceneDisplay* findDisplay(const Scene& scene, uint32_t id) {
    const auto found = std::ranges::find(scene.displays, id, &SceneDisplay::id);
    return found == scene.displays.end() ? nullptr : &*found;
}

/// The problems that no single key shows; each names the display that it is about.
void checkDisplays(const Scene& scene, const Field& displays) {
    std::set<uint32_t> ids;
    bool hasMain = false;
    for (std::size_t i = 0; i < scene.displays.size(); ++i) {
        const SceneDisplay& display = scene.displays[i];
        const Field field = displays.element(i);
        if (!ids.insert(display.id).second) {
            field.member("id").reject("another display has the ID " + std::to_string(display.id));
        }
        if (display.main && std::exchange(hasMain, true)) {
            field.member("main").reject("another display is the main one");
        }
        if (display.main && (!display.connected || !display.enabled || display.mirrors != 0)) {
            field.member("main").reject(
                "the main display must be connected, enabled and no mirror");
        }
        if (display.mirrors == 0) {
            continue;
        }
        const SceneDisplay* const master = findDisplay(scene, display.mirrors);
        if (master == nullptr || master == &display || master->mirrors != 0) {
            field.member("mirrors").reject("must be another display that mirrors none itself");
        }
    }
}

void checkConnectors(const Scene& scene, const std::vector<RegistryNode>& nodes,
                     const Field& registry) {
    for (std::size_t i = 0; i < nodes.size(); ++i) {
        const Field field = registry.element(i);
        if (nodes[i].connectorOf && findDisplay(scene, *nodes[i].connectorOf) == nullptr) {
            field.member("display").reject("no display " + std::to_string(*nodes[i].connectorOf));
        }
        if (!nodes[i].children.empty()) {
            checkConnectors(scene, nodes[i].children, field.member("children"));
        }
    }
}

json monitorProperties(const SceneDisplay& display) {
    return {{"DisplayVendorID", display.vendor},
            {"DisplayProductID", display.model},
            {"DisplayProductName", {{"en_US", display.registryName.value_or("")}}}};
}

/// Intel's tree: a framebuffer for each connector, with an I2C interface where DDC works and, where
/// the monitor has told its name, a node with it.
RegistryNode impliedNode(const SceneDisplay& display) {
    RegistryNode framebuffer{
        "IOFramebuffer", {{"DisplayID", display.id}}, 0, std::nullopt, std::nullopt, {}};
    if (display.ddc) {
        framebuffer.i2cBuses = 1;
        framebuffer.children.push_back(
            {"IOFramebufferI2CInterface", json::object(), 0, std::nullopt, std::nullopt, {}});
    }
    if (display.registryName) {
        framebuffer.children.push_back(
            {"IODisplayConnect", monitorProperties(display), 0, std::nullopt, std::nullopt, {}});
    }
    return framebuffer;
}

std::vector<RegistryNode> impliedRegistry(const Scene& scene) {
    std::vector<RegistryNode> nodes;
    std::ranges::transform(scene.displays, std::back_inserter(nodes), impliedNode);
    return nodes;
}

std::optional<uint32_t> numberOf(const json& properties, const char* key) {
    const auto property = properties.find(key);
    if (property == properties.end() || !property->is_number_integer()) {
        return std::nullopt;
    }
    return static_cast<uint32_t>(property->get<int64_t>());
}

std::optional<uint32_t> displayNamedBy(const json& properties, const Scene& scene) {
    for (const SceneDisplay& display : scene.displays) {
        if (numberOf(properties, "DisplayID") == display.id) {
            return display.id;
        }
    }
    const auto vendor = numberOf(properties, "DisplayVendorID");
    const auto product = numberOf(properties, "DisplayProductID");
    for (const SceneDisplay& display : scene.displays) {
        if (vendor == display.vendor && product == display.model) {
            return display.id;
        }
    }
    return std::nullopt;
}

std::optional<uint32_t> onlyDisplayWithDDC(const Scene& scene) {
    const auto hasDDC = [](const SceneDisplay& display) { return display.ddc.has_value(); };
    return std::ranges::count_if(scene.displays, hasDDC) == 1
               ? std::optional(std::ranges::find_if(scene.displays, hasDDC)->id)
               : std::nullopt;
}

void connectBuses(RegistryNode& node, const Scene& scene) {
    if (node.connectorOf) {
        node.busDisplay = node.connectorOf;
    } else if (node.i2cBuses > 0) {
        node.busDisplay = displayNamedBy(node.properties, scene);
        for (const RegistryNode& child : node.children) {
            node.busDisplay =
                node.busDisplay ? node.busDisplay : displayNamedBy(child.properties, scene);
        }
        node.busDisplay = node.busDisplay ? node.busDisplay : onlyDisplayWithDDC(scene);
    }
    for (RegistryNode& child : node.children) {
        connectBuses(child, scene);
    }
}

bool isMonitorNode(const RegistryNode& node) {
    return node.className == "IODisplayConnect" || node.className == "AppleDisplay" ||
           node.className == "AppleBacklightDisplay" || node.className == "IOBacklightDisplay" ||
           node.className == "IODisplay";
}

std::optional<uint32_t> displayInTree(const RegistryNode& node, const Scene& scene) {
    auto display = displayNamedBy(node.properties, scene);
    for (const RegistryNode& child : node.children) {
        display = display ? display : displayInTree(child, scene);
    }
    return display;
}

/// Intel's nodes that stand for a monitor. The connector above is surer to tell which one than the
/// vendor and product that two monitors may share.
void connectMonitors(RegistryNode& node, std::optional<uint32_t> above, const Scene& scene) {
    const auto named = above ? above : displayNamedBy(node.properties, scene);
    const auto display = node.connectorOf ? node.connectorOf : named;
    if (isMonitorNode(node)) {
        node.display = display ? display : displayInTree(node, scene);
    }
    for (RegistryNode& child : node.children) {
        connectMonitors(child, display, scene);
    }
}

/// On an Intel Mac CoreGraphics knows the framebuffer of a display, unless the scene says
/// otherwise.
void addServicePorts(Scene& scene, const json& displays) {
    for (std::size_t i = 0; i < scene.displays.size(); ++i) {
        scene.displays[i].servicePort =
            scene.displays[i].servicePort || !displays[i].contains("servicePort");
    }
}

constexpr const char* deskText = R"({
  "skylight": true,
  "displays": [
    { "id": 1, "vendor": 1552, "model": 41040, "builtin": true, "main": true,
      "profilerName": "Color LCD", "screenName": "Built-in Display" },
    { "id": 2, "vendor": 25001, "model": 7, "profilerName": "Studio", "screenName": "Studio",
      "registryName": "Studio", "ddc": { "brightness": 40 } },
    { "id": 3, "vendor": 7789, "model": 30471, "profilerName": "Side", "screenName": "Side" }
  ]
})";

} // namespace

Scene Scene::parse(const std::string& text, const std::string& source) {
    const json document = parseJson(text, source);
    const Field root(document, source);
    Scene scene;
    scene.text = text;
    scene.skyLight = {"SLSConfigureDisplayEnabled", "SLSGetDisplayList"};
    bool registryGiven = false;
    Field::Readers readers = {
        {"skylight", [&](const Field& f) { scene.skyLight = readSkyLight(f); }},
        {"mirroring",
         [&](const Field& f) {
             f.require(f.value() == "software" || f.value() == "hardware",
                       "\"software\" or \"hardware\"");
             scene.softwareMirroring = f.value() == "software";
         }},
        {"notes", [](const Field& f) { f.eachElement([](const Field& n) { (void)n.text(); }); }},
        {"macOS", [&](const Field& f) { scene.macOS = f.text(); }},
        {"processor",
         [&](const Field& f) {
             f.require(f.value() == "arm64" || f.value() == "x86_64", "\"arm64\" or \"x86_64\"");
             scene.processor = f.text();
         }},
        {"gammaReading", [&](const Field& f) { scene.gammaReading = readGammaReading(f); }},
        {"unknownDisplayAnswers",
         [&](const Field& f) { scene.unknownDisplayAnswers = readUnknownAnswers(f); }},
        {"displays",
         [&](const Field& f) {
             f.eachElement([&](const Field& d) { scene.displays.push_back(readDisplay(d)); });
             if (scene.displays.size() > mostDisplays) {
                 f.reject("more than " + std::to_string(mostDisplays));
             }
         }},
        {"registry",
         [&](const Field& f) {
             registryGiven = true;
             f.eachElement([&](const Field& n) { scene.registry.push_back(readNode(n)); });
             if (countOf(scene.registry) > mostNodes) {
                 f.reject("more than " + std::to_string(mostNodes) + " nodes");
             }
         }},
        {"defaults",
         [&](const Field& f) {
             checkDefaults(f);
             scene.defaults = f.value();
         }},
        {"hardware", [&](const Field& f) { scene.hardware = readHardware(f); }},
        {"profiler", [&](const Field& f) { readProfiler(f, scene); }},
        {"faults",
         [&](const Field& f) {
             f.eachElement([&](const Field& fault) { scene.faults.push_back(readFault(fault)); });
         }},
        {"events", [&](const Field& f) { scene.events = readEvents(f); }},
    };
    readers.merge(habitReaders(scene.habits));
    root.eachMember(readers);
    if (document.contains("displays")) {
        checkDisplays(scene, root.member("displays"));
    }
    if (registryGiven) {
        checkConnectors(scene, scene.registry, root.member("registry"));
    }
    checkHabits(scene, root);
    if (document.contains("events")) {
        checkEvents(scene, root.member("events"));
    }
    if (scene.hardware == Hardware::intel && document.contains("displays")) {
        addServicePorts(scene, document["displays"]);
    }
    if (!registryGiven && scene.hardware != Hardware::mixture) {
        scene.registry = hardwareRegistry(scene.hardware, scene.displays);
        return scene;
    }
    if (!registryGiven) {
        scene.registry = impliedRegistry(scene);
    }
    for (RegistryNode& node : scene.registry) {
        connectBuses(node, scene);
        connectMonitors(node, std::nullopt, scene);
    }
    return scene;
}

Scene Scene::desk() {
    return parse(deskText, "built-in scene");
}

} // namespace simulated_mac
