#include "MacProbe/SceneRecording.h"

#include "MacProbe/DisplayFacts.h"
#include "MacProbe/GammaReadings.h"
#include "MacProbe/Json.h"
#include "MacProbe/ProfilerReport.h"
#include "MacProbe/RegistryTrees.h"
#include "MacProbe/Screens.h"
#include "MacProbe/SystemFacts.h"
#include "Veilpane/WindowServer/SkyLight.h"

#include <algorithm>
#include <optional>
#include <set>

namespace macprobe {

namespace {

/// Everything that is asked of the Mac, at one moment as far as possible.
struct Sight {
    DisplayListing listing = listDisplays();
    DisplayIDs displays = listing.all();
    std::map<CGDirectDisplayID, std::string> screens = screenNames();
    std::optional<std::vector<ProfiledDisplay>> profiled = profiledDisplays();
    std::vector<RegistryEntry> branches = displayBranches();
    std::map<CGDirectDisplayID, std::uint64_t> ports = servicePorts(displays);
};

Json notes() {
    return Json::Array{
        "A Mac's displays, as macprobe has found them. Please read it before you send it.",
        "It holds: the displays' IDs, kinds (vendor, model), sizes and names, which one is main, "
        "which "
        "one mirrors which, the length of their colour tables, the branches of the I/O registry "
        "that "
        "describe connectors and monitors, the version of macOS and the kind of processor.",
        "It holds no serial number, no name of a network, no path, no setting and no picture. It "
        "holds no name of a person or a Mac, but the displays' names, which may hold one: a "
        "display over Sidecar or AirPlay is named after its owner or device. Change a name here if "
        "it tells too much.",
        "It does not tell: whether a monitor obeys DDC/CI, how bright it is, displays that are "
        "unplugged, what Veilpane remembers, and how this Mac behaves when something changes."};
}

Json skyLight() {
    const bool configures = veilpane::SkyLight::configureDisplayEnabled() != nullptr;
    const bool lists = veilpane::SkyLight::getDisplayList() != nullptr;
    if (configures == lists) {
        return lists;
    }
    return Json::Array{lists ? "SLSGetDisplayList" : "SLSConfigureDisplayEnabled"};
}

// A mirrored display that can still be drawn on is mirrored by software.
std::optional<std::string> mirroring(const DisplayListing& listing) {
    for (const CGDirectDisplayID display : listing.online) {
        if (CGDisplayMirrorsDisplay(display) != kCGNullDirectDisplay) {
            return contains(listing.active, display) ? "software" : "hardware";
        }
    }
    return std::nullopt;
}

// What the questions answer about a display that is in no list: one number where they answer
// alike, and nothing where that is what they usually do.
void addUnknownAnswers(Json::Object& scene, const DisplayListing& listing) {
    const CGDirectDisplayID unknown = unusedID(listing);
    Json::Object each;
    std::set<std::int64_t> values;
    for (const Question& question : questions()) {
        const std::int64_t answer = static_cast<std::int32_t>(question.ask(unknown));
        each.emplace_back(question.name, answer);
        values.insert(answer);
    }
    if (values.size() > 1) {
        scene.emplace_back("unknownDisplayAnswers", std::move(each));
    } else if (*values.begin() != 0) {
        scene.emplace_back("unknownDisplayAnswers", *values.begin());
    }
}

// A scene names the master of a mirror set, also where another display of the set has become main.
CGDirectDisplayID mainOfScene(const DisplayListing& listing) {
    const CGDirectDisplayID main = mainDisplay(listing);
    const CGDirectDisplayID master = CGDisplayMirrorsDisplay(main);
    return master == kCGNullDirectDisplay ? main : master;
}

void addIf(Json::Object& object, const char* name, bool condition) {
    if (condition) {
        object.emplace_back(name, true);
    }
}

void addGamma(Json::Object& object, CGDirectDisplayID display) {
    const auto tables = readWholeGamma(display);
    if (!tables) {
        object.emplace_back("gamma", false);
        return;
    }
    object.emplace_back("gammaCapacity", tables->size());
    if (giveFirstEntries(readAtSeveralSizes(display))) {
        object.emplace_back("gammaReading", "truncate");
    }
}

void addSize(Json::Object& object, CGDirectDisplayID display) {
    const auto width = static_cast<std::uint32_t>(CGDisplayPixelsWide(display));
    const auto height = static_cast<std::uint32_t>(CGDisplayPixelsHigh(display));
    if (width > 0 && height > 0) {
        object.emplace_back("pixels", Json::Array{width, height});
    }
}

// What is not online has neither a size nor tables to ask for.
void addPicture(Json::Object& object, CGDirectDisplayID display) {
    addSize(object, display);
    addGamma(object, display);
    if (const auto master = CGDisplayMirrorsDisplay(display); master != kCGNullDirectDisplay) {
        object.emplace_back("mirrors", master);
    }
}

void addNames(Json::Object& object, CGDirectDisplayID display, const Sight& sight) {
    if (const auto screen = sight.screens.find(display); screen != sight.screens.end()) {
        object.emplace_back("screenName", screen->second);
    }
    const auto name = sight.profiled ? nameOf(*sight.profiled, hexadecimal(display)) : std::nullopt;
    if (name) {
        object.emplace_back("profilerName", *name);
    }
}

Json displayInScene(CGDirectDisplayID display, const Sight& sight) {
    Json::Object object = {{"id", display},
                           {"vendor", CGDisplayVendorNumber(display)},
                           {"model", CGDisplayModelNumber(display)}};
    addIf(object, "builtin", CGDisplayIsBuiltin(display) == 1);
    addIf(object, "main", display == mainOfScene(sight.listing));
    addNames(object, display, sight);
    if (contains(sight.listing.online, display)) {
        addPicture(object, display);
    } else {
        object.emplace_back("enabled", false);
    }
    object.emplace_back("servicePort", sight.ports.contains(display));
    return object;
}

Json displaysInScene(const Sight& sight) {
    Json::Array displays;
    for (const CGDirectDisplayID display : sight.displays) {
        displays.push_back(displayInScene(display, sight));
    }
    return displays;
}

void addSystem(Json::Object& scene) {
    if (const auto version = macOSVersion()) {
        scene.emplace_back("macOS", *version);
    }
    if (const auto processor = processorKind()) {
        scene.emplace_back("processor", *processor);
    }
}

Json::Object sceneOf(const Sight& sight) {
    Json::Object scene = {{"notes", notes()}};
    addSystem(scene);
    scene.emplace_back("skylight", skyLight());
    if (const auto kind = mirroring(sight.listing)) {
        scene.emplace_back("mirroring", *kind);
    }
    addUnknownAnswers(scene, sight.listing);
    if (!sight.profiled) {
        scene.emplace_back("profiler", Json::Object{{"missing", true}});
    }
    scene.emplace_back("displays", displaysInScene(sight));
    scene.emplace_back("registry", sceneRegistry(sight.branches, sight.ports));
    return scene;
}

} // namespace

std::expected<std::string, std::string> recordScene() {
    const Sight sight;
    if (sight.listing.online.empty()) {
        return std::unexpected(nothingOnline);
    }
    return Json(sceneOf(sight)).text() + "\n";
}

} // namespace macprobe
