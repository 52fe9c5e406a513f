#pragma once

#include "Safety/Desk.h"
#include "Safety/Promise.h"
#include "Safety/Rules.h"

#include <cstdint>
#include <map>
#include <set>
#include <string>

namespace safety {

/// Something that a user has the program do.
struct Operation {
    enum class Kind {
        off,
        on,
        status,
        list,
        quit,
        commandOff, ///< by the command line, as the ones that follow
        commandOn,
        commandList,
        selfTest,
    };

    Kind kind = Kind::list;
    std::uint32_t id = 0;

    [[nodiscard]] std::string described() const;
};

/// Runs operations of the program in this process and holds each against its promise and the
/// rules.
class Program {
public:
    explicit Program(simulated_mac::Mac& mac);

    /// Empty, or what is wrong, in words. A misled program is held to its promise only, and to the
    /// rules that no answer excuses.
    std::string carryOut(const Operation& operation, bool misled);

    /// From the next operation on the process ends, without a word, when it has made this many
    /// calls; 0 is never.
    void endAfterCall(int number) { lastCall_ = number; }

    /// The calls of the operation that was carried out last.
    [[nodiscard]] const Calls& calls() const { return calls_; }

private:
    void note(const LoggedCall& call);
    [[nodiscard]] std::string promised(const Operation& operation, bool misled);
    /// Before the program switches; the outcome and the desk afterwards are still to come.
    [[nodiscard]] Switching beginSwitching(const Operation& operation, bool misled);
    /// After it has: what it ought to have said. Throws BrokenPromise for another call than
    /// promised.
    [[nodiscard]] Outcome endSwitching(Switching& done);
    [[nodiscard]] std::string switched(const Operation& operation, bool misled);
    [[nodiscard]] std::string listed();
    [[nodiscard]] std::string commanded(const Operation& operation, bool misled);
    [[nodiscard]] std::string selfTested(bool misled);

    simulated_mac::Mac& mac_;
    Calls calls_;
    Memory memory_;
    std::set<std::uint32_t> blackFromBefore_;      ///< when the BlackOut of this process began
    std::map<std::uint32_t, Tables> tablesBefore_; ///< likewise; none when they may be others
    int lastCall_ = 0;
};

} // namespace safety
