#pragma once

#include "Safety/Operation.h"

#include <functional>
#include <optional>
#include <string>
#include <sys/types.h>

namespace safety {

/// What befalls an operation when so many of its calls have returned.
struct Befalling {
    int calls = 0;                ///< 0 for nothing
    std::function<void()> happen; ///< in the process of who asks; empty: the program is killed
};

/// The program in a process of its own, on the Mac of the process that made it.
class Companion {
public:
    /// Throws std::system_error when there can be no other process.
    explicit Companion(simulated_mac::Mac& mac);
    Companion(const Companion&) = delete;
    Companion& operator=(const Companion&) = delete;
    /// Kills it, should it still run, and waits for its end.
    ~Companion();

    /// What is wrong with the operation, empty for nothing; absent when the process has ended.
    /// After `quit` it ends by itself.
    [[nodiscard]] std::optional<std::string> carryOut(const Operation& operation,
                                                      const Befalling& befalling = {});

    /// The last call that it had made when something befell it.
    [[nodiscard]] const std::string& lastCall() const { return lastCall_; }

private:
    int connection_ = -1;
    pid_t process_ = 0;
    std::string lastCall_;
};

} // namespace safety
