#pragma once

// For what ends a process, or what it can do only once: running it in a child.

#include <functional>
#include <ostream>
#include <string>
#include <sys/types.h>

/// How a child process ended, and what it had to say.
struct ChildOutcome {
    int status = 0; ///< as waitpid tells it
    std::string message;

    bool operator==(const ChildOutcome&) const = default;
    friend std::ostream& operator<<(std::ostream& stream, const ChildOutcome& outcome) {
        return stream << "status " << outcome.status << ", '" << outcome.message << "'";
    }
};

/// A copy of this process as it is when the object is made, which waits until it is told to run
/// `body`. A Mac that it boots ends with it.
class WaitingChild {
public:
    /// Throws std::runtime_error when there can be none.
    explicit WaitingChild(const std::function<std::string()>& body);
    WaitingChild(const WaitingChild&) = delete;
    WaitingChild& operator=(const WaitingChild&) = delete;
    ~WaitingChild(); ///< one that was told nothing ends without a word

    /// Waits for its end; the text is what `body` returned. To be called once.
    ChildOutcome go();

private:
    int start_ = -1;  ///< written to start it
    int answer_ = -1; ///< read from it
    pid_t process_ = 0;
};

/// Runs `body` in a copy of this process and returns the text that it returned. A Mac that it boots
/// ends with it.
ChildOutcome inChildProcess(const std::function<std::string()>& body);
