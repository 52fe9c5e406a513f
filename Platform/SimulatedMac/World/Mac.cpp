#include "SimulatedMac/World/Mac.h"

#include "SimulatedMac/World/Complaint.h"
#include "SimulatedMac/World/Ledger.h"
#include "SimulatedMac/World/MacState.h"
#include "SimulatedMac/World/StateDirectory.h"

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <map>
#include <sstream>
#include <stdexcept>
#include <unistd.h>

namespace simulated_mac {
namespace {

constexpr const char* stateFile = "state.json";
constexpr const char* defaultsFile = "defaults.json";
constexpr const char* logFile = "calls.jsonl";

constexpr int stateVersion = 1;
constexpr std::size_t logBufferSize = 1 << 16;

std::string environment(const char* name) {
    const char* const value = std::getenv(name);
    return value == nullptr ? "" : value;
}

std::string defaultStateDirectory() {
    const std::string stateHome = environment("XDG_STATE_HOME");
    return (stateHome.empty() ? environment("HOME") + "/.local/state" : stateHome) +
           "/veilpane/simulated-mac";
}

std::string textOf(const std::string& file) {
    std::ifstream stream(file, std::ios::binary);
    std::ostringstream content;
    content << stream.rdbuf();
    if (!stream || std::filesystem::is_directory(file)) {
        complain(file + ": cannot be read");
    }
    return content.str();
}

Scene sceneFrom(const std::string& text, const std::string& source) {
    try {
        return Scene::parse(text, source);
    } catch (const SceneError& error) {
        complain(error.what());
    }
}

// Without a scene file a Mac goes on being the one that its state was made from.
Scene chosenScene(const StateDirectory& directory) {
    if (const std::string file = environment("SIMULATED_MAC_SCENE"); !file.empty()) {
        return sceneFrom(textOf(file), file);
    }
    const auto stored = directory.read(stateFile);
    if (stored.is_object() && stored.contains("scene") && stored["scene"].is_string()) {
        return sceneFrom(stored["scene"].get<std::string>(), directory.file(stateFile));
    }
    return Scene::desk();
}

std::string newTemporaryDirectory() {
    std::string name = std::filesystem::temp_directory_path() / "simulated-mac-XXXXXX";
    if (mkdtemp(name.data()) == nullptr) {
        complain(name + ": cannot be created");
    }
    return name;
}

class FaultPlan {
public:
    explicit FaultPlan(std::vector<SceneFault> faults) {
        std::ranges::for_each(faults, [this](const SceneFault& fault) { add(fault); });
    }

    void add(const SceneFault& fault) { entries_.push_back({fault, 0}); }
    void clear() { entries_.clear(); }
    [[nodiscard]] bool fired() const { return fired_; }

    std::optional<SceneFault> count(const std::string& function) {
        std::optional<SceneFault> due;
        for (Entry& entry : entries_) {
            if (entry.fault.call != "*" && entry.fault.call != function) {
                continue;
            }
            ++entry.calls;
            if (!due && (entry.fault.nth == 0 || entry.fault.nth == entry.calls)) {
                due = entry.fault;
            }
        }
        fired_ = fired_ || due.has_value();
        return due;
    }

private:
    struct Entry {
        SceneFault fault;
        int calls;
    };
    std::vector<Entry> entries_;
    bool fired_ = false;
};

std::string nameOf(const SceneDisplay& display) {
    for (const auto& name : {display.profilerName, display.screenName, display.registryName}) {
        if (name && !name->empty()) {
            return *name;
        }
    }
    return {};
}

std::unique_ptr<Mac>& currentMac() {
    static std::unique_ptr<Mac> mac;
    return mac;
}

// A Mac's process ends with everything given back; what is left is a leak in the program.
void endOfProcess() {
    Mac::current().flushLog();
    if (const std::string leaked = ledger::outstanding(); !leaked.empty()) {
        std::fflush(stdout);
        std::fprintf(stderr, "simulated Mac: not released:\n%s", leaked.c_str());
        _exit(70);
    }
}

} // namespace

struct Mac::Internals {
    Internals(Scene chosen, std::string path, bool isTemporary)
        : scene(std::move(chosen))
        , directory(std::move(path))
        , faults(scene.faults)
        , temporary(isTemporary)
        , owner(getpid())
        , state(scene) {}

    // Gone with the process that made it, not with one that this process was forked into.
    ~Internals() {
        if (temporary && owner == getpid()) {
            std::error_code ignored;
            std::filesystem::remove_all(directory.path(), ignored);
        }
    }

    static inline int macs = 0;
    int serial = ++macs;
    Scene scene;
    StateDirectory directory;
    FaultPlan faults;
    bool temporary;
    int owner;
    MacState state;
    std::string stateVersionRead;
    std::string pendingLog;

    [[nodiscard]] MacState storedState() const {
        const auto stored = directory.read(stateFile);
        const auto version = stored.is_object() ? stored.value("version", 0) : 0;
        if (version > stateVersion) {
            complain(directory.file(stateFile) + ": version: written by a newer simulated Mac");
        }
        if (version != stateVersion || !stored.contains("displays")) {
            complain(directory.file(stateFile) + ": version: not a state of a simulated Mac");
        }
        try {
            return {scene, stored["displays"]};
        } catch (const nlohmann::json::exception&) {
            complain(directory.file(stateFile) + ": displays: not a state of a simulated Mac");
        }
    }

    void publish() {
        directory.replace(
            stateFile,
            {{"version", stateVersion}, {"scene", scene.text}, {"displays", state.toJson()}});
        stateVersionRead = directory.versionOf(stateFile);
    }

    void createFromScene() {
        state = MacState(scene);
        publish();
        directory.replace(defaultsFile, scene.defaults);
    }

    void flushLog() {
        if (!pendingLog.empty()) {
            directory.append(logFile, std::exchange(pendingLog, {}));
        }
    }
};

Mac::Mac(Scene scene, std::string directory, bool temporary)
    : internals_(std::make_unique<Internals>(std::move(scene), std::move(directory), temporary)) {
    internals_->directory.locked([this] {
        if (!internals_->directory.exists(stateFile)) {
            internals_->createFromScene();
        }
    });
}

Mac::~Mac() = default;

Mac& Mac::current() {
    auto& mac = currentMac();
    if (!mac) {
        const std::string given = environment("SIMULATED_MAC_STATE");
        const std::string path = given.empty() ? defaultStateDirectory() : given;
        mac.reset(new Mac(chosenScene(StateDirectory(path)), path, false));
        std::atexit(endOfProcess);
    }
    return *mac;
}

Mac& Mac::boot(const Scene& scene) {
    ledger::clear();
    currentMac().reset(new Mac(scene, newTemporaryDirectory(), true));
    return *currentMac();
}

Mac& Mac::boot(const std::string& sceneText) {
    return boot(Scene::parse(sceneText, "scene"));
}

void Mac::shutDown() {
    currentMac().reset();
}

int Mac::serial() const {
    return internals_->serial;
}
const Scene& Mac::scene() const {
    return internals_->scene;
}
const std::string& Mac::stateDirectory() const {
    return internals_->directory.path();
}

const SceneDisplay* Mac::sceneDisplay(uint32_t id) const {
    const auto& displays = internals_->scene.displays;
    const auto found = std::ranges::find(displays, id, &SceneDisplay::id);
    return found == displays.end() ? nullptr : &*found;
}

const MacState& Mac::state() {
    const std::string version = internals_->directory.versionOf(stateFile);
    if (version != internals_->stateVersionRead) {
        internals_->state = internals_->storedState();
        internals_->stateVersionRead = version;
    }
    return internals_->state;
}

// The log comes first: a state that no logged call explains would be a riddle.
void Mac::change(const std::function<void(MacState&)>& apply) {
    internals_->flushLog();
    internals_->directory.locked([&] {
        internals_->state = internals_->storedState();
        apply(internals_->state);
        internals_->publish();
    });
}

namespace {

void requireDisplay(const Mac& mac, uint32_t id) {
    if (mac.sceneDisplay(id) == nullptr) {
        throw std::invalid_argument("no display " + std::to_string(id));
    }
}

} // namespace

void Mac::unplug(uint32_t id) {
    requireDisplay(*this, id);
    change([id](MacState& state) { state.unplug(id); });
}

void Mac::plug(uint32_t id) {
    requireDisplay(*this, id);
    change([id](MacState& state) { state.plug(id); });
}

void Mac::logOut() {
    change([](MacState& state) { state.logOut(); });
}

void Mac::reboot() {
    change([](MacState& state) { state.reboot(); });
}

void Mac::reset() {
    internals_->pendingLog.clear();
    internals_->directory.locked([this] {
        internals_->createFromScene();
        internals_->directory.remove(logFile);
    });
}

DisplayStatus Mac::display(uint32_t id) {
    requireDisplay(*this, id);
    const SceneDisplay& described = *sceneDisplay(id);
    const MacState& current = state();
    DisplayStatus status;
    status.id = id;
    status.name = nameOf(described);
    status.connected = current.isConnected(id);
    status.enabled = current.isEnabled(id);
    status.online = current.isOnline(id);
    status.active = current.isActive(id);
    status.main = current.main() == id;
    status.mirrors = current.mirrorMaster(id);
    status.gamma = current.gammaKind(id);
    status.power = current.isInStandby(id) ? "standby" : "on";
    if (described.ddc) {
        status.brightness = current.brightness(id);
    }
    status.lit = status.online && status.power == "on" && status.gamma != "zero";
    return status;
}

std::vector<DisplayStatus> Mac::displays() {
    std::vector<DisplayStatus> all;
    for (const SceneDisplay& described : scene().displays) {
        all.push_back(display(described.id));
    }
    std::ranges::sort(all, {}, &DisplayStatus::id);
    return all;
}

int Mac::droppedMessages(uint32_t id) {
    requireDisplay(*this, id);
    return state().droppedMessages(id);
}

nlohmann::json Mac::storedDefaults() {
    const auto stored = internals_->directory.read(defaultsFile);
    return stored.is_object() ? stored : nlohmann::json::object();
}

void Mac::storeDefaults(const nlohmann::json& defaults) {
    internals_->directory.locked([&] { internals_->directory.replace(defaultsFile, defaults); });
}

void Mac::failCall(const SceneFault& fault) {
    internals_->faults.add(fault);
}
void Mac::clearFaults() {
    internals_->faults.clear();
}
bool Mac::faultFired() const {
    return internals_->faults.fired();
}

std::optional<SceneFault> Mac::beginCall(const std::string& function) {
    return internals_->faults.count(function);
}

void Mac::log(const LoggedCall& call) {
    nlohmann::ordered_json line = {
        {"pid", getpid()}, {"call", call.call}, {"args", call.args}, {"result", call.result}};
    for (const auto& [key, value] : call.notes.items()) {
        line[key] = value;
    }
    internals_->pendingLog +=
        line.dump(-1, ' ', false, nlohmann::ordered_json::error_handler_t::replace) + "\n";
    if (internals_->pendingLog.size() > logBufferSize) {
        internals_->flushLog();
    }
}

void Mac::flushLog() {
    internals_->flushLog();
}

std::vector<LoggedCall> Mac::calls() {
    internals_->flushLog();
    std::vector<LoggedCall> all;
    std::istringstream lines(internals_->directory.readText(logFile));
    for (std::string line; std::getline(lines, line);) {
        auto entry = nlohmann::json::parse(line, nullptr, false);
        if (entry.is_discarded()) {
            complain(internals_->directory.file(logFile) + ": not a call log");
        }
        LoggedCall call{entry["pid"], entry["call"], entry["args"], entry["result"], {}};
        for (const char* const key : {"pid", "call", "args", "result"}) {
            entry.erase(key);
        }
        call.notes = std::move(entry);
        all.push_back(std::move(call));
    }
    return all;
}

void Mac::clearCalls() {
    internals_->pendingLog.clear();
    internals_->directory.remove(logFile);
}

} // namespace simulated_mac
