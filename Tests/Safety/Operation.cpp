#include "Safety/Operation.h"

#include "Safety/Rules.h"
#include "SimulatedMac/World/Ledger.h"
#include "Veilpane/Inventory/DisplayStore.h"
#include "Veilpane/Power/BlackoutController.h"
#include "Veilpane/Power/DisplayPower.h"

#include <algorithm>
#include <unistd.h>

namespace safety {
namespace {

using Kind = Operation::Kind;

Outcome outcomeOf(const veilpane::PowerResult& result) {
    return {std::string(title(result.method)), result.success, result.message};
}

std::string described(const Outcome& outcome) {
    return outcome.method + (outcome.success ? ", success, " : ", failure, ") + outcome.message;
}

ListedDisplay rowOf(const veilpane::DisplayItem& item) {
    return {item.id, item.isBuiltIn, item.isMain, item.isMirrorSlave, item.isDisconnected};
}

bool comesFirst(const ListedDisplay& a, const ListedDisplay& b) {
    return a.disconnected == b.disconnected ? a.main && !b.main : b.disconnected;
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
        if (const std::string line = veilpane::DisplayPower::statusLine(operation.id);
            line != promise.statusLine(operation.id)) {
            return "another status line: " + line;
        }
        break;
    case Kind::quit:
        veilpane::BlackoutController::shared().restoreAll();
        promise.restoreAll();
        break;
    }
    promise.requireEnd();
    return {};
}

std::string Program::switched(const Operation& operation, bool misled) {
    Switching done;
    done.on = operation.kind == Kind::on;
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
    done.outcome = outcomeOf(veilpane::DisplayPower::setPower(done.on, operation.id));
    done.after = lookAt(mac_);
    done.resetAllTables = std::ranges::find(calls_, "CGDisplayRestoreColorSyncSettings",
                                            &LoggedCall::call) != calls_.end();
    Promise promise(calls_, memory_);
    const Outcome outcome = promise.setPower(done.on, operation.id);
    promise.requireEnd();
    if (!done.wasUnderBlackout) {
        const auto target = done.before.displays.find(operation.id);
        const bool areKnown = !misled && target != done.before.displays.end();
        tablesBefore_[operation.id] = areKnown ? target->second.tables : Tables();
    }
    if (outcome != done.outcome) {
        return "says: " + described(done.outcome) + "; promised: " + described(outcome);
    }
    return brokenRule(done);
}

std::string Program::listed() {
    std::vector<ListedDisplay> rows;
    for (const veilpane::DisplayItem& item : veilpane::DisplayStore::shared().listDisplays()) {
        if (item.name.empty()) {
            return "a display without a name";
        }
        rows.push_back(rowOf(item));
    }
    Promise promise(calls_, memory_);
    auto expected = promise.listDisplays();
    promise.requireEnd();
    if (!std::ranges::is_permutation(rows, expected)) {
        return "other rows in the list than promised";
    }
    return std::ranges::is_sorted(rows, comesFirst) ? "" : "the list is out of order";
}

} // namespace safety
