#include "SimulatedMac/World/SceneFaults.h"

#include "SimulatedMac/World/Field.h"
#include "SimulatedMac/World/SimulatedCalls.h"

#include <algorithm>
#include <array>
#include <utility>

namespace simulated_mac {
namespace {

ListFault readListFault(const Field& field) {
    constexpr std::array<std::pair<const char*, ListFault>, 4> names = {
        {{"short", ListFault::shortened},
         {"duplicated", ListFault::duplicated},
         {"zero", ListFault::zero},
         {"too-large", ListFault::tooLarge}}};
    const auto* const found =
        std::ranges::find_if(names, [&](const auto& name) { return field.value() == name.first; });
    field.require(found != names.end(), "short, duplicated, zero or too-large");
    return found->second;
}

int kindsOf(const SceneFault& fault) {
    return int(fault.returns.has_value()) + int(fault.null) + int(fault.list != ListFault::none) +
           int(fault.result.has_value()) + int(fault.samples.has_value());
}

/// The keys of a fault that only some calls know.
std::vector<std::pair<const char*, CallFaults>> specialKeysOf(const SceneFault& fault) {
    std::vector<std::pair<const char*, CallFaults>> keys;
    const auto add = [&](bool given, const char* key, CallFaults kind) {
        if (given) {
            keys.emplace_back(key, kind);
        }
    };
    add(fault.list != ListFault::none, "list", listFaults);
    add(fault.result.has_value(), "result", requestResults);
    add(fault.samples.has_value(), "samples", gammaSamples);
    add(fault.errorNumber != 0, "errno", errorNumbers);
    add(fault.effect, "effect", failuresWithEffect);
    return keys;
}

std::optional<FaultProblem> problemOfKinds(const SceneFault& fault) {
    if (kindsOf(fault) == 0 || (fault.null && fault.returns)) {
        return FaultProblem{"", "needs either returns or \"null\": true"};
    }
    if (kindsOf(fault) > 1) {
        return FaultProblem{"", "returns, null, list, result and samples exclude each other"};
    }
    if (fault.effect && !fault.returns && !fault.result) {
        return FaultProblem{"effect", "needs returns or result"};
    }
    if (fault.errorNumber != 0 && !fault.returns) {
        return FaultProblem{"errno", "needs returns"};
    }
    return std::nullopt;
}

std::optional<FaultProblem> problemOfCall(const SceneFault& fault, const SimulatedCall& call) {
    if (fault.returns && !fits(*fault.returns, call.result)) {
        return FaultProblem{"returns", "does not fit " + fault.call + ", whose result is " +
                                           nameOf(call.result)};
    }
    if (fault.null && call.result == CallResult::nothing) {
        return FaultProblem{"null", "does not fit " + fault.call + ", which has no result"};
    }
    for (const auto& [key, kind] : specialKeysOf(fault)) {
        if ((call.faults & kind) == 0) {
            return FaultProblem{key, "is no fault of " + fault.call};
        }
    }
    return std::nullopt;
}

} // namespace

std::optional<FaultProblem> problemOf(const SceneFault& fault) {
    if (const auto problem = problemOfKinds(fault)) {
        return problem;
    }
    // Of all calls together only what every one of them knows can be asked.
    if (fault.call == "*") {
        const auto special = specialKeysOf(fault);
        return special.empty()
                   ? std::nullopt
                   : std::optional(FaultProblem{special.front().first, "needs the name of a call"});
    }
    const SimulatedCall* const call = findSimulatedCall(fault.call);
    return call == nullptr ? FaultProblem{"call", "the simulated Mac has no such call"}
                           : problemOfCall(fault, *call);
}

SceneFault readFault(const Field& field) {
    SceneFault fault;
    field.eachMember({
        {"call", [&](const Field& f) { fault.call = f.text(); }},
        {"nth", [&](const Field& f) { fault.nth = static_cast<int>(f.integer(0, INT32_MAX)); }},
        {"returns", [&](const Field& f) { fault.returns = f.integer(INT64_MIN, INT64_MAX); }},
        {"null", [&](const Field& f) { fault.null = f.boolean(); }},
        {"effect", [&](const Field& f) { fault.effect = f.boolean(); }},
        {"lasts", [&](const Field& f) { fault.lasts = f.boolean(); }},
        {"list", [&](const Field& f) { fault.list = readListFault(f); }},
        {"result", [&](const Field& f) { fault.result = f.status(); }},
        {"samples", [&](const Field& f) { fault.samples = f.word(); }},
        {"errno",
         [&](const Field& f) { fault.errorNumber = static_cast<int>(f.integer(1, 4095)); }},
    });
    if (fault.call.empty()) {
        field.reject("call is missing");
    }
    if (const auto wrong = problemOf(fault)) {
        (wrong->key.empty() ? field : field.member(wrong->key)).reject(wrong->problem);
    }
    return fault;
}

} // namespace simulated_mac
