#include "Safety/FaultRuns.h"

#include "Safety/TestedProgram.h"
#include "Support/Faults.h"

#include <algorithm>
#include <csignal>
#include <cstdio>
#include <iterator>
#include <map>
#include <sstream>

namespace safety {
namespace {

using Kind = Operation::Kind;
using simulated_mac::Mac;
using simulated_mac::SceneFault;

constexpr int impossibleEvent = 2; // the status with which the simulated Mac refuses one

constexpr const char* fresh = "";
constexpr const char* switchedOff = "off before";
constexpr const char* inStandby = "in standby before";
constexpr const char* underBlackout = "under BlackOut before";

/// Brings a display into the state in which the operation finds it.
std::string prepare(Mac& mac, Program& program, const char* start, std::uint32_t display) {
    if (start == fresh) {
        return {};
    }
    if (start == inStandby || start == underBlackout) {
        mac.failCall(fails("SLSConfigureDisplayEnabled").every().with(1001));
    }
    if (start == underBlackout) {
        mac.failCall(fails("IOI2CInterfaceOpen").every().with(-536870203));
    }
    std::string broken = program.carryOut({Kind::off, display}, false);
    mac.clearFaults();
    return broken.empty() ? "" : std::string(start) + ": " + broken;
}

std::vector<std::string> words(const std::string& text) {
    std::istringstream stream(text);
    return {std::istream_iterator<std::string>(stream), {}};
}

struct Attempt {
    std::string broken;
    std::string calls; ///< their names, a line each
};

Attempt attempt(const Situation& situation, const char* start, const Operation& operation,
                const std::vector<Mischief>& wrong) {
    Mac& mac = Mac::boot(situation.scene);
    calibrate(mac);
    Program program(mac);
    if (std::string broken = prepare(mac, program, start, situation.displays[1]); !broken.empty()) {
        return {broken, ""};
    }
    bool misled = false;
    for (const Mischief& mischief : wrong) {
        mischief.plan(mac);
        misled = misled || mischief.misleads;
    }
    Attempt made;
    made.broken = program.carryOut(operation, misled);
    for (const LoggedCall& call : program.calls()) {
        made.calls += call.call + "\n";
    }
    return made;
}

// Spreads numbers that follow one another.
std::size_t scattered(std::size_t number) {
    return (number * 0x9E3779B97F4A7C15U) >> 20U;
}

bool isSwitching(const Operation& operation) {
    return operation.kind == Kind::off || operation.kind == Kind::on;
}

void silenceComplaints() {
    (void)std::freopen("/dev/null", "w", stderr);
}

} // namespace

FaultRuns::FaultRuns() {
    Forked forked;
    for (const Situation& situation : situations()) {
        addCases(situation, forked);
    }
}

void FaultRuns::addCases(const Situation& situation, Forked& forked) {
    const std::uint32_t main = situation.displays[0];
    const std::uint32_t usual = situation.displays[1];
    const std::uint32_t other = situation.displays[2];
    for (const char* const start : {fresh, switchedOff, inStandby, underBlackout}) {
        for (const Operation operation :
             {Operation{Kind::off, usual}, Operation{Kind::on, usual}, Operation{Kind::off, main},
              Operation{Kind::off, other}, Operation{Kind::status, usual}, Operation{Kind::list, 0},
              Operation{Kind::quit, 0}, Operation{Kind::commandOff, usual},
              Operation{Kind::commandOn, usual}, Operation{Kind::commandList, 0},
              Operation{Kind::selfTest, 0}}) {
            if (operation.kind != Kind::status || tested_program::hasFunctions()) {
                addCase({&situation, start, operation, {}, count_, 0}, forked);
            }
        }
    }
}

// The first run of a case is the one in which nothing goes wrong.
void FaultRuns::addCase(Case one, Forked& forked) {
    const auto end =
        forked.run([&] { return attempt(*one.situation, one.start, one.operation, {}).calls; });
    std::map<std::string, int> made;
    one.singles = 1;
    for (const std::string& call : words(end.text)) {
        const int nth = ++made[call];
        const std::size_t ways = mischiefAt(call, nth, one.situation->scene).size();
        one.sites.push_back({call, nth, ways});
        one.singles += ways;
    }
    count_ += one.singles;
    if (isSwitching(one.operation) && one.situation->scene.displays.size() == 2) {
        count_ += one.sites.size() * (one.sites.size() - 1) / 2;
    }
    cases_.push_back(std::move(one));
}

Mischief FaultRuns::single(const Case& one, std::size_t number) {
    auto site = one.sites.begin();
    for (; number >= site->ways; ++site) {
        number -= site->ways;
    }
    return mischiefAt(site->call, site->nth, one.situation->scene)[number];
}

std::vector<Mischief> FaultRuns::pair(const Case& one, std::size_t number) {
    std::size_t second = 1;
    while (number >= second) {
        number -= second++;
    }
    std::vector<Mischief> wrong;
    for (const std::size_t place : {number, second}) {
        const CallSite& site = one.sites[place];
        if (site.ways > 0) {
            wrong.push_back(mischiefAt(
                site.call, site.nth,
                one.situation->scene)[scattered(one.firstRun + number * 64 + second) % site.ways]);
        }
    }
    return wrong;
}

FaultRuns::Run FaultRuns::run(std::size_t number) const {
    const auto next = std::ranges::upper_bound(cases_, number, {}, &Case::firstRun);
    const Case& one = *std::prev(next);
    const std::size_t place = number - one.firstRun;
    if (place == 0) {
        return {&one, {}};
    }
    return place < one.singles ? Run{&one, {single(one, place - 1)}}
                               : Run{&one, pair(one, place - one.singles)};
}

std::string FaultRuns::described(std::size_t number) const {
    const Run chosen = run(number);
    std::string text = chosen.of->situation->name;
    text += chosen.of->start == fresh ? "" : "; " + std::string(chosen.of->start);
    text += "; " + chosen.of->operation.described();
    for (const Mischief& mischief : chosen.wrong) {
        text += "; " + mischief.described();
    }
    return text;
}

FaultRuns::Result FaultRuns::carryOut(std::size_t number, Forked& forked) const {
    const Run chosen = run(number);
    const bool changesTheMac =
        std::ranges::any_of(chosen.wrong, [](const auto& one) { return one.event.has_value(); });
    const auto end = forked.run([&] {
        if (changesTheMac) {
            silenceComplaints();
        }
        return attempt(*chosen.of->situation, chosen.of->start, chosen.of->operation, chosen.wrong)
            .broken;
    });
    if (changesTheMac && end.status == impossibleEvent) {
        return {Verdict::impossible, ""};
    }
    if (changesTheMac && end.signal == SIGTERM) {
        return {};
    }
    if (end.signal != 0 || end.status != 0) {
        return {Verdict::broken, "ended by signal " + std::to_string(end.signal) + ", status " +
                                     std::to_string(end.status)};
    }
    return {end.text.empty() ? Verdict::held : Verdict::broken, end.text};
}

} // namespace safety
