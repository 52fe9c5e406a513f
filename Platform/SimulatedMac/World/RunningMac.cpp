#include "SimulatedMac/World/RunningMac.h"

#include "SimulatedMac/World/CallLog.h"
#include "SimulatedMac/World/Complaint.h"
#include "SimulatedMac/World/FaultPlan.h"
#include "SimulatedMac/World/MacState.h"
#include "SimulatedMac/World/StateDirectory.h"
#include "SimulatedMac/World/StoredDefaults.h"
#include "SimulatedMac/World/StoredState.h"

#include <algorithm>
#include <filesystem>
#include <unistd.h>
#include <utility>

namespace simulated_mac {
namespace {

constexpr const char* stateFile = StateDirectory::stateFile;
constexpr const char* defaultsFile = StateDirectory::defaultsFile;

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
    std::optional<std::string> stateVersionRead; ///< absent before the first reading
    bool checked = false;

    [[nodiscard]] MacState storedState() const {
        return orComplain([this] {
            const auto stored = readState(directory);
            const std::string file = directory.file(stateFile);
            if (stored.is_null()) {
                throw InputError(file + ": gone");
            }
            return MacState(scene, stored["displays"], file);
        });
    }

    [[nodiscard]] nlohmann::json stateToStore() const {
        return {{"version", stateVersion}, {"scene", scene.text}, {"displays", state.toJson()}};
    }

    void publish() {
        directory.replace(stateFile, stateToStore());
        stateVersionRead = directory.versionOf(stateFile);
    }

    // The state comes last: a Mac that has one is complete, whenever its making was cut short.
    void createFromScene() {
        state = MacState(scene);
        directory.replaceAll({{defaultsFile, scene.defaults}, {stateFile, stateToStore()}});
        stateVersionRead = directory.versionOf(stateFile);
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
    return orComplain([this] { return readDefaults(internals_->directory); });
}

void RunningMac::storeDefaults(const nlohmann::json& defaults) {
    internals_->directory.locked([&] { internals_->directory.replace(defaultsFile, defaults); });
}

void RunningMac::checkFiles() {
    if (!std::exchange(internals_->checked, true)) {
        (void)state();
        (void)storedDefaults();
        callLog().requireWritable();
    }
}

std::optional<SceneFault> RunningMac::beginCall(const std::string& function) {
    checkFiles();
    return faults().count(function);
}

void RunningMac::log(const LoggedCall& call) {
    callLog().add(call);
}

} // namespace simulated_mac
