#include "Safety/FaultRuns.h"

#include "Safety/KnownLies.h"
#include "Safety/Model.h"
#include "Safety/TestedProgram.h"
#include "SimulatedMac/World/Verbs.h"
#include "Support/Faults.h"

#include <algorithm>
#include <array>
#include <csignal>
#include <cstdio>
#include <iterator>
#include <map>
#include <stdexcept>

namespace safety {
namespace {

using Kind = Operation::Kind;
using simulated_mac::Mac;
using simulated_mac::SceneFault;

constexpr int impossibleEvent = 2;     // the status with which the simulated Mac refuses one
constexpr std::size_t pairsOfEach = 3; // second things that go wrong, of some thousand

std::string wordsFor(Start start) {
    switch (start) {
    case Start::fresh:
        return {};
    case Start::switchedOff:
        return "off before; ";
    case Start::inStandby:
        return "in standby before; ";
    case Start::underBlackout:
        return "under BlackOut before; ";
    case Start::allUnderBlackout:
        return "two under BlackOut before; ";
    }
    return {};
}

/// Brings a display into the state in which the operation finds it.
std::string prepare(Mac& mac, Program& program, Start start, const Situation& situation) {
    if (start == Start::fresh) {
        return {};
    }
    if (start != Start::switchedOff) {
        mac.failCall(fails("SLSConfigureDisplayEnabled").every().with(1001));
    }
    if (start == Start::underBlackout || start == Start::allUnderBlackout) {
        mac.failCall(fails("IOI2CInterfaceOpen").every().with(-536870203));
    }
    std::string broken = program.carryOut({Kind::off, situation.displays[1]});
    if (start == Start::allUnderBlackout && broken.empty()) {
        broken = program.carryOut({Kind::off, situation.displays[2]});
    }
    mac.clearFaults();
    return broken.empty() ? "" : wordsFor(start) + broken;
}

/// What is to be done on which Mac, and what goes wrong meanwhile.
struct Attempt {
    const Situation& situation;
    Start start;
    Operation operation;
    const std::vector<Mischief>& wrong;
};

std::string withoutKnownLimits(const std::string& lines, const Attempt& attempt) {
    return safety::withoutKnownLimits(lines, attempt.wrong, attempt.situation.scene);
}

/// Everything up to the operation's end. It leaves the program as it is then.
std::string carryOutOperation(const Attempt& attempt, Mac& mac, Program& program) {
    if (std::string broken = prepare(mac, program, attempt.start, attempt.situation);
        !broken.empty()) {
        return broken;
    }
    for (const Mischief& mischief : attempt.wrong) {
        if (mischief.fault) {
            mac.failCall(*mischief.fault);
        } else {
            program.interruptAfter(mischief.event->calls, [&] { mischief.happen(mac); });
        }
    }
    return withoutKnownLimits(program.carryOut(attempt.operation), attempt);
}

// What a user does who sees that a display is off.
std::string switchOnAgain(const Attempt& attempt, Mac& mac, Program& program) {
    mac.clearFaults();
    const Switching off = *program.lastSwitching();
    std::string broken = program.carryOut({Kind::on, off.id});
    if (!off.meanwhile) {
        addLine(broken, brokenByOffAndOn(off, *program.lastSwitching()));
    }
    broken = withoutKnownLimits(broken, attempt);
    return broken.empty() ? "" : "and then on: " + broken;
}

std::string attemptToTheEnd(const Attempt& attempt) {
    Mac& mac = Mac::boot(attempt.situation.scene);
    calibrate(mac);
    Program program(mac);
    std::string broken = carryOutOperation(attempt, mac, program);
    const bool isOff =
        attempt.operation.kind == Kind::off || attempt.operation.kind == Kind::commandOff;
    return broken.empty() && isOff ? switchOnAgain(attempt, mac, program) : broken;
}

bool comesRightAfterTheChange(const Attempt& attempt, const CallNames& calls) {
    return std::ranges::any_of(attempt.wrong, [&](const Mischief& mischief) {
        return mischief.event && mischief.event->calls > 0 &&
               mischief.event->calls <= calls.size() &&
               calls[mischief.event->calls - 1] == "CGCompleteDisplayConfiguration";
    });
}

// The Mac goes on without the program, and its user starts it again.
std::string attemptWithAnEnd(const Attempt& attempt, const CallNames& calls) {
    Mac& mac = Mac::boot(attempt.situation.scene);
    const Desk before = lookAt(mac);
    Forked forked;
    const auto end = forked.run([&] {
        calibrate(mac);
        Program program(mac);
        return carryOutOperation(attempt, mac, program);
    });
    if (end.signal != SIGTERM && end.signal != SIGKILL) {
        return end.text.empty() ? "it did not end" : end.text;
    }
    if (end.signal == SIGTERM) {
        mac.logOut();
    }
    const Operation operation = attempt.operation;
    std::string broken = withoutKnownLimits(
        brokenByAnEnd({before, lookAt(mac), operation.id, !comesRightAfterTheChange(attempt, calls),
                       mayReachAnother(attempt.situation.scene, before, operation.id),
                       hasInSkyLight(mac.scene(), "SLSGetDisplayList")}),
        attempt);
    Program program(mac);
    for (const Operation& next :
         {Operation{Kind::list, 0}, {Kind::on, attempt.situation.displays[1]}}) {
        if (broken.empty()) {
            broken = withoutKnownLimits(program.carryOut(next), attempt);
        }
    }
    return broken;
}

std::string callsOf(const Attempt& attempt) {
    Mac& mac = Mac::boot(attempt.situation.scene);
    calibrate(mac);
    Program program(mac);
    (void)carryOutOperation(attempt, mac, program);
    std::string names;
    for (const LoggedCall& call : program.calls()) {
        names += call.call + "\n";
    }
    return names;
}

// Spreads numbers that follow one another.
std::size_t scattered(std::size_t number) {
    return (number * 0x9E3779B97F4A7C15U) >> 20U;
}

bool hasEvent(const std::vector<Mischief>& wrong) {
    return std::ranges::any_of(wrong, [](const auto& one) { return one.event.has_value(); });
}

bool endsTheProgram(const std::vector<Mischief>& wrong) {
    return std::ranges::any_of(wrong, &Mischief::endsTheProgram);
}

std::string toldBy(const Forked::End& end) {
    return "ended by signal " + std::to_string(end.signal) + ", status " +
           std::to_string(end.status);
}

void silenceComplaints() {
    (void)std::freopen("/dev/null", "w", stderr);
}

} // namespace

// They are counted two at once.
FaultRuns::FaultRuns(std::size_t part) {
    std::vector<Case> cases;
    for (const Situation& situation : situations()) {
        std::ranges::move(casesOf(situation), std::back_inserter(cases));
    }
    std::size_t number = 0;
    std::erase_if(cases, [&](const Case&) { return scattered(number++) % part != 0; });
    std::array<Forked, 2> forked;
    const auto start = [&](std::size_t i) {
        forked.at(i % 2).start(
            [&] { return callsOf({*cases[i].situation, cases[i].start, cases[i].operation, {}}); });
    };
    start(0);
    for (std::size_t i = 0; i < cases.size(); ++i) {
        if (i + 1 < cases.size()) {
            start(i + 1);
        }
        addCase(std::move(cases[i]), forked.at(i % 2).end());
    }
}

std::vector<FaultRuns::Case> FaultRuns::casesOf(const Situation& situation) {
    const std::uint32_t main = situation.displays[0];
    const std::uint32_t usual = situation.displays[1];
    const std::uint32_t other = situation.displays[2];
    std::vector<Case> cases;
    for (const Start start : {Start::fresh, Start::switchedOff, Start::inStandby,
                              Start::underBlackout, Start::allUnderBlackout}) {
        for (const Operation operation :
             {Operation{Kind::off, usual}, Operation{Kind::on, usual}, Operation{Kind::off, main},
              Operation{Kind::on, main}, Operation{Kind::off, other}, Operation{Kind::on, other},
              Operation{Kind::status, usual}, Operation{Kind::status, main},
              Operation{Kind::list, 0}, Operation{Kind::quit, 0},
              Operation{Kind::commandOff, usual}, Operation{Kind::commandOn, usual},
              Operation{Kind::commandOffFirst, 0}, Operation{Kind::commandOnFirst, 0},
              Operation{Kind::commandList, 0}, Operation{Kind::selfTest, 0}}) {
            if (operation.kind != Kind::status || tested_program::hasFunctions()) {
                cases.push_back({&situation, start, operation});
            }
        }
    }
    return cases;
}

// The first run of a case is the one in which nothing goes wrong.
void FaultRuns::addCase(Case one, const Forked::End& end) {
    if (end.signal != 0 || end.status != 0) {
        throw std::runtime_error(one.situation->name + "; " + wordsFor(one.start) +
                                 one.operation.described() + ": " + toldBy(end));
    }
    one.firstRun = count_;
    one.calls = callNamesIn(end.text);
    one.singles = 1;
    std::map<std::string_view, std::uint16_t> waysOf;
    for (std::size_t place = 0; place <= one.calls.size(); ++place) {
        const std::string_view call = place == 0 ? "" : one.calls[place - 1];
        if (!waysOf.contains(call)) {
            const auto all = mischiefAt(one.calls, place, one.situation->scene);
            waysOf[call] = static_cast<std::uint16_t>(all.size());
        }
        one.ways.push_back(waysOf[call]);
        one.singles += waysOf[call];
    }
    count_ += one.singles;
    if (one.operation.isSwitching() && one.situation->scene.displays.size() == 2) {
        count_ += (one.singles - 1) * pairsOfEach;
    }
    cases_.push_back(std::move(one));
}

Mischief FaultRuns::single(const Case& one, std::size_t number) {
    std::size_t place = 0;
    for (; number >= one.ways[place]; ++place) {
        number -= one.ways[place];
    }
    return mischiefAt(one.calls, place, one.situation->scene)[number];
}

FaultRuns::Run FaultRuns::run(std::size_t number) const {
    const auto next = std::ranges::upper_bound(cases_, number, {}, &Case::firstRun);
    const Case& one = *std::prev(next);
    const std::size_t place = number - one.firstRun;
    if (place == 0) {
        return {&one, {}};
    }
    if (place < one.singles) {
        return {&one, {single(one, place - 1)}};
    }
    return {&one, {single(one, (place - one.singles) / pairsOfEach)}, scattered(number)};
}

// The second thing goes wrong at a call that is made although, or because, the first one has.
FaultRuns::Run FaultRuns::completed(Run run, Forked& forked) const {
    if (!run.second || endsTheProgram(run.wrong)) {
        run.calls = run.of->calls;
        return run;
    }
    const Case& one = *run.of;
    const auto end = forked.run([&] {
        silenceComplaints();
        return callsOf({*one.situation, one.start, one.operation, run.wrong});
    });
    const CallNames& calls = run.calls = callNamesIn(end.text);
    const std::size_t place = *run.second % (calls.size() + 1);
    auto ways = mischiefAt(calls, place, one.situation->scene);
    if (hasEvent(run.wrong)) {
        std::erase_if(ways, [](const auto& one) { return one.endsTheProgram(); });
    }
    run.wrong.push_back(ways[*run.second / (calls.size() + 1) % ways.size()]);
    return run;
}

std::string FaultRuns::described(std::size_t number) const {
    Forked forked;
    const Run chosen = completed(run(number), forked);
    std::string text = chosen.of->situation->name;
    text += "; " + wordsFor(chosen.of->start) + chosen.of->operation.described();
    for (const Mischief& mischief : chosen.wrong) {
        text += "; " + mischief.described();
    }
    return text;
}

FaultRuns::Result FaultRuns::carryOut(std::size_t number, Forked& forked) const {
    const Run chosen = completed(run(number), forked);
    const Attempt attempt = {*chosen.of->situation, chosen.of->start, chosen.of->operation,
                             chosen.wrong};
    const auto end = forked.run([&] {
        if (hasEvent(chosen.wrong)) {
            silenceComplaints();
        }
        return endsTheProgram(chosen.wrong) ? attemptWithAnEnd(attempt, chosen.calls)
                                            : attemptToTheEnd(attempt);
    });
    if (hasEvent(chosen.wrong) && end.status == impossibleEvent) {
        return {Verdict::impossible, ""};
    }
    if (end.signal != 0 || end.status != 0) {
        return {Verdict::broken, toldBy(end)};
    }
    return {end.text.empty() ? Verdict::held : Verdict::broken, end.text};
}

} // namespace safety
