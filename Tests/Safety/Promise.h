#pragma once

#include "SimulatedMac/World/CallLog.h"

#include <cstdint>
#include <map>
#include <optional>
#include <set>
#include <stdexcept>
#include <string>
#include <vector>

/// What the program promises, written down a second time and without any of its code: for each
/// operation the calls that it makes, in order, what it concludes from their answers and what it
/// tells the user. The answers are taken from the calls that it really made, so that the promise
/// holds whatever the Mac says.
namespace safety {

using simulated_mac::LoggedCall;
using Calls = std::vector<LoggedCall>;

/// The titles of the mechanisms.
inline const std::string disconnectTitle = "断开显示器（SLS）";
inline const std::string ddcTitle = "DDC 硬件电源";
inline const std::string blackoutTitle = "BlackOut（镜像+Gamma）";

/// What a power operation says it did.
struct Outcome {
    std::string method; ///< its title
    bool success = false;
    std::string message;

    bool operator==(const Outcome&) const = default;
};

/// What one process of the program knows.
struct Memory {
    struct Blackout {
        bool tablesSaved = false;
        bool brightnessZeroed = false;
    };
    std::optional<std::set<std::uint32_t>> remembered; ///< absent until it has been read
    std::map<std::uint32_t, Blackout> blackouts;
    bool profilerHasRun = false;
};

/// A row of the list, apart from its name.
struct ListedDisplay {
    std::uint32_t id = 0;
    bool builtIn = false, main = false, mirrorSlave = false, disconnected = false;

    bool operator==(const ListedDisplay&) const = default;
};

/// Whether the first must come before the second in the list, whatever their names are.
[[nodiscard]] bool comesFirst(const ListedDisplay& a, const ListedDisplay& b);

/// The program made another call than it promises. The text says which, and in whose place.
class BrokenPromise : public std::runtime_error {
    using std::runtime_error::runtime_error;
};

/// The bytes of a Set VCP Feature message as hexadecimal digits, as the call log shows them.
[[nodiscard]] std::string messageBytes(std::uint8_t code, std::uint16_t value);

/// Whether the call is a message that a monitor's bus has taken.
[[nodiscard]] bool isTakenMessage(const LoggedCall& call);

/// Follows the calls of one operation, each function for one operation. Throws BrokenPromise.
class Promise {
public:
    /// Both are changed as the process's own are. They must live as long as the promise.
    Promise(const Calls& calls, Memory& memory) : calls_(calls), memory_(memory) {}

    [[nodiscard]] Outcome setPower(bool on, std::uint32_t id);
    [[nodiscard]] std::string statusLine(std::uint32_t id);
    /// In the order of the candidates: the list's own order depends on the names.
    [[nodiscard]] std::vector<ListedDisplay> listDisplays();
    void restoreAll();

    /// What `--list` prints, for its displays in the order in which it does; a star stands for each
    /// name. Throws BrokenPromise for an order that is none of theirs.
    [[nodiscard]] std::vector<std::string> printedList(const std::vector<std::uint32_t>& order);

    /// What `--selftest` prints, likewise.
    struct SelfTest {
        std::vector<std::string> lines;
        int status = 0;
        std::uint32_t id = 0;           ///< the display that was switched
        std::optional<Outcome> off, on; ///< absent when none was
    };
    [[nodiscard]] SelfTest selfTest(const std::vector<std::uint32_t>& order);

    /// Building the menu, for its rows in the order in which they stand: which of them are on.
    [[nodiscard]] std::vector<bool> menu(const std::vector<std::uint32_t>& order);

    /// Flipping a switch: what is told, if anything is tried, and how the switch stands then.
    struct Flip {
        std::optional<Outcome> outcome;
        bool isOn = true;
    };
    [[nodiscard]] Flip flip(bool on, std::uint32_t id);

    /// Throws unless every call has been followed.
    void requireEnd() const;

private:
    using IDs = std::vector<std::uint32_t>;
    struct Bus;

    // The next call, which must be of this name and begin with these arguments.
    const LoggedCall& next(const std::string& name, const nlohmann::json& arguments);
    [[nodiscard]] bool nextIs(const std::string& name, const nlohmann::json& arguments) const;
    bool yes(const char* question, std::uint32_t id);

    [[nodiscard]] bool skyLightHas(const char* symbol);
    [[nodiscard]] std::optional<IDs> list(const char* name, std::uint32_t capacity);
    [[nodiscard]] IDs known();
    [[nodiscard]] bool softDisconnected(std::uint32_t id);
    [[nodiscard]] bool disconnectedByUs(std::uint32_t id);
    void load();

    using Failure = std::optional<std::string>; ///< absent for success
    struct Change {
        bool enabled;
        std::uint32_t id;
    };
    [[nodiscard]] Failure setEnabled(Change change);
    [[nodiscard]] Failure apply(Change change);
    [[nodiscard]] Failure configure(Change change, int& config);
    [[nodiscard]] std::optional<int> begin(std::int32_t& error);
    bool mirror(std::uint32_t id, std::uint32_t master);
    void unmirrorIfNeeded(std::uint32_t id);

    [[nodiscard]] Bus lookAtBus();
    [[nodiscard]] bool canControl();
    [[nodiscard]] Failure send(std::uint8_t code, std::uint16_t value, std::uint32_t id);

    void blackOut(std::uint32_t id);
    void restore(std::uint32_t id);
    [[nodiscard]] std::optional<std::uint32_t> mirrorSource(std::uint32_t id);
    [[nodiscard]] Outcome switchOff(std::uint32_t id);
    [[nodiscard]] Outcome switchOn(std::uint32_t id);
    [[nodiscard]] Outcome fallBack(std::uint32_t id);
    void followNames();
    [[nodiscard]] std::vector<ListedDisplay> listedIn(const std::vector<std::uint32_t>& order);
    [[nodiscard]] std::string flagsOf(const ListedDisplay& row);
    [[nodiscard]] bool seemsOff(std::uint32_t id);
    [[nodiscard]] bool isShownOn(std::uint32_t id);
    void describe(const ListedDisplay& row, SelfTest& test);
    void testDisplay(SelfTest& test);

    const Calls& calls_;
    Memory& memory_;
    std::size_t place_ = 0;
};

} // namespace safety
