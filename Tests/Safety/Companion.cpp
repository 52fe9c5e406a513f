#include "Safety/Companion.h"

#include <array>
#include <cerrno>
#include <csignal>
#include <sys/socket.h>
#include <sys/wait.h>
#include <system_error>
#include <unistd.h>

namespace safety {
namespace {

struct Request {
    Operation operation;
    int lastCall = 0;
};

constexpr std::size_t longestAnswer = 4096;

// A packet socket keeps each request and each answer in one piece.
std::array<int, 2> connectedSockets() {
    std::array<int, 2> ends = {};
    if (socketpair(AF_UNIX, SOCK_SEQPACKET, 0, ends.data()) != 0) {
        throw std::system_error(errno, std::generic_category(), "socketpair");
    }
    return ends;
}

[[noreturn]] void serve(simulated_mac::Mac& mac, int connection) {
    Program program(mac);
    Request request;
    while (recv(connection, &request, sizeof request, 0) == sizeof request) {
        program.endAfterCall(request.lastCall);
        std::string broken = program.carryOut(request.operation, false);
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

std::optional<std::string> Companion::carryOut(const Operation& operation, int lastCall) {
    const Request request = {operation, lastCall};
    if (send(connection_, &request, sizeof request, MSG_NOSIGNAL) != sizeof request) {
        return std::nullopt;
    }
    std::array<char, longestAnswer> answer = {};
    if (recv(connection_, answer.data(), answer.size(), 0) <= 0) {
        return std::nullopt;
    }
    return std::string(answer.data());
}

} // namespace safety
