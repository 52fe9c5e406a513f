#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <string_view>

namespace simulated_mac {

/// What a call answers, and so what a fault can make it answer.
enum class CallResult {
    nothing, ///< void; a fault that returns 0 takes its effect away
    status,  ///< an error code of 32 bits (CGError, IOReturn, an errno), 0 for success
    truth,   ///< a boolean_t, which is an int
    byte,    ///< a Boolean or BOOL
    word,    ///< an unsigned number of 32 bits
    number,  ///< an int, ssize_t, pid_t or CFIndex
    object,  ///< a pointer or a port, of which a fault can make none
};

/// The faults beside `returns` and `null`, as a set of bits.
using CallFaults = unsigned;
constexpr CallFaults listFaults = 1;
constexpr CallFaults requestResults = 2;
constexpr CallFaults gammaSamples = 4;
constexpr CallFaults errorNumbers = 8;
constexpr CallFaults failuresWithEffect = 16;

/// One function, or method, that the simulated Mac answers, under its name in the call log.
struct SimulatedCall {
    std::string_view name;
    CallResult result;
    CallFaults faults = 0;
};

/// All of them, in order of name.
[[nodiscard]] std::span<const SimulatedCall> simulatedCalls();
[[nodiscard]] const SimulatedCall* findSimulatedCall(std::string_view name); ///< null for none

[[nodiscard]] bool fits(int64_t value, CallResult result);
/// Such as "a status".
[[nodiscard]] std::string nameOf(CallResult result);

} // namespace simulated_mac
