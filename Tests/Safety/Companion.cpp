#include "Safety/Companion.h"

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
    bool isKilled = false;
};

constexpr std::size_t longestAnswer = 4096;
constexpr std::string_view interrupted = "interrupted"; // what it says then, and hears to go on

// A packet socket keeps each request and each answer in one piece.
std::array<int, 2> connectedSockets() {
    std::array<int, 2> ends = {};
    if (socketpair(AF_UNIX, SOCK_SEQPACKET, 0, ends.data()) != 0) {
        throw std::system_error(errno, std::generic_category(), "socketpair");
    }
    return ends;
}

void waitForOthers(int connection) {
    std::array<char, interrupted.size()> answer = {};
    (void)send(connection, interrupted.data(), interrupted.size(), MSG_NOSIGNAL);
    if (recv(connection, answer.data(), answer.size(), 0) <= 0) {
        _exit(0);
    }
}

[[noreturn]] void serve(simulated_mac::Mac& mac, int connection) {
    Program program(mac);
    Request request;
    while (recv(connection, &request, sizeof request, 0) == sizeof request) {
        if (request.calls > 0) {
            program.interruptAfter(static_cast<std::size_t>(request.calls), [&] {
                request.isKilled ? _exit(0) : waitForOthers(connection);
            });
        }
        std::string broken = program.carryOut(request.operation);
        broken.resize(std::min(broken.size(), longestAnswer - 1));
        (void)send(connection, broken.c_str(), broken.size() + 1, MSG_NOSIGNAL);
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
    const Request request = {operation, befalling.calls, !befalling.happen};
    if (send(connection_, &request, sizeof request, MSG_NOSIGNAL) != sizeof request) {
        return std::nullopt;
    }
    std::array<char, longestAnswer> answer = {};
    while (recv(connection_, answer.data(), answer.size(), 0) > 0) {
        if (answer.data() != interrupted) {
            return std::string(answer.data());
        }
        befalling.happen();
        (void)send(connection_, interrupted.data(), interrupted.size(), MSG_NOSIGNAL);
        answer = {};
    }
    return std::nullopt;
}

} // namespace safety
