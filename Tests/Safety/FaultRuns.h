#pragma once

#include "Safety/Forked.h"
#include "Safety/Mischief.h"
#include "Safety/Operation.h"
#include "Safety/Situations.h"

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace safety {

/// How an operation finds the display that is usually switched.
enum class Start {
    fresh, ///< as the situation has it
    switchedOff,
    inStandby,
    underBlackout,
    allUnderBlackout, ///< and the next one, too
};

/// Every call of every operation failing in every way, everything that others can do to the Mac
/// after it, and pairs of these in the power operations with two displays: a numbered list of runs.
class FaultRuns {
public:
    /// Counts the calls of every operation in every situation, which takes some seconds. With
    /// another `part` than 1 only every part-th of them, scattered over all, is counted and has
    /// runs. Throws std::runtime_error for an operation that does not come to its end although
    /// nothing fails.
    explicit FaultRuns(std::size_t part = 1);

    [[nodiscard]] std::size_t count() const { return count_; }
    [[nodiscard]] std::string described(std::size_t number) const;

    enum class Verdict {
        held,
        broken,
        impossible, ///< the event cannot happen to the Mac in that state
    };
    struct Result {
        Verdict verdict = Verdict::held;
        std::string text; ///< what is broken, in words
    };
    /// Carries the run out in a process of its own.
    [[nodiscard]] Result carryOut(std::size_t number, Forked& forked) const;

private:
    /// An operation in a situation, after what the user did before. There are many in memory, and
    /// each run is a copy of it.
    struct Case {
        const Situation* situation;
        Start start;
        Operation operation;
        CallNames calls = {};
        /// In how many it can go wrong before and at each call.
        std::vector<std::uint16_t> ways = {};
        std::size_t firstRun = 0;
        std::size_t singles = 0; ///< runs with one thing wrong; those with two follow
    };
    struct Run {
        const Case* of;
        std::vector<Mischief> wrong;
        /// Chooses the second thing that goes wrong, which depends on what the first one leads to.
        std::optional<std::size_t> second = std::nullopt;
        CallNames calls = {}; ///< that it makes until the last thing goes wrong
    };

    static std::vector<Case> casesOf(const Situation& situation);
    void addCase(Case one, const Forked::End& end);
    [[nodiscard]] Run run(std::size_t number) const;
    [[nodiscard]] Run completed(Run run, Forked& forked) const;
    [[nodiscard]] static Mischief single(const Case& one, std::size_t number);

    std::vector<Case> cases_;
    std::size_t count_ = 0;
};

} // namespace safety
