#include "SimulatedMac/World/ProcessStart.h"

#include <array>
#include <chrono>
#include <csignal>
#include <fstream>
#include <gtest/gtest.h>
#include <iterator>
#include <string>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>

namespace simulated_mac {
namespace {

using namespace std::chrono_literals;

/// A process that goes on in its second thread until it is told to end.
class LeftByItsFirstThread {
public:
    LeftByItsFirstThread() {
        EXPECT_EQ(pipe(told_.data()), 0);
        process_ = fork();
        if (process_ == 0) {
            close(told_[1]);
            std::thread([this] { endWhenTold(); }).detach();
            // pthread_exit would unwind the test's own frames, which catch what passes.
            syscall(SYS_exit, 0);
        }
        close(told_[0]);
    }
    LeftByItsFirstThread(const LeftByItsFirstThread&) = delete;
    LeftByItsFirstThread& operator=(const LeftByItsFirstThread&) = delete;
    ~LeftByItsFirstThread() {
        kill(process_, SIGKILL);
        waitpid(process_, nullptr, 0);
    }

    [[nodiscard]] pid_t id() const { return process_; }

    [[nodiscard]] bool firstThreadEnds() const {
        for (int i = 0; i < 1000; ++i) {
            if (firstThread().contains(") Z ")) {
                return true;
            }
            std::this_thread::sleep_for(10ms);
        }
        return false;
    }

    /// Returns when it has ended, but still has its number.
    void end() const {
        close(told_[1]);
        siginfo_t how = {};
        EXPECT_EQ(waitid(P_PID, static_cast<id_t>(process_), &how, WEXITED | WNOWAIT), 0);
    }

private:
    void endWhenTold() const {
        char nothing = 0;
        (void)!read(told_[0], &nothing, 1);
        _exit(0);
    }

    [[nodiscard]] std::string firstThread() const {
        const std::string number = std::to_string(process_);
        std::ifstream file("/proc/" + number + "/task/" + number + "/stat");
        return {std::istreambuf_iterator<char>(file), {}};
    }

    std::array<int, 2> told_ = {-1, -1};
    pid_t process_ = 0;
};

TEST(ProcessStart, is_told_while_any_thread_runs) {
    const LeftByItsFirstThread process;
    const auto start = startTime(process.id());
    ASSERT_TRUE(process.firstThreadEnds());
    EXPECT_TRUE(start);
    EXPECT_EQ(startTime(process.id()), start);
    process.end();
    EXPECT_EQ(startTime(process.id()), std::nullopt);
}

} // namespace
} // namespace simulated_mac
