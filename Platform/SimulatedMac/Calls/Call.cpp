#include "SimulatedMac/Calls/Call.h"

#include "SimulatedMac/World/CallLog.h"
#include "SimulatedMac/World/RunningMac.h"

namespace simulated_mac {
namespace {

int internalDepth = 0;

} // namespace

InternalCalls::InternalCalls() {
    ++internalDepth;
}
InternalCalls::~InternalCalls() {
    --internalDepth;
}

// In braces a single value that is JSON already stays that value instead of becoming a list of one.
Call::Call(std::string name, nlohmann::json args)
    : name_(std::move(name))
    , args_(args.is_array() ? std::move(args) : nlohmann::json::array({std::move(args)}))
    , internal_(internalDepth > 0) {
    if (internal_) {
        return;
    }
    for (const SceneEvent& event : eventsDue(SceneEvent::Moment::before, "before")) {
        RunningMac::current().letHappen(event);
    }
    fault_ = RunningMac::current().beginCall(name_);
}

Call::~Call() {
    if (!written_) {
        write(nullptr);
    }
}

void Call::write(nlohmann::json result) {
    written_ = true;
    if (internal_) {
        return;
    }
    const auto events = eventsDue(SceneEvent::Moment::after, "after");
    RunningMac::current().log({0, name_, args_, std::move(result), notes_});
    for (const SceneEvent& event : events) {
        RunningMac::current().letHappen(event);
    }
}

std::vector<SceneEvent> Call::eventsDue(SceneEvent::Moment moment, const char* key) {
    auto due = RunningMac::current().eventsDue(moment, name_);
    for (const SceneEvent& event : due) {
        notes_[key].push_back(event.line);
    }
    return due;
}

} // namespace simulated_mac
