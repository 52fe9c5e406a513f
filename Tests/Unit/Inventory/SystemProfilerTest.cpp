#include "Veilpane/Inventory/SystemProfiler.h"

#include "Support/Files.h"
#include "Support/SimulatedMacTest.h"

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <fcntl.h>
#include <nlohmann/json.hpp>
#include <sys/wait.h>
#include <unistd.h>

namespace veilpane::test {
namespace {

// What is open here and goes to any child, as whoever started the tests has left it.
std::vector<int> inheritableDescriptors() {
    std::vector<int> numbers;
    for (int descriptor = 0; descriptor < 256; ++descriptor) {
        const int flags = fcntl(descriptor, F_GETFD);
        if (flags != -1 && (flags & FD_CLOEXEC) == 0) {
            numbers.push_back(descriptor);
        }
    }
    return numbers;
}

class SystemProfilerTest : public SimulatedMacTest {
protected:
    static nlohmann::json startOfProfiler() {
        boot(
            R"({ "displays": [ { "id": 1 } ], "profiler": { "executable": ")" START_REPORT_EXECUTABLE
            R"(" } })");
        return nlohmann::json::parse(runSystemProfiler().value_or(""));
    }
};

TEST_F(SystemProfilerTest, a_reader_that_goes_away_ends_the_profiler_although_not_this_program) {
    std::signal(SIGPIPE, SIG_IGN);
    const auto ignored = startOfProfiler().at("ignoredSignals").get<std::vector<int>>();
    EXPECT_EQ(std::ranges::count(ignored, SIGPIPE), 0);
}

TEST_F(SystemProfilerTest, a_signal_that_is_blocked_here_reaches_the_profiler) {
    sigset_t blocked;
    sigemptyset(&blocked);
    sigaddset(&blocked, SIGTERM);
    sigprocmask(SIG_BLOCK, &blocked, nullptr);
    EXPECT_EQ(startOfProfiler().at("blockedSignals"), nlohmann::json::array());
}

TEST_F(SystemProfilerTest, the_profiler_gets_none_of_our_descriptors) {
    const auto inheritable = inheritableDescriptors();
    EXPECT_EQ(startOfProfiler().at("descriptors").get<std::vector<int>>(), inheritable);
}

TEST_F(SystemProfilerTest, the_profiler_may_write_its_output_and_its_complaints) {
    EXPECT_EQ(startOfProfiler().at("writableOutputs").get<std::vector<int>>(),
              (std::vector<int>{STDOUT_FILENO, STDERR_FILENO}));
}

TEST_F(SystemProfilerTest, nobody_hears_its_complaints) {
    EXPECT_EQ(startOfProfiler().at("discardedOutputs").get<std::vector<int>>(),
              std::vector<int>{STDERR_FILENO});
}

void expectNoChild() {
    EXPECT_EQ(waitpid(-1, nullptr, WNOHANG), -1);
    EXPECT_EQ(errno, ECHILD);
}

TEST_F(SystemProfilerTest, no_ended_profiler_stays_behind) {
    (void)startOfProfiler();
    expectNoChild();
}

TEST_F(SystemProfilerTest, none_stays_behind_that_ends_after_its_output) {
    const TemporaryDirectory directory;
    const std::string profiler = directory.path() / "profiler";
    writeScript(profiler, "exec >&-; sleep 0.3");
    boot(R"({ "profiler": { "executable": ")" + profiler + R"(" } })");
    EXPECT_EQ(runSystemProfiler(), "");
    expectNoChild();
}

simulated_mac::SceneFault failsWith(const char* call, int error, int nth = 1) {
    return {.call = call, .nth = nth, .returns = -1, .errorNumber = error};
}

TEST_F(SystemProfilerTest, none_stays_behind_either_where_waiting_for_it_is_interrupted) {
    boot().failCall(failsWith("waitpid", EINTR));
    (void)runSystemProfiler();
    expectNoChild();
}

TEST_F(SystemProfilerTest, is_not_started_where_one_end_of_the_pipe_is_missing) {
    for (const int end : {1, 2}) {
        boot().failCall(failsWith("fcntl", EMFILE, end));
        EXPECT_EQ(runSystemProfiler(), std::nullopt);
        EXPECT_TRUE(calls({"posix_spawn"}).empty()) << "end " << end;
    }
}

struct Disturbance {
    const char* name;
    simulated_mac::SceneFault fault;
    bool hasOutput;

    friend void PrintTo(const Disturbance& row, std::ostream* stream) { *stream << row.name; }
};

class DisturbedProfiler : public SimulatedMacTest,
                          public testing::WithParamInterface<Disturbance> {};

TEST_P(DisturbedProfiler, is_read_as_far_as_it_can_be) {
    boot().failCall(GetParam().fault);
    const auto output = runSystemProfiler();
    EXPECT_EQ(output.has_value() && output->find("Studio") != std::string::npos,
              GetParam().hasOutput);
}

INSTANTIATE_TEST_SUITE_P(
    SystemProfiler, DisturbedProfiler,
    testing::Values(Disturbance{"no_pipe", failsWith("pipe", EMFILE), false},
                    Disturbance{"no_second_descriptor", failsWith("fcntl", EMFILE, 2), false},
                    Disturbance{"an_interrupted_read", failsWith("read", EINTR), true},
                    Disturbance{"a_read_of_one_byte", {.call = "read", .returns = 1}, true},
                    Disturbance{"a_failed_read", failsWith("read", EIO), false},
                    Disturbance{"an_interrupted_wait", failsWith("waitpid", EINTR), true},
                    Disturbance{"a_failed_wait", failsWith("waitpid", ECHILD), true}),
    [](const auto& info) { return info.param.name; });

} // namespace
} // namespace veilpane::test
