#include "Safety/Companion.h"

#include "Safety/Forked.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <csignal>
#include <string_view>
#include <sys/socket.h>
#include <sys/wait.h>
#include <system_error>
#include <unistd.h>

namespace safety {
namespace {

struct Request {
    Operation operation;
    int calls = 0; ///< after which something befalls it
};

constexpr std::size_t longestAnswer = 4096;
constexpr unsigned secondsToHang =
    100; // of a program that does not come to an end; SIGALRM ends it
// What it says when it has made so many calls, before the name of the last one.
constexpr std::string_view interrupted = "interrupted by ";

// A packet socket keeps each request and each answer in one piece.
std::array<int, 2> connectedSockets() {
    std::array<int, 2> ends = {};
    if (socketpair(AF_UNIX, SOCK_SEQPACKET, 0, ends.data()) != 0) {
        throw std::system_error(errno, std::generic_category(), "socketpair");
    }
    return ends;
}

void tell(int connection, std::string text) {
    text.resize(std::min(text.size(), longestAnswer - 1));
    (void)send(connection, text.c_str(), text.size() + 1, MSG_NOSIGNAL);
}

// Whoever is to be killed is never told to go on.
void waitForOthers(int connection, const std::string& lastCall) {
    char goOn = 0;
    tell(connection, std::string(interrupted) + lastCall);
    if (recv(connection, &goOn, sizeof goOn, 0) <= 0) {
        _exit(0);
    }
}

[[noreturn]] void serve(simulated_mac::Mac& mac, int connection) {
    Program program(mac);
    Request request;
    while (recv(connection, &request, sizeof request, 0) == sizeof request) {
        if (request.calls > 0) {
            program.interruptAfter(static_cast<std::size_t>(request.calls),
                                   [&] { waitForOthers(connection, program.calls().back().call); });
        }
        alarm(secondsToHang);
        tell(connection, program.carryOut(request.operation));
        alarm(0);
        if (request.operation.kind == Operation::Kind::quit) {
            break;
        }
    }
    _exit(0);
}

} // namespace

Companion::Companion(simulated_mac::Mac& mac) {
    const auto [ours, theirs] = connectedSockets();
    process_ = fork();
    if (process_ < 0) {
        throw std::system_error(errno, std::generic_category(), "fork");
    }
    if (process_ == 0) {
        close(ours);
        serve(mac, theirs);
    }
    close(theirs);
    connection_ = ours;
}

Companion::~Companion() {
    close(connection_);
    (void)kill(process_, SIGKILL);
    while (waitpid(process_, nullptr, 0) < 0 && errno == EINTR) {
    }
}

std::optional<std::string> Companion::carryOut(const Operation& operation,
                                               const Befalling& befalling) {
    const Request request = {operation, befalling.calls};
    if (send(connection_, &request, sizeof request, MSG_NOSIGNAL) != sizeof request) {
        return std::nullopt;
    }
    std::array<char, longestAnswer> answer = {};
    while (recv(connection_, answer.data(), answer.size(), 0) > 0) {
        const std::string told = answer.data();
        if (!told.starts_with(interrupted)) {
            return told;
        }
        lastCall_ = told.substr(interrupted.size());
        if (!befalling.happen) {
            (void)kill(process_, SIGKILL);
            return std::nullopt;
        }
        befalling.happen();
        (void)send(connection_, "", 1, MSG_NOSIGNAL);
    }
    return std::nullopt;
}

} // namespace safety
