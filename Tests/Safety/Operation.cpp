#include "Safety/Operation.h"

#include "Safety/TestedProgram.h"
#include "SimulatedMac/World/Ledger.h"

#include <algorithm>
#include <unistd.h>
#include <vector>

namespace safety {
namespace {

using Kind = Operation::Kind;

std::string described(const Outcome& outcome) {
    return outcome.method + (outcome.success ? ", success, " : ", failure, ") + outcome.message;
}

bool comesFirst(const ListedDisplay& a, const ListedDisplay& b) {
    return a.disconnected == b.disconnected ? a.main && !b.main : b.disconnected;
}

bool isRefusal(const LoggedCall& call) {
    const bool configures = call.call == "SLSConfigureDisplayEnabled" ||
                            call.call == "CGBeginDisplayConfiguration" ||
                            call.call == "CGCompleteDisplayConfiguration";
    const bool looksUp = call.call == "dlopen" || call.call == "dlsym";
    return (configures && call.result != 0) || (looksUp && call.result == false);
}

std::string printed(const Outcome& outcome) {
    return "method=" + outcome.method + " success=" + (outcome.success ? "true" : "false") + "\n" +
           outcome.message + "\n";
}

} // namespace

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

void Program::note(const LoggedCall& call) {
    calls_.push_back(call);
    if (static_cast<int>(calls_.size()) == lastCall_) {
        _exit(0);
    }
}

std::string Program::carryOut(const Operation& operation, bool misled) {
    calls_.clear();
    try {
        if (std::string broken = promised(operation, misled); !broken.empty()) {
            return broken;
        }
    } catch (const std::exception& error) {
        return error.what();
    }
    if (std::string broken = brokenRule(calls_); !broken.empty()) {
        return broken;
    }
    return simulated_mac::ledger::outstanding();
}

std::string Program::promised(const Operation& operation, bool misled) {
    Promise promise(calls_, memory_);
    switch (operation.kind) {
    case Kind::off:
    case Kind::on:
        return switched(operation, misled);
    case Kind::list:
        return listed();
    case Kind::status:
        if (const std::string line = tested_program::statusLine(operation.id);
            line != promise.statusLine(operation.id)) {
            return "another status line: " + line;
        }
        break;
    case Kind::quit:
        tested_program::restoreAll();
        promise.restoreAll();
        break;
    case Kind::commandOff:
    case Kind::commandOn:
        return commanded(operation, misled);
    case Kind::commandList:
        (void)tested_program::run({"--list"});
        (void)promise.listDisplays();
        return {};
    case Kind::selfTest:
        return selfTested(misled);
    }
    promise.requireEnd();
    return {};
}

Switching Program::beginSwitching(const Operation& operation, bool misled) {
    Switching done;
    done.on = operation.kind == Kind::on || operation.kind == Kind::commandOn;
    done.id = operation.id;
    done.misled = misled;
    done.wasUnderBlackout = memory_.blackouts.contains(operation.id);
    done.before = lookAt(mac_);
    if (!done.wasUnderBlackout) {
        const auto target = done.before.displays.find(operation.id);
        const bool isBlack = target != done.before.displays.end() && target->second.isBlack();
        isBlack ? (void)blackFromBefore_.insert(operation.id)
                : (void)blackFromBefore_.erase(operation.id);
    }
    done.blackByAnother = blackFromBefore_.contains(operation.id);
    done.tablesBeforeBlackout = tablesBefore_[operation.id];
    return done;
}

Outcome Program::endSwitching(Switching& done) {
    done.after = lookAt(mac_);
    done.resetAllTables = std::ranges::find(calls_, "CGDisplayRestoreColorSyncSettings",
                                            &LoggedCall::call) != calls_.end();
    done.onlineUnknown = std::ranges::any_of(calls_, [](const LoggedCall& call) {
        return call.call == "CGGetOnlineDisplayList" && call.result != 0;
    });
    done.tablesRefused = std::ranges::any_of(calls_, [](const LoggedCall& call) {
        return call.call == "CGSetDisplayTransferByTable" && call.result != 0;
    });
    Promise promise(calls_, memory_);
    const Outcome promised = promise.setPower(done.on, done.id);
    promise.requireEnd();
    if (!done.wasUnderBlackout) {
        const auto target = done.before.displays.find(done.id);
        const bool areKnown = !done.misled && target != done.before.displays.end();
        tablesBefore_[done.id] = areKnown ? target->second.tables : Tables();
    }
    return promised;
}

std::string Program::switched(const Operation& operation, bool misled) {
    Switching done = beginSwitching(operation, misled);
    done.outcome = tested_program::setPower(done.on, done.id);
    const Outcome promised = endSwitching(done);
    if (promised != done.outcome) {
        return "says: " + described(done.outcome) + "; promised: " + described(promised);
    }
    return brokenRule(done);
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

std::string Program::commanded(const Operation& operation, bool misled) {
    Switching done = beginSwitching(operation, misled);
    const auto ran =
        tested_program::run({"--power", done.on ? "on" : "off", std::to_string(done.id)});
    done.outcome = endSwitching(done);
    if (ran.output != printed(done.outcome)) {
        return "prints: " + ran.output + "; promised: " + printed(done.outcome);
    }
    if (ran.status != (done.outcome.success ? 0 : 1)) {
        return "exit status " + std::to_string(ran.status);
    }
    return brokenRule(done);
}

// What it switches off it switches on again, unless the Mac refuses that.
std::string Program::selfTested(bool misled) {
    const Desk before = lookAt(mac_);
    (void)tested_program::run({"--selftest"});
    const Desk after = lookAt(mac_);
    (void)Promise(calls_, memory_).listDisplays();
    misled = misled || std::ranges::any_of(calls_, isRefusal);
    for (const auto& [id, sight] : before.displays) {
        const auto now = after.displays.find(id);
        const bool isOff =
            now == after.displays.end() || !now->second.enabled || now->second.isBlack();
        if (!misled && sight.enabled && !sight.isBlack() && isOff) {
            return "the self-test leaves display " + std::to_string(id) + " off";
        }
    }
    return {};
}

} // namespace safety
