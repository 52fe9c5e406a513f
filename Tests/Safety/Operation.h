#pragma once

#include "Safety/Desk.h"
#include "Safety/Promise.h"
#include "Safety/Rules.h"

#include <cstddef>
#include <cstdint>
#include <functional>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <vector>

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
        commandOffFirst, ///< without an ID: the first one of the list
        commandOnFirst,
        commandList,
        selfTest,
    };

    Kind kind = Kind::list;
    std::uint32_t id = 0;

    [[nodiscard]] std::string described() const;
    /// Whether it is `off` or `on`.
    [[nodiscard]] bool isSwitching() const;
};

/// Runs operations of the program in this process and holds each against its promise and the
/// rules.
class Program {
public:
    explicit Program(simulated_mac::Mac& mac);

    /// Empty, or what is wrong, in words.
    std::string carryOut(const Operation& operation);

    /// When the next operation has made so many calls or, with 0, before its first, somebody else
    /// does this.
    void interruptAfter(std::size_t calls, std::function<void()> happen);

    /// The calls of the operation that was carried out last.
    [[nodiscard]] const Calls& calls() const { return calls_; }
    /// The last operation that switched a named display.
    [[nodiscard]] const std::optional<Switching>& lastSwitching() const { return lastSwitching_; }

private:
    struct Interruption {
        std::size_t calls;
        std::function<void()> happen;
    };

    void note(const LoggedCall& call);
    void interruptIfDue();
    [[nodiscard]] std::string promised(const Operation& operation);
    [[nodiscard]] std::uint32_t targetOf(const Operation& operation) const;
    [[nodiscard]] std::string looked(const Operation& operation);
    /// Before the program switches; the outcome and the desk afterwards are still to come.
    [[nodiscard]] Switching beginSwitching(bool on, std::uint32_t id, const Desk& before);
    void noteWhatFollowed(Passage& done);
    void noteSwitching(const Switching& done);
    [[nodiscard]] std::string brokenBy(const Switching& done, const Memory& known) const;
    [[nodiscard]] std::string switched(const Operation& operation);
    [[nodiscard]] std::string listed();
    [[nodiscard]] std::string released();
    [[nodiscard]] std::string commandedFirst(bool on);
    [[nodiscard]] std::string listedAndSwitched(Switching& done, const std::string& told);
    [[nodiscard]] std::string selfTested();

    simulated_mac::Mac& mac_;
    Calls calls_;
    Memory memory_;
    std::set<std::uint32_t> blackFromBefore_;      ///< when the BlackOut of this process began
    std::map<std::uint32_t, Tables> tablesBefore_; ///< likewise; none when they may be others
    std::vector<Interruption> interruptions_;
    std::uint64_t faultsBefore_ = 0; ///< that had applied when the operation began
    std::optional<Meanwhile> meanwhile_;
    std::optional<Switching> lastSwitching_;
};

} // namespace safety
