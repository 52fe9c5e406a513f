#include "SimulatedMac/World/Mac.h"
#include "SimulatedMac/World/MacState.h"

#include <CoreGraphics/CoreGraphics.h>

#include <array>
#include <chrono>
#include <csignal>
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>

namespace simulated_mac {
namespace {

using namespace std::chrono_literals;

void blockSIGTERM() {
    sigset_t signals;
    sigemptyset(&signals);
    sigaddset(&signals, SIGTERM);
    sigprocmask(SIG_BLOCK, &signals, nullptr);
}

void waitForSIGTERM() {
    sigset_t signals;
    sigemptyset(&signals);
    sigaddset(&signals, SIGTERM);
    int number = 0;
    sigwait(&signals, &number);
}

/// A program on the Mac of this process. `body` runs after its first platform call.
class Program {
public:
    explicit Program(const std::function<int()>& body) {
        std::array<int, 2> ends = {};
        EXPECT_EQ(pipe(ends.data()), 0);
        process_ = fork();
        if (process_ == 0) {
            (void)CGDisplayIsOnline(1);
            (void)!write(ends[1], "r", 1);
            _exit(body());
        }
        char ready = 0;
        EXPECT_EQ(read(ends[0], &ready, 1), 1);
        close(ends[0]);
        close(ends[1]);
    }
    Program(const Program&) = delete;
    Program& operator=(const Program&) = delete;
    ~Program() { (void)status(); }

    /// As waitpid tells it.
    int status() {
        if (process_ != 0) {
            waitpid(std::exchange(process_, 0), &status_, 0);
        }
        return status_;
    }

private:
    pid_t process_ = 0;
    int status_ = 0;
};

Mac& macWithSessionMirror() {
    Mac& mac = Mac::boot(Scene::desk());
    // Not by calls: with one the test would be a program that a logout ends.
    mac.change([](MacState& state) { state.setMirrorMaster(2, 1, false); });
    EXPECT_EQ(mac.display(2).mirrors, 1u);
    return mac;
}

bool sessionEnds(Mac& mac) {
    for (int i = 0; i < 500; ++i) {
        if (mac.display(2).mirrors == 0) {
            return true;
        }
        std::this_thread::sleep_for(20ms);
    }
    return false;
}

int sleepForGood() {
    while (true) {
        pause();
    }
}

TEST(EndOfSession, asks_the_programs_to_end_first) {
    for (void (AttendedMac::* const end)() : {&AttendedMac::logOut, &AttendedMac::reboot}) {
        Mac& mac = Mac::boot(Scene::desk());
        Program program(sleepForGood);
        (mac.*end)();
        ASSERT_TRUE(WIFSIGNALED(program.status()));
        EXPECT_EQ(WTERMSIG(program.status()), SIGTERM);
    }
}

TEST(EndOfSession, a_program_that_is_asked_still_finds_the_session) {
    Mac& mac = macWithSessionMirror();
    blockSIGTERM(); // inherited, so that it cannot come too early
    Program program([] {
        waitForSIGTERM();
        return CGDisplayIsInMirrorSet(2) != 0 ? 7 : 8;
    });
    mac.logOut();
    ASSERT_TRUE(WIFEXITED(program.status()));
    EXPECT_EQ(WEXITSTATUS(program.status()), 7);
    EXPECT_EQ(mac.display(2).mirrors, 0u);
}

TEST(EndOfSession, kills_a_program_that_does_not_end_in_time) {
    Mac& mac = Mac::boot(Scene::desk());
    blockSIGTERM();
    Program program(sleepForGood);
    mac.logOut();
    ASSERT_TRUE(WIFSIGNALED(program.status()));
    EXPECT_EQ(WTERMSIG(program.status()), SIGKILL);
}

TEST(EndOfSession, spares_programs_on_another_mac) {
    Mac::boot(Scene::desk());
    Program program([] {
        std::this_thread::sleep_for(300ms);
        return 7;
    });
    Mac::boot(Scene::desk()).logOut();
    ASSERT_TRUE(WIFEXITED(program.status()));
    EXPECT_EQ(WEXITSTATUS(program.status()), 7);
}

TEST(EndOfSession, in_the_middle_of_a_call_ends_the_caller_as_well) {
    Mac& mac = macWithSessionMirror();
    Program program([&mac] {
        mac.during("CGDisplayIsMain").before("logout");
        (void)CGDisplayIsMain(1);
        return 7;
    });
    ASSERT_TRUE(WIFSIGNALED(program.status()));
    EXPECT_EQ(WTERMSIG(program.status()), SIGTERM);
    EXPECT_TRUE(sessionEnds(mac));
}

TEST(EndOfSession, in_the_middle_of_a_call_waits_for_a_caller_that_tidies_up) {
    Mac& mac = macWithSessionMirror();
    blockSIGTERM();
    Program program([&mac] {
        mac.during("CGDisplayIsMain").after("reboot");
        (void)CGDisplayIsMain(1);
        waitForSIGTERM();
        return CGDisplayIsInMirrorSet(2) != 0 ? 7 : 8;
    });
    ASSERT_TRUE(WIFEXITED(program.status()));
    EXPECT_EQ(WEXITSTATUS(program.status()), 7);
    EXPECT_TRUE(sessionEnds(mac));
}

} // namespace
} // namespace simulated_mac
