#include "Safety/Mischief.h"

#include "SimulatedMac/World/SimulatedCalls.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <csignal>
#include <sstream>
#include <stdexcept>

namespace safety {
namespace {

using simulated_mac::CallResult;
using simulated_mac::ListFault;
using simulated_mac::SceneFault;

// Documented codes of the call's own family.
std::vector<std::int64_t> errorCodes(std::string_view call) {
    if (call.starts_with("IO")) {
        // kIOReturnError, NoMemory, NoResources, NoDevice, NotPrivileged, BadArgument,
        // ExclusiveAccess, Unsupported, NotOpen, Busy, Timeout, NotReady, NotResponding
        return {-536870212, -536870211, -536870210, -536870208, -536870207, -536870206, -536870203,
                -536870201, -536870195, -536870187, -536870186, -536870184, -536870163};
    }
    if (call == "posix_spawn") {
        return {2, 12, 13}; // ENOENT, ENOMEM, EACCES
    }
    // CGError.h's, but for 0: 1005, 1009 and above 1011 are none.
    return {1000, 1001, 1002, 1003, 1004, 1006, 1007, 1008, 1010, 1011};
}

/// Those around the launch of the system profiler, as far as they are made.
constexpr auto unseenCalls = std::to_array<std::string_view>({
#if !__has_feature(undefined_behavior_sanitizer)
    // The sanitizer asks with pipes of its own what memory can be read, and ends a process without.
    "pipe",
#endif
    "fcntl",
    "fcntl",
    "read",
    "read",
    "waitpid",
});

class Ways {
public:
    Ways(std::string_view call, int nth) : call_(call), nth_(nth) {}

    void add(SceneFault fault) {
        fault.call = call_;
        fault.nth = nth_;
        // A call that is always interrupted never ends, and the program waits for it.
        const bool canLast = fault.errorNumber != EINTR;
        for (const bool lasts : canLast ? std::vector{false, true} : std::vector{false}) {
            fault.lasts = lasts;
            all_.push_back({fault, std::nullopt});
        }
    }
    void addReturned(std::int64_t value, bool withEffect = false) {
        SceneFault fault;
        fault.returns = value;
        fault.effect = withEffect;
        add(fault);
    }
    void addError(int errorNumber) {
        SceneFault fault;
        fault.returns = -1;
        fault.errorNumber = errorNumber;
        add(fault);
    }
    void addNull() {
        SceneFault fault;
        fault.null = true;
        add(fault);
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
            ways.add(fault);
        }
    }
    if ((faults & simulated_mac::requestResults) != 0) {
        for (const std::int64_t code : errorCodes("IOI2CSendRequest")) {
            for (const bool withEffect : {false, true}) {
                SceneFault fault;
                fault.result = code;
                fault.effect = withEffect;
                ways.add(fault);
            }
        }
    }
    if ((faults & simulated_mac::errorNumbers) != 0) {
        for (const int number : {EINTR, EIO, EMFILE}) {
            ways.addError(number);
        }
    }
    if ((faults & simulated_mac::gammaSamples) != 0) {
        for (const std::uint32_t samples : {0U, 17U}) {
            SceneFault fault;
            fault.samples = samples;
            ways.add(fault);
        }
    }
}

void addStatus(Ways& ways, std::string_view call, const simulated_mac::SimulatedCall& known) {
    for (const std::int64_t code : errorCodes(call)) {
        ways.addReturned(code);
        if ((known.faults & simulated_mac::failuresWithEffect) != 0) {
            ways.addReturned(code, true);
        }
    }
    ways.addNull();
    ways.addReturned(0); // success without effect
}

std::vector<Mischief> wrongAnswers(std::string_view call, int nth) {
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
            ways.addReturned(answer);
        }
        break;
    case CallResult::word:
        ways.addReturned(0xFFFFFFFF);
        ways.addReturned(0);
        break;
    case CallResult::number:
        if (call == "fcntl") {
            break; // a descriptor that nobody gave would be one of the program's own
        }
        [[fallthrough]];
    case CallResult::byte:
        ways.addReturned(0);
        ways.addReturned(1);
        break;
    case CallResult::object:
        ways.addNull();
        break;
    case CallResult::nothing:
        ways.addReturned(0);
        break;
    }
    return std::move(ways).all();
}

/// IDs that the program remembers and that no display has.
std::vector<std::uint32_t> rememberedAndGone(const simulated_mac::Scene& scene) {
    std::vector<std::uint32_t> ids;
    const auto stored = scene.defaults.find("Veilpane.disconnectedDisplayIDs");
    if (stored != scene.defaults.end() && stored->is_array()) {
        for (const auto& element : *stored) {
            const auto id = element.is_number_unsigned() ? element.get<std::uint32_t>() : 0;
            const auto display =
                std::ranges::find(scene.displays, id, &simulated_mac::SceneDisplay::id);
            if (id != 0 && display == scene.displays.end()) {
                ids.push_back(id);
            }
        }
    }
    return ids;
}

// They are logged only when they fail, so nothing can be told to happen after one.
bool isUnseen(std::string_view call) {
    return std::ranges::find(unseenCalls, call) != unseenCalls.end();
}

std::vector<std::string> eventLines(const simulated_mac::Scene& scene) {
    std::vector<std::string> lines = {"sleep", "wake", "kill", "logout"};
    std::uint32_t unused = 40;
    for (const auto& display : scene.displays) {
        const std::string id = std::to_string(display.id);
        lines.push_back("unplug " + id);
        lines.push_back("plug " + id);
        lines.push_back("plug " + id + " --as " + std::to_string(++unused));
        for (const std::uint32_t taken : rememberedAndGone(scene)) {
            lines.push_back("plug " + id + " --as " + std::to_string(taken));
        }
        if (display.builtin) {
            lines.push_back("lid close");
            lines.push_back("lid open");
        }
        if (!display.enabled) {
            lines.push_back("enable " + id);
            continue;
        }
        lines.push_back("disable " + id);
        lines.push_back("main " + id);
        lines.push_back("mirror " + id + " 0");
        if (display.id != scene.displays.front().id) {
            lines.push_back("mirror " + id + " " + std::to_string(scene.displays.front().id));
        }
    }
    return lines;
}

std::string described(const SceneFault& fault) {
    const std::string text =
        fault.call + " " + std::to_string(fault.nth) + (fault.lasts ? " and later" : "");
    if (fault.returns) {
        const std::string number =
            fault.errorNumber == 0 ? "" : " with errno " + std::to_string(fault.errorNumber);
        return text + (fault.effect ? " acts and answers " : " answers ") +
               std::to_string(*fault.returns) + number;
    }
    if (fault.null) {
        return text + " yields null";
    }
    if (fault.result) {
        return text + (fault.effect ? " acts and has" : " has") + " the request's result " +
               std::to_string(*fault.result);
    }
    if (fault.samples) {
        return text + " gives " + std::to_string(*fault.samples) + " samples";
    }
    return text + " has a wrong list of kind " + std::to_string(static_cast<int>(fault.list));
}

} // namespace

std::string Mischief::described() const {
    return fault ? safety::described(*fault)
                 : "after call " + std::to_string(event->calls) + ": " + event->line;
}

bool Mischief::endsTheProgram() const {
    return event && (event->line == "kill" || event->line == "logout");
}

void Mischief::happen(simulated_mac::Mac& mac) const {
    if (endsTheProgram()) {
        (void)raise(event->line == "kill" ? SIGKILL : SIGTERM);
    }
    mac.letHappen({"", simulated_mac::SceneEvent::Moment::after, 1, event->line, event->line});
}

CallNames callNamesIn(const std::string& lines) {
    CallNames names;
    std::istringstream stream(lines);
    for (std::string line; std::getline(stream, line);) {
        const auto* const call = simulated_mac::findSimulatedCall(line);
        if (call == nullptr) {
            throw std::invalid_argument("no call is named " + line);
        }
        names.push_back(call->name);
    }
    if (std::ranges::find(names, "posix_spawn") != names.end()) {
        names.insert(names.end(), unseenCalls.begin(), unseenCalls.end());
    }
    return names;
}

std::vector<Mischief> mischiefAt(const CallNames& calls, std::size_t place,
                                 const simulated_mac::Scene& scene) {
    std::vector<Mischief> all;
    if (place > 0) {
        const std::string_view call = calls[place - 1];
        const auto end = calls.begin() + static_cast<std::ptrdiff_t>(place);
        all = wrongAnswers(call, static_cast<int>(std::count(calls.begin(), end, call)));
    }
    if (place > 0 && isUnseen(calls[place - 1])) {
        return all;
    }
    for (const std::string& line : eventLines(scene)) {
        all.push_back({std::nullopt, Mischief::Event{place, line}});
    }
    return all;
}

} // namespace safety
