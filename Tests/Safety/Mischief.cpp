#include "Safety/Mischief.h"

#include "SimulatedMac/World/SimulatedCalls.h"

#include <algorithm>

namespace safety {
namespace {

using simulated_mac::CallResult;
using simulated_mac::ListFault;
using simulated_mac::SceneFault;

// Documented codes of the call's own family.
std::vector<std::int64_t> errorCodes(const std::string& call) {
    if (call.starts_with("IO")) {
        // kIOReturnError, kIOReturnNoDevice, kIOReturnTimeout, kIOReturnExclusiveAccess
        return {-536870212, -536870208, -536870186, -536870203};
    }
    if (call == "posix_spawn") {
        return {2, 12, 13}; // ENOENT, ENOMEM, EACCES
    }
    // CGError.h's, but for 0: 1005, 1009 and above 1011 are none.
    return {1000, 1001, 1002, 1003, 1004, 1006, 1007, 1008, 1010, 1011};
}

class Ways {
public:
    Ways(std::string call, int nth) : call_(std::move(call)), nth_(nth) {}

    void add(SceneFault fault, bool misleads) {
        fault.call = call_;
        fault.nth = nth_;
        for (const bool lasts : {false, true}) {
            fault.lasts = lasts;
            all_.push_back({fault, std::nullopt, misleads});
        }
    }
    void addReturned(std::int64_t value, bool misleads, bool withEffect = false) {
        SceneFault fault;
        fault.returns = value;
        fault.effect = withEffect;
        add(fault, misleads);
    }
    void addNull(bool misleads) {
        SceneFault fault;
        fault.null = true;
        add(fault, misleads);
    }
    [[nodiscard]] std::vector<Mischief> all() && { return std::move(all_); }

private:
    std::string call_;
    int nth_;
    std::vector<Mischief> all_;
};

void addSpecial(Ways& ways, simulated_mac::CallFaults faults) {
    if ((faults & simulated_mac::listFaults) != 0) {
        for (const ListFault list :
             {ListFault::shortened, ListFault::duplicated, ListFault::zero, ListFault::tooLarge}) {
            SceneFault fault;
            fault.list = list;
            ways.add(fault, true);
        }
    }
    if ((faults & simulated_mac::requestResults) != 0) {
        SceneFault fault;
        fault.result = -536870208; // kIOReturnNoDevice
        ways.add(fault, false);
    }
    if ((faults & simulated_mac::gammaSamples) != 0) {
        for (const std::uint32_t samples : {0U, 17U}) {
            SceneFault fault;
            fault.samples = samples;
            ways.add(fault, true);
        }
    }
}

void addStatus(Ways& ways, const std::string& call, const simulated_mac::SimulatedCall& known) {
    for (const std::int64_t code : errorCodes(call)) {
        ways.addReturned(code, false);
        if ((known.faults & simulated_mac::failuresWithEffect) != 0) {
            ways.addReturned(code, true, true);
        }
    }
    ways.addNull(true);
    ways.addReturned(0, true); // success without effect
}

std::vector<Mischief> wrongAnswers(const std::string& call, int nth) {
    const auto* const known = simulated_mac::findSimulatedCall(call);
    Ways ways(call, nth);
    if (known == nullptr) {
        return {};
    }
    addSpecial(ways, known->faults);
    switch (known->result) {
    case CallResult::status:
        addStatus(ways, call, *known);
        break;
    case CallResult::truth:
        for (const int answer : {0, 1, -1}) {
            ways.addReturned(answer, true);
        }
        break;
    case CallResult::word:
        ways.addReturned(0xFFFFFFFF, true);
        ways.addReturned(0, true);
        break;
    case CallResult::byte:
    case CallResult::number:
        ways.addReturned(0, true);
        ways.addReturned(1, true);
        break;
    case CallResult::object:
        ways.addNull(call != "dlopen" && call != "dlsym");
        break;
    case CallResult::nothing:
        ways.addReturned(0, true);
        break;
    }
    return std::move(ways).all();
}

std::vector<std::string> eventLines(const simulated_mac::Scene& scene) {
    std::vector<std::string> lines = {"sleep", "wake", "logout"};
    std::uint32_t unused = 40;
    for (const auto& display : scene.displays) {
        const std::string id = std::to_string(display.id);
        lines.push_back("unplug " + id);
        lines.push_back("plug " + id + " --as " + std::to_string(++unused));
        if (!display.enabled) {
            continue;
        }
        lines.push_back("main " + id);
        lines.push_back("mirror " + id + " 0");
        if (display.id != scene.displays.front().id) {
            lines.push_back("mirror " + id + " " + std::to_string(scene.displays.front().id));
        }
        if (display.builtin) {
            lines.push_back("lid close");
        }
    }
    return lines;
}

} // namespace

std::string Mischief::described() const {
    std::string text;
    if (event) {
        return (event->before ? "before " : "after ") + event->call + " " +
               std::to_string(event->nth) + ": " + event->line;
    }
    text = fault->call + " " + std::to_string(fault->nth) + (fault->lasts ? " and later" : "");
    if (fault->returns) {
        text +=
            (fault->effect ? " acts and answers " : " answers ") + std::to_string(*fault->returns);
    } else if (fault->null) {
        text += " yields null";
    } else if (fault->result) {
        text += " has the request's result " + std::to_string(*fault->result);
    } else if (fault->samples) {
        text += " gives " + std::to_string(*fault->samples) + " samples";
    } else {
        text += " has a wrong list of kind " + std::to_string(static_cast<int>(fault->list));
    }
    return text;
}

void Mischief::plan(simulated_mac::Mac& mac) const {
    if (fault) {
        mac.failCall(*fault);
    }
    if (event) {
        const auto moment = mac.during(event->call, event->nth);
        (void)(event->before ? moment.before(event->line) : moment.after(event->line));
    }
}

std::vector<Mischief> mischiefAt(const std::string& call, int nth,
                                 const simulated_mac::Scene& scene) {
    std::vector<Mischief> all = wrongAnswers(call, nth);
    for (const std::string& line : eventLines(scene)) {
        for (const bool before : {true, false}) {
            all.push_back({std::nullopt, Mischief::Event{call, nth, before, line}, true});
        }
    }
    return all;
}

} // namespace safety
