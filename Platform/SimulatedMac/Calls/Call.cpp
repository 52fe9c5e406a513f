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

Call::Call(std::string name, nlohmann::json args)
    : name_(std::move(name)), args_(std::move(args)), internal_(internalDepth > 0) {
    if (!internal_) {
        fault_ = RunningMac::current().beginCall(name_);
    }
}

Call::~Call() {
    if (!written_) {
        write(nullptr);
    }
}

void Call::write(nlohmann::json result) {
    written_ = true;
    if (!internal_) {
        RunningMac::current().log({0, name_, args_, std::move(result), notes_});
    }
}

} // namespace simulated_mac
