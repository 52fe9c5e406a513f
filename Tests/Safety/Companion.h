#pragma once

#include "Safety/Operation.h"

#include <optional>
#include <string>
#include <sys/types.h>

namespace safety {

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
    /// After `quit` it ends by itself. With `lastCall` above 0 it is killed when that call returns.
    [[nodiscard]] std::optional<std::string> carryOut(const Operation& operation, int lastCall);

private:
    int connection_ = -1;
    pid_t process_ = 0;
};

} // namespace safety
