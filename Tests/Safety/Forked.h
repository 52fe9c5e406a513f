#pragma once

#include <cstddef>
#include <functional>
#include <string>
#include <sys/types.h>

namespace safety {

/// For so long a program may seem to hang; then SIGALRM ends it.
constexpr unsigned secondsToHang = 100;

/// Runs bodies one after another, each in a process of its own, as the program keeps what it knows
/// for the life of a process. What a body returns comes back through memory that both share.
class Forked {
public:
    /// Throws std::system_error without memory.
    Forked();
    Forked(const Forked&) = delete;
    Forked& operator=(const Forked&) = delete;
    ~Forked();

    struct End {
        std::string text; ///< what the body returned; empty if it did not come that far
        int signal = 0;   ///< that ended the process
        int status = 0;   ///< its exit status: 0 once the body has returned
    };
    End run(const std::function<std::string()>& body);

    /// As run(), in two halves, while others run as well. Each start has its end before the next
    /// one.
    void start(const std::function<std::string()>& body);
    End end();

private:
    struct Page;
    Page* page_;
    pid_t child_ = 0;
};

} // namespace safety
