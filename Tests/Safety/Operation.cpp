#include "Safety/Operation.h"

#include "Safety/Model.h"
#include "Safety/PrintedReport.h"
#include "Safety/TestedProgram.h"
#include "SimulatedMac/World/Ledger.h"

#include <algorithm>
#include <utility>

namespace safety {
namespace {

using Kind = Operation::Kind;

std::string described(const Outcome& outcome) {
    return outcome.method + (outcome.success ? ", success, " : ", failure, ") + outcome.message;
}

std::string printed(const tested_program::Ran& ran) {
    return ran.output + "exit status " + std::to_string(ran.status);
}

std::string printed(const Outcome& outcome) {
    return printed({outcome.success ? 0 : 1, "method=" + outcome.method + " success=" +
                                                 (outcome.success ? "true" : "false") + "\n" +
                                                 outcome.message + "\n"});
}

// Its picture comes and goes by itself when all displays sleep and wake.
bool isChanged(Sight before, Sight after) {
    for (Sight* const sight : {&before, &after}) {
        sight->asleep = sight->lit = sight->online = false;
    }
    return before != after;
}

void noteTouched(const Desk& before, Meanwhile& meanwhile) {
    for (const Desk* const desk : {&before, &std::as_const(meanwhile.after)}) {
        for (const auto& [id, sight] : desk->displays) {
            const auto was = before.displays.find(id);
            const auto is = meanwhile.after.displays.find(id);
            if (was == before.displays.end() || is == meanwhile.after.displays.end() ||
                isChanged(was->second, is->second)) {
                meanwhile.touched.insert(id);
            }
        }
    }
}

std::string inOneLine(std::string text) {
    std::ranges::replace(text, '\n', ' ');
    return text;
}

std::string wordFor(bool on) {
    return on ? "on" : "off";
}

} // namespace

bool Operation::isSwitching() const {
    return kind == Kind::off || kind == Kind::on;
}

std::string Operation::described() const {
    switch (kind) {
    case Kind::off:
        return "off " + std::to_string(id);
    case Kind::on:
        return "on " + std::to_string(id);
    case Kind::status:
        return "status " + std::to_string(id);
    case Kind::list:
        return "list";
    case Kind::quit:
        return "quit";
    case Kind::commandOff:
        return "command-off " + std::to_string(id);
    case Kind::commandOn:
        return "command-on " + std::to_string(id);
    case Kind::commandOffFirst:
        return "command-off";
    case Kind::commandOnFirst:
        return "command-on";
    case Kind::commandList:
        return "command-list";
    case Kind::selfTest:
        return "self-test";
    }
    return {};
}

Program::Program(simulated_mac::Mac& mac) : mac_(mac) {
    mac.listen([this](const LoggedCall& call) { note(call); });
}

void Program::interruptAfter(std::size_t calls, std::function<void()> happen) {
    interruptions_.push_back({calls, std::move(happen)});
}

void Program::note(const LoggedCall& call) {
    calls_.push_back(call);
    interruptIfDue();
}

void Program::interruptIfDue() {
    for (const Interruption& interruption : interruptions_) {
        if (interruption.calls != calls_.size()) {
            continue;
        }
        const Desk before = lookAt(mac_);
        interruption.happen();
        if (meanwhile_) {
            meanwhile_->between.push_back({meanwhile_->after, before});
        } else {
            meanwhile_ = Meanwhile{0, before, {}, {}, {}};
        }
        meanwhile_->calls = calls_.size();
        meanwhile_->after = lookAt(mac_);
        noteTouched(before, *meanwhile_);
    }
}

std::string Program::carryOut(const Operation& operation) {
    calls_.clear();
    faultsBefore_ = mac_.faultsFired();
    interruptIfDue();
    meanwhile_.reset();
    std::string broken;
    try {
        broken = promised(operation);
    } catch (const std::exception& error) {
        broken = error.what();
    }
    interruptions_.clear();
    addLine(broken, brokenRule(calls_, targetOf(operation)));
    addLine(broken, inOneLine(simulated_mac::ledger::outstanding()));
    return broken;
}

std::uint32_t Program::targetOf(const Operation& operation) const {
    const bool isChosen =
        operation.kind == Kind::commandOffFirst || operation.kind == Kind::commandOnFirst;
    return isChosen && lastSwitching_ ? lastSwitching_->id : operation.id;
}

std::string Program::promised(const Operation& operation) {
    switch (operation.kind) {
    case Kind::off:
    case Kind::on:
    case Kind::commandOff:
    case Kind::commandOn:
        return switched(operation);
    case Kind::quit:
        return released();
    case Kind::commandOffFirst:
    case Kind::commandOnFirst:
        return commandedFirst(operation.kind == Kind::commandOnFirst);
    case Kind::selfTest:
        return selfTested();
    case Kind::list:
    case Kind::status:
    case Kind::commandList:
        break;
    }
    Passage done;
    done.before = lookAt(mac_);
    const std::string broken = looked(operation);
    noteWhatFollowed(done);
    return broken.empty() ? brokenByLooking(done) : broken;
}

std::string Program::looked(const Operation& operation) {
    if (operation.kind == Kind::list) {
        return listed();
    }
    Promise promise(calls_, memory_);
    if (operation.kind == Kind::commandList) {
        const auto ran = tested_program::run({"--list"});
        const PrintedReport report(ran.output);
        const auto due = promise.printedList(report.order);
        promise.requireEnd();
        return ran.status == 0 ? differenceOf(report.lines, due) : inOneLine(printed(ran));
    }
    const std::string line = tested_program::statusLine(operation.id);
    const std::string due = promise.statusLine(operation.id);
    promise.requireEnd();
    return line == due ? "" : "another status line: " + line;
}

Switching Program::beginSwitching(bool on, std::uint32_t id, const Desk& before) {
    Switching done;
    done.on = on;
    done.id = id;
    done.wasRemembered = memory_.remembered.value_or(before.stored).contains(id);
    done.wasUnderBlackout = memory_.blackouts.contains(id);
    done.busDisplays = busDisplays(mac_.scene());
    done.wasNamed = isNamedInRegistry(mac_.scene(), id);
    done.seesAll = hasInSkyLight(mac_.scene(), "SLSGetDisplayList");
    done.before = before;
    if (!done.wasUnderBlackout) {
        const auto target = before.displays.find(id);
        const bool isBlack = target != before.displays.end() && target->second.isBlack();
        blackFromBefore_.erase(id);
        if (isBlack) {
            blackFromBefore_.insert(id);
        }
    }
    done.blackByAnother = blackFromBefore_.contains(id);
    done.tablesBeforeBlackout = tablesBefore_[id];
    return done;
}

void Program::noteWhatFollowed(Passage& done) {
    done.after = lookAt(mac_);
    done.meanwhile = meanwhile_;
    done.calls = calls_;
    done.wasFaulty = mac_.faultsFired() > faultsBefore_;
}

// Who cannot read the tables, or reads them when others have changed them, knows none.
void Program::noteSwitching(const Switching& done) {
    lastSwitching_ = done;
    if (done.wasUnderBlackout) {
        return;
    }
    const auto target = done.before.displays.find(done.id);
    const bool areKnown = !done.meanwhile && target != done.before.displays.end();
    tablesBefore_[done.id] = areKnown ? target->second.tables : Tables();
    if (done.meanwhile) {
        const auto found = done.meanwhile->after.displays.find(done.id);
        if (found != done.meanwhile->after.displays.end() && found->second.isBlack()) {
            blackFromBefore_.insert(done.id);
        }
    }
}

// The model tells what becomes of a desk where nothing goes wrong, the rules what must not.
std::string Program::brokenBy(const Switching& done, const Memory& known) const {
    std::string broken = brokenRule(done);
    const Model model(mac_.scene());
    if (model.knows(done)) {
        addLine(broken, model.difference(done, known));
    }
    return broken;
}

std::string Program::switched(const Operation& operation) {
    const bool isCommand = operation.kind == Kind::commandOff || operation.kind == Kind::commandOn;
    const bool on = operation.kind == Kind::on || operation.kind == Kind::commandOn;
    Switching done = beginSwitching(on, operation.id, lookAt(mac_));
    const Memory known = memory_;
    const std::string told =
        isCommand ? printed(tested_program::run({"--power", wordFor(on), std::to_string(done.id)}))
                  : safety::described(tested_program::setPower(on, done.id));
    noteWhatFollowed(done);
    Promise promise(calls_, memory_);
    done.outcome = promise.setPower(on, done.id);
    promise.requireEnd();
    noteSwitching(done);
    const std::string due = isCommand ? printed(done.outcome) : safety::described(done.outcome);
    std::string broken = told == due ? "" : inOneLine("says: " + told + "; promised: " + due);
    addLine(broken, brokenBy(done, known));
    return broken;
}

std::string Program::listed() {
    const std::vector<ListedDisplay> rows = tested_program::listDisplays();
    Promise promise(calls_, memory_);
    auto expected = promise.listDisplays();
    if (tested_program::hasFunctions()) {
        promise.requireEnd();
    } else {
        std::ranges::for_each(expected, [](auto& row) { row.mirrorSlave = false; });
    }
    if (!std::ranges::is_permutation(rows, expected)) {
        return "other rows in the list than promised";
    }
    return std::ranges::is_sorted(rows, comesFirst) ? "" : "the list is out of order";
}

std::string Program::released() {
    Passage done;
    done.before = lookAt(mac_);
    tested_program::restoreAll();
    noteWhatFollowed(done);
    std::set<std::uint32_t> blackedOut;
    for (const auto& [id, entry] : memory_.blackouts) {
        blackedOut.insert(id);
    }
    Promise promise(calls_, memory_);
    promise.restoreAll();
    promise.requireEnd();
    return brokenByLettingGo(done, blackFromBefore_, blackedOut, tablesBefore_);
}

// Which display comes first depends on the names as well: it is one of those that no other must
// precede.
std::string Program::commandedFirst(bool on) {
    const Desk before = lookAt(mac_);
    const auto ran = tested_program::run({"--power", wordFor(on)});
    const Memory known = memory_;
    const auto rows = Promise(calls_, memory_).listDisplays();
    if (rows.empty()) {
        const bool isTold = printed(ran) == "no display\nexit status 1";
        return isTold ? "" : inOneLine("prints: " + printed(ran));
    }
    std::string broken;
    for (const ListedDisplay& row : rows) {
        if (std::ranges::any_of(rows, [&](const auto& other) { return comesFirst(other, row); })) {
            continue;
        }
        memory_ = known;
        Switching done = beginSwitching(on, row.id, before);
        noteWhatFollowed(done);
        try {
            return listedAndSwitched(done, printed(ran));
        } catch (const BrokenPromise& error) {
            broken = error.what();
        }
    }
    return broken;
}

std::string Program::listedAndSwitched(Switching& done, const std::string& told) {
    Promise promise(calls_, memory_);
    (void)promise.listDisplays();
    const Memory listed = memory_;
    done.outcome = promise.setPower(done.on, done.id);
    promise.requireEnd();
    noteSwitching(done);
    std::string broken = told == printed(done.outcome) ? "" : inOneLine("prints: " + told);
    addLine(broken, brokenBy(done, listed));
    return broken;
}

std::string Program::selfTested() {
    const Desk before = lookAt(mac_);
    const auto ran = tested_program::run({"--selftest"});
    const PrintedReport report(ran.output);
    Promise promise(calls_, memory_);
    const Promise::SelfTest due = promise.selfTest(report.order);
    promise.requireEnd();
    std::string broken = differenceOf(report.lines, due.lines);
    if (ran.status != due.status) {
        addLine(broken, "exit status " + std::to_string(ran.status));
    }
    Switching off = beginSwitching(false, due.id, before);
    noteWhatFollowed(off);
    if (!due.off) {
        addLine(broken, brokenByLooking(off));
    } else if (off.meanwhile) {
        addLine(broken, brokenByDarkness(off));
    } else {
        Switching on = off;
        on.on = true;
        off.outcome = *due.off;
        on.outcome = *due.on;
        addLine(broken, brokenRule(on));
        addLine(broken, brokenByOffAndOn(off, on));
    }
    return broken;
}

} // namespace safety
