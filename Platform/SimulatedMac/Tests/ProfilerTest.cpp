#include "SimulatedMac/World/Ledger.h"
#include "SimulatedMac/World/Mac.h"

#include <array>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <poll.h>
#include <spawn.h>
#include <string>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

extern char** environ;

namespace simulated_mac {
namespace {

struct Launched {
    pid_t process = 0;
    int output = -1; ///< the pipe that its standard output goes to
};

/// Starts the system profiler as the program does, with `stream` as the stream to read from.
Launched launch(int stream = STDOUT_FILENO) {
    std::array<int, 2> ends = {};
    EXPECT_EQ(pipe(ends.data()), 0);
    EXPECT_NE(fcntl(ends[0], F_SETFD, FD_CLOEXEC), -1);
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_addopen(&actions, STDOUT_FILENO, "/dev/null", O_WRONLY, 0);
    posix_spawn_file_actions_addopen(&actions, STDERR_FILENO, "/dev/null", O_WRONLY, 0);
    posix_spawn_file_actions_adddup2(&actions, ends[1], stream);
    posix_spawn_file_actions_addclose(&actions, ends[1]);
    std::string path = "/usr/sbin/system_profiler", type = "SPDisplaysDataType", format = "-json";
    const std::array<char*, 4> arguments = {path.data(), type.data(), format.data(), nullptr};
    Launched launched{0, ends[0]};
    EXPECT_EQ(
        posix_spawn(&launched.process, path.c_str(), &actions, nullptr, arguments.data(), environ),
        0);
    posix_spawn_file_actions_destroy(&actions);
    close(ends[1]);
    return launched;
}

std::string readToEnd(int descriptor) {
    std::string text;
    std::array<char, 4096> buffer = {};
    for (ssize_t count = 0; (count = read(descriptor, buffer.data(), buffer.size())) > 0;) {
        text.append(buffer.data(), static_cast<std::size_t>(count));
    }
    return text;
}

struct Ended {
    std::string output;
    int status = 0;
};

Ended run(int stream = STDOUT_FILENO) {
    const Launched launched = launch(stream);
    Ended ended{readToEnd(launched.output), 0};
    EXPECT_EQ(waitpid(launched.process, &ended.status, 0), launched.process);
    close(launched.output);
    return ended;
}

Mac& bootWithProfiler(const std::string& profiler) {
    return Mac::boot(R"({ "profiler": { "output": "noise")" + profiler + " } }");
}

TEST(Profiler, ends_with_a_status_once_it_has_printed) {
    bootWithProfiler(R"(, "exit": 3)");
    const Ended ended = run();
    EXPECT_EQ(ended.output, "noise");
    EXPECT_TRUE(WIFEXITED(ended.status) && WEXITSTATUS(ended.status) == 3) << ended.status;
}

TEST(Profiler, crashes_once_it_has_printed) {
    for (const int number : {SIGSEGV, SIGABRT, SIGKILL}) {
        bootWithProfiler(R"(, "signal": )" + std::to_string(number));
        const Ended ended = run();
        EXPECT_EQ(ended.output, "noise");
        EXPECT_TRUE(WIFSIGNALED(ended.status) && WTERMSIG(ended.status) == number) << ended.status;
    }
}

TEST(Profiler, prints_noise_to_standard_error) {
    bootWithProfiler(R"(, "stderr": "warning: 显示器\n")");
    EXPECT_EQ(run(STDERR_FILENO).output, "warning: 显示器\n");
}

TEST(Profiler, takes_its_time) {
    bootWithProfiler(R"(, "delay": 0.5)");
    const auto begin = std::chrono::steady_clock::now();
    EXPECT_EQ(run().output, "noise");
    EXPECT_GE(std::chrono::steady_clock::now() - begin, std::chrono::milliseconds(500));
}

TEST(Profiler, may_leave_its_output_open_when_it_has_ended) {
    bootWithProfiler(R"(, "keepOpen": true)");
    const Launched launched = launch();
    int status = 0;
    EXPECT_EQ(waitpid(launched.process, &status, 0), launched.process);
    EXPECT_EQ(status, 0);
    std::array<char, 16> buffer = {};
    EXPECT_EQ(read(launched.output, buffer.data(), buffer.size()), 5);
    pollfd output = {launched.output, POLLIN, 0};
    EXPECT_EQ(poll(&output, 1, 300), 0) << "the output has ended";
    close(launched.output);
}

TEST(Profiler, is_quick_and_clean_without_the_keys) {
    bootWithProfiler("");
    const Ended ended = run();
    EXPECT_EQ(ended.output, "noise");
    EXPECT_EQ(ended.status, 0);
}

Mac& bootWithFault(const std::string& fault) {
    return Mac::boot(R"({ "profiler": { "output": "noise" }, "faults": [ { )" + fault + " } ] }");
}

int errnoOf(int result) {
    return result == -1 ? errno : 0;
}

TEST(LaunchFaults, a_pipe_cannot_be_made) {
    Mac& mac = bootWithFault(R"("call": "pipe", "returns": -1, "errno": 23)");
    std::array<int, 2> ends = {-7, -7};
    EXPECT_EQ(errnoOf(pipe(ends.data())), 23);
    EXPECT_EQ(ends[0], -7);
    EXPECT_EQ(mac.calls().back().call, "pipe");
    EXPECT_EQ(pipe(ends.data()), 0);
    close(ends[0]);
    close(ends[1]);
}

TEST(LaunchFaults, a_descriptor_cannot_be_duplicated) {
    bootWithFault(R"("call": "fcntl", "nth": 2, "null": true)");
    const int copy = fcntl(STDERR_FILENO, F_DUPFD_CLOEXEC, 3);
    EXPECT_GE(copy, 3);
    EXPECT_EQ(errnoOf(fcntl(STDERR_FILENO, F_DUPFD_CLOEXEC, 3)), EMFILE);
    EXPECT_NE(fcntl(copy, F_GETFD), -1) << "not a call of the launch";
    close(copy);
}

TEST(LaunchFaults, a_read_is_interrupted_ends_early_or_is_short) {
    struct Row {
        const char* fault;
        ssize_t count;
        int error;
    };
    const std::vector<Row> rows = {{R"("returns": -1, "errno": 4)", -1, EINTR},
                                   {R"("returns": -1)", -1, EIO},
                                   {R"("returns": 0)", 0, 0},
                                   {R"("null": true)", 0, 0},
                                   {R"("returns": 2)", 2, 0}};
    for (const Row& row : rows) {
        bootWithFault(R"("call": "read", )" + std::string(row.fault));
        const Launched launched = launch();
        std::array<char, 16> buffer = {};
        errno = 0;
        EXPECT_EQ(read(launched.output, buffer.data(), buffer.size()), row.count) << row.fault;
        EXPECT_EQ(row.count == -1 ? errno : 0, row.error) << row.fault;
        EXPECT_EQ(readToEnd(launched.output), row.count > 0 ? "ise" : "noise") << row.fault;
        EXPECT_EQ(waitpid(launched.process, nullptr, 0), launched.process);
        close(launched.output);
    }
}

TEST(LaunchFaults, the_waiting_fails_without_or_with_effect) {
    for (const bool effect : {false, true}) {
        Mac& mac = bootWithFault(R"("call": "waitpid", "returns": -1, "errno": 10)" +
                                 std::string(effect ? R"(, "effect": true)" : ""));
        const Launched launched = launch();
        EXPECT_EQ(readToEnd(launched.output), "noise");
        EXPECT_EQ(errnoOf(waitpid(launched.process, nullptr, 0)), ECHILD);
        EXPECT_EQ(mac.calls().back().result, -1);
        EXPECT_EQ(waitpid(launched.process, nullptr, 0), effect ? -1 : launched.process);
        close(launched.output);
    }
}

TEST(Launch, what_is_not_destroyed_of_its_options_is_outstanding) {
    Mac::boot("{}");
    posix_spawn_file_actions_t actions;
    posix_spawnattr_t attributes;
    posix_spawn_file_actions_init(&actions);
    posix_spawnattr_init(&attributes);
    EXPECT_EQ(ledger::outstanding(), "file actions of a launch: 1\nattributes of a launch: 1\n");
    posix_spawn_file_actions_destroy(&actions);
    posix_spawnattr_destroy(&attributes);
    EXPECT_EQ(ledger::outstanding(), "");
}

TEST(Launch, options_that_are_destroyed_twice_end_the_process) {
    Mac::boot("{}");
    posix_spawnattr_t attributes;
    posix_spawnattr_init(&attributes);
    posix_spawnattr_destroy(&attributes);
    EXPECT_DEATH(posix_spawnattr_destroy(&attributes),
                 "posix_spawnattr_destroy.*attributes of a launch is used after its last release");
}

TEST(LaunchFaults, without_one_these_calls_are_neither_logged_nor_counted) {
    Mac& mac = Mac::boot(R"({ "profiler": { "output": "noise" },
        "faults": [ { "call": "*", "nth": 2, "returns": 0 } ] })");
    EXPECT_EQ(run().output, "noise");
    ASSERT_EQ(mac.calls().size(), 1u);
    EXPECT_EQ(mac.calls()[0].call, "posix_spawn");
    EXPECT_FALSE(mac.faultFired());
}

} // namespace
} // namespace simulated_mac
