#pragma once

// For what ends a process, or what it can do only once: running it in a child.

#include <functional>
#include <ostream>
#include <string>

/// How a child process ended, and what it had to say.
struct ChildOutcome {
    int status = 0; ///< as waitpid tells it
    std::string message;

    bool operator==(const ChildOutcome&) const = default;
    friend std::ostream& operator<<(std::ostream& stream, const ChildOutcome& outcome) {
        return stream << "status " << outcome.status << ", '" << outcome.message << "'";
    }
};

/// Runs `body` in a copy of this process and returns the text that it returned. A Mac that it boots
/// ends with it.
ChildOutcome inChildProcess(const std::function<std::string()>& body);
