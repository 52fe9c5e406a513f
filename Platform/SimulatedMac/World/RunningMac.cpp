#include "SimulatedMac/World/RunningMac.h"

#include "SimulatedMac/World/CallLog.h"
#include "SimulatedMac/World/Complaint.h"
#include "SimulatedMac/World/FaultPlan.h"
#include "SimulatedMac/World/MacState.h"
#include "SimulatedMac/World/StateDirectory.h"

#include <algorithm>
#include <filesystem>
#include <unistd.h>

namespace simulated_mac {
namespace {

constexpr const char* stateFile = StateDirectory::stateFile;
constexpr const char* defaultsFile = "defaults.json";

constexpr int stateVersion = 1;

} // namespace

struct RunningMac::Internals {
    Internals(Scene chosen, std::string path, bool isTemporary)
        : scene(std::move(chosen))
        , directory(std::move(path))
        , callLog(directory)
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
    CallLog callLog;
    FaultPlan faults;
    bool temporary;
    int owner;
    MacState state;
    std::string stateVersionRead;

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
};

RunningMac::RunningMac(Scene scene, std::string directory, bool temporary)
    : internals_(std::make_unique<Internals>(std::move(scene), std::move(directory), temporary)) {
    internals_->directory.locked([this] {
        if (!internals_->directory.exists(stateFile)) {
            internals_->createFromScene();
        }
    });
}

RunningMac::~RunningMac() = default;

int RunningMac::serial() const {
    return internals_->serial;
}
const Scene& RunningMac::scene() const {
    return internals_->scene;
}
const std::string& RunningMac::stateDirectory() const {
    return internals_->directory.path();
}
CallLog& RunningMac::callLog() {
    return internals_->callLog;
}
FaultPlan& RunningMac::faults() {
    return internals_->faults;
}
const FaultPlan& RunningMac::faults() const {
    return internals_->faults;
}

const SceneDisplay* RunningMac::sceneDisplay(uint32_t id) const {
    const auto& displays = internals_->scene.displays;
    const auto found = std::ranges::find(displays, id, &SceneDisplay::id);
    return found == displays.end() ? nullptr : &*found;
}

const MacState& RunningMac::state() {
    const std::string version = internals_->directory.versionOf(stateFile);
    if (version != internals_->stateVersionRead) {
        internals_->state = internals_->storedState();
        internals_->stateVersionRead = version;
    }
    return internals_->state;
}

// The log comes first: a state that no logged call explains would be a riddle.
void RunningMac::change(const std::function<void(MacState&)>& apply) {
    callLog().flush();
    internals_->directory.locked([&] {
        internals_->state = internals_->storedState();
        apply(internals_->state);
        internals_->publish();
    });
}

void RunningMac::restoreScene() {
    internals_->directory.locked([this] {
        internals_->createFromScene();
        callLog().clear();
    });
}

nlohmann::json RunningMac::storedDefaults() {
    const auto stored = internals_->directory.read(defaultsFile);
    return stored.is_object() ? stored : nlohmann::json::object();
}

void RunningMac::storeDefaults(const nlohmann::json& defaults) {
    internals_->directory.locked([&] { internals_->directory.replace(defaultsFile, defaults); });
}

std::optional<SceneFault> RunningMac::beginCall(const std::string& function) {
    return faults().count(function);
}

bool RunningMac::hasFaultFor(const std::string& function) const {
    return faults().names(function);
}

uint64_t RunningMac::callCount() const {
    return faults().calls();
}

void RunningMac::log(const LoggedCall& call) {
    callLog().add(call);
}

} // namespace simulated_mac
