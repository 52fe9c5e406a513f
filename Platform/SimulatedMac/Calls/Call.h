#pragma once

#include "SimulatedMac/World/SceneEvent.h"
#include "SimulatedMac/World/SceneFault.h"

#include <cstdint>
#include <nlohmann/json.hpp>
#include <optional>
#include <string>
#include <vector>

namespace simulated_mac {

/// One call of a platform function by the program: counted against the fault plan when it begins,
/// written to the call log when it returns.
///
///     IOReturn IOFBGetI2CInterfaceCount(io_service_t framebuffer, IOItemCount* count) {
///         Call call(__func__, {framebuffer});
///         if (call.failed()) return call.returns(call.failure<IOReturn>());
///         …
///         return call.returns(kIOReturnSuccess);
///     }
class Call {
public:
    /// `name` is that of the C function: `__func__` where this stands in it. `args` is a JSON array
    /// with the plain arguments: numbers, strings, booleans; pointers are left out or told by what
    /// they point to.
    Call(std::string name, nlohmann::json args);
    ~Call(); ///< logs a call that returned nothing
    Call(const Call&) = delete;
    Call& operator=(const Call&) = delete;

    /// The fault plan replaces this call's answer by a value.
    [[nodiscard]] bool failed() const { return fault_ && fault_->returns && !fault_->effect; }
    template <class Result>
    [[nodiscard]] Result failure() const {
        return static_cast<Result>(*fault_->returns);
    }
    /// The fault plan makes this call succeed with a null or zero result.
    [[nodiscard]] bool yieldsNull() const { return fault_ && fault_->null; }
    /// The fault plan lets this call take effect and then report an error, which `returns` does.
    [[nodiscard]] bool failsWithEffect() const {
        return fault_ && fault_->returns && fault_->effect;
    }
    /// What applies to this call, for the kinds of faults that few calls know.
    [[nodiscard]] const std::optional<SceneFault>& fault() const { return fault_; }

    /// Adds a member to the log line, beside "call", "args" and "result".
    void note(const std::string& key, nlohmann::json value) { notes_[key] = std::move(value); }

    template <class Result>
    Result returns(Result result) {
        result = failsWithEffect() ? failure<Result>() : result;
        write(nlohmann::json(static_cast<int64_t>(result)));
        return result;
    }
    /// For results that are no plain values (pointers): logs `shown` instead.
    template <class Result>
    Result returns(Result result, nlohmann::json shown) {
        write(std::move(shown));
        return result;
    }

private:
    void write(nlohmann::json result);
    /// What happens to the Mac at this moment; the log line tells it as member `key`.
    [[nodiscard]] std::vector<SceneEvent> eventsDue(SceneEvent::Moment moment, const char* key);

    std::string name_;
    nlohmann::json args_;
    nlohmann::json notes_ = nlohmann::json::object();
    std::optional<SceneFault> fault_;
    bool written_ = false;
    bool internal_;
};

/// Calls that the simulated Mac makes itself while one of these lives are neither counted nor
/// logged.
class InternalCalls {
public:
    InternalCalls();
    ~InternalCalls();
    InternalCalls(const InternalCalls&) = delete;
    InternalCalls& operator=(const InternalCalls&) = delete;
};

} // namespace simulated_mac
