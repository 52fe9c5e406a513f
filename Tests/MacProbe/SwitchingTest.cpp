// Whatever happens to the process that asks, everything is as before in the end.

#include "MacProbe/Switching.h"

#include "MacProbe/Arrangement.h"
#include "MacProbe/ForkedLauncher.h"
#include "MacProbe/GammaTables.h"
#include "SimulatedMac/World/MacState.h"
#include "Support/Scenes.h"
#include "Support/SimulatedMacTest.h"

#include <array>
#include <csignal>
#include <functional>
#include <stdexcept>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>

namespace {

using simulated_mac::Mac;
using std::chrono::milliseconds;

constexpr std::uint32_t side = 2;

std::string quickScene(std::initializer_list<std::string_view> more = {}) {
    std::string members = R"("registry": [], "profiler": { "missing": true })";
    for (const std::string_view member : more) {
        members += ", " + std::string(member);
    }
    return scene({main1, plain2, plain3}, {members});
}

macprobe::Patience shortPatience() {
    return {.withoutLife = milliseconds(20),
            .forChange = milliseconds(0),
            .betweenAttempts = milliseconds(2),
            .attempts = 30};
}

macprobe::Patience longPatience() {
    macprobe::Patience patience = shortPatience();
    patience.withoutLife = std::chrono::minutes(4);
    return patience;
}

class Silent final : public macprobe::SwitchingProgress {
public:
    void stepBegins(const std::string& step) override { steps_.push_back(step); }
    [[nodiscard]] bool isToStop() override { return steps_.size() > mostSteps_; }
    void stopAfter(std::size_t steps) { mostSteps_ = steps; }
    [[nodiscard]] std::size_t steps() const { return steps_.size(); }

private:
    std::vector<std::string> steps_;
    std::size_t mostSteps_ = 1000;
};

/// The arrangement as it is and as it is kept, and what a person sees; not whose tables they are.
std::string deskOf(Mac& mac) {
    nlohmann::json state = mac.state().toJson();
    for (auto& [id, display] : state.items()) {
        display.erase("gamma");
        display["seen"] = mac.state().gammaKind(static_cast<std::uint32_t>(std::stoul(id)));
    }
    state["main"] = mac.state().main().value_or(0);
    return state.dump(1);
}

/// The desk when it is as before, or as it has stayed. A process closes its files a moment before
/// the window server can know that it has ended, and its tables with it.
std::string settledDeskOf(Mac& mac, const std::string& before) {
    constexpr int attempts = 500;
    std::string desk = deskOf(mac);
    for (int i = 0; i < attempts && desk != before; ++i) {
        std::this_thread::sleep_for(milliseconds(4));
        desk = deskOf(mac);
    }
    return desk;
}

/// Open in this process's copies, and in theirs, until the last of them has ended.
class Lifeline {
public:
    Lifeline() {
        if (pipe(ends_.data()) != 0) {
            throw std::runtime_error("no pipe");
        }
    }
    Lifeline(const Lifeline&) = delete;
    Lifeline& operator=(const Lifeline&) = delete;
    ~Lifeline() { close(ends_[0]); }

    void waitForTheLast() {
        close(ends_[1]);
        char nothing = 0;
        (void)!read(ends_[0], &nothing, 1);
    }

private:
    std::array<int, 2> ends_ = {};
};

/// Asks in a copy of this process, in which `prepare` is called first. Waits for it and all that it
/// has started. How it ended, as waitpid tells.
int askInACopy(const macprobe::Patience& patience, const std::function<void()>& prepare) {
    Lifeline lifeline;
    const pid_t asker = fork();
    if (asker == 0) {
        prepare();
        ForkedLauncher launcher(patience);
        Silent progress;
        (void)macprobe::askBySwitching(side, launcher, progress, patience);
        _exit(0);
    }
    int status = 0;
    waitpid(asker, &status, 0);
    lifeline.waitForTheLast();
    return status;
}

/// The same; the copy is killed when so many calls have returned.
int askAndDie(Mac& mac, int lastCall) {
    return askInACopy(shortPatience(), [&mac, lastCall] {
        mac.listen([calls = 0, lastCall](const simulated_mac::LoggedCall&) mutable {
            if (++calls == lastCall) {
                kill(getpid(), SIGKILL);
            }
        });
    });
}

class MacProbeSwitching : public SimulatedMacTest {
protected:
    static void expectBackHoweverItIsKilled(const std::string& text) {
        bool isKilled = true;
        for (int call = 1; isKilled; ++call) {
            Mac& mac = boot(text);
            const std::string before = deskOf(mac);
            isKilled = WIFSIGNALED(askAndDie(mac, call));
            ASSERT_EQ(settledDeskOf(mac, before), before) << "killed after call " << call;
        }
    }
};

TEST_F(MacProbeSwitching, the_display_comes_back_whenever_the_asking_process_is_killed) {
    expectBackHoweverItIsKilled(quickScene());
}

TEST_F(MacProbeSwitching, it_comes_back_on_a_mac_that_keeps_mirrorings_for_good) {
    expectBackHoweverItIsKilled(quickScene({R"("permanentKeeps": "all")"}));
}

TEST_F(MacProbeSwitching, it_comes_back_on_a_mac_that_mirrors_by_software) {
    expectBackHoweverItIsKilled(quickScene({softwareMirroring}));
}

TEST_F(MacProbeSwitching, everything_is_as_before_whichever_call_fails) {
    Mac& healthy = boot(quickScene());
    (void)askInACopy(longPatience(), [&] { healthy.listen({}); });
    const auto calls = static_cast<int>(healthy.calls().size());
    ASSERT_GT(calls, 100);
    for (int call = 1; call <= calls; ++call) {
        Mac& mac = boot(quickScene());
        const std::string before = deskOf(mac);
        (void)askInACopy(shortPatience(), [&] { mac.failCall(fails("*").nth(call).with(1000)); });
        ASSERT_EQ(settledDeskOf(mac, before), before) << "call " << call << " fails";
    }
}

// As Night Shift does for a while in the evening.
TEST_F(MacProbeSwitching, colours_that_something_else_keeps_changing_do_not_keep_it_from_ending) {
    Mac& mac = boot(quickScene());
    CGGammaValue blue = 1;
    bool isChanging = false;
    mac.listen([&](const simulated_mac::LoggedCall&) {
        if (!isChanging) {
            isChanging = true;
            blue = blue < 0.6F ? 0.99F : blue - 0.01F;
            macprobe::setGamma(1, {.red = {0, 1}, .green = {0, 1}, .blue = {0, blue}});
            isChanging = false;
        }
    });
    ForkedLauncher launcher(longPatience());
    Silent progress;
    EXPECT_EQ(macprobe::askBySwitching(side, launcher, progress, longPatience()).problem, "");
}

TEST_F(MacProbeSwitching, whoever_stops_it_gets_everything_back_at_once) {
    for (std::size_t steps = 0; steps < 6; ++steps) {
        Mac& mac = boot(quickScene());
        const std::string before = deskOf(mac);
        ForkedLauncher launcher(longPatience());
        Silent progress;
        progress.stopAfter(steps);
        const auto outcome = macprobe::askBySwitching(side, launcher, progress, longPatience());
        EXPECT_EQ(outcome.problem, steps < 5 ? "stopped" : "") << steps;
        EXPECT_EQ(settledDeskOf(mac, before), before) << steps;
    }
}

TEST_F(MacProbeSwitching, a_process_that_hangs_is_ended_before_the_display_comes_back) {
    Mac& mac = boot(quickScene());
    const std::string before = deskOf(mac);
    const int status = askInACopy(shortPatience(), [&mac] {
        mac.listen([](const simulated_mac::LoggedCall& call) {
            if (call.call == "CGCompleteDisplayConfiguration") {
                pause();
            }
        });
    });
    EXPECT_TRUE(WIFSIGNALED(status));
    EXPECT_EQ(settledDeskOf(mac, before), before);
}

// In a copy of this process, which the watching one kills in the end; it exits earlier if something
// is not as it should be.
[[noreturn]] void switchOffAndSignalWatcher() {
    ForkedLauncher launcher(longPatience());
    const auto watcher = launcher.start({macprobe::Command::Kind::watch, side});
    char ready = 0;
    if (read(watcher->fromIt.get(), &ready, 1) != 1 || !macprobe::setEnabled(side, false)) {
        _exit(1);
    }
    for (const int signal : {SIGHUP, SIGINT, SIGQUIT, SIGPIPE}) {
        kill(watcher->process, signal);
    }
    std::this_thread::sleep_for(milliseconds(100));
    const bool isWatching = waitpid(watcher->process, nullptr, WNOHANG) == 0;
    if (!isWatching || Mac::current().state().isEnabled(side)) {
        _exit(2);
    }
    kill(watcher->process, SIGTERM);
    for (;;) {
        pause();
    }
}

TEST_F(MacProbeSwitching, the_watching_process_outlives_the_terminal_and_hurries_before_a_logout) {
    Mac& mac = boot(quickScene());
    const std::string before = deskOf(mac);
    Lifeline lifeline;
    const pid_t asker = fork();
    if (asker == 0) {
        switchOffAndSignalWatcher();
    }
    int status = 0;
    waitpid(asker, &status, 0);
    lifeline.waitForTheLast();
    EXPECT_TRUE(WIFSIGNALED(status)) << "exit status " << WEXITSTATUS(status);
    EXPECT_EQ(settledDeskOf(mac, before), before);
}

/// A launcher that has no process to give.
class NoLauncher final : public macprobe::CompanionLauncher {
public:
    [[nodiscard]] std::optional<macprobe::CompanionProcess>
    start(const macprobe::Command&) override {
        return std::nullopt;
    }
};

TEST_F(MacProbeSwitching, without_a_process_that_watches_nothing_is_switched) {
    Mac& mac = boot(quickScene());
    NoLauncher launcher;
    Silent progress;
    const auto outcome = macprobe::askBySwitching(side, launcher, progress, longPatience());
    EXPECT_EQ(outcome.problem, "the process that watches cannot be started; nothing is switched");
    EXPECT_EQ(progress.steps(), 0U);
    for (const simulated_mac::LoggedCall& call : mac.calls()) {
        EXPECT_NE(call.call, "CGBeginDisplayConfiguration");
    }
}

struct Refusal {
    std::string scene;
    std::uint32_t display;
    std::string words;
};

TEST_F(MacProbeSwitching, what_could_end_in_the_dark_is_refused) {
    const std::vector<Refusal> refusals = {
        {quickScene(), 1, "may be the main one"},
        {quickScene(), 9, "no display 9 is online"},
        {quickScene({faults({fails("CGDisplayIsMain").every().with(0)})}), 2,
         "may be the main one"},
        {scene({main1, disabled2}), 2, "no display 2 is online"},
        {scene({main1, mirror2, plain3}), 3, "mirror each other"},
        {scene({main1, mirror2}), 2, "two active displays"},
        {scene({main1, plain2}, {noSkyLight}), 2, "SLSConfigureDisplayEnabled"},
        {scene({main1, plain2}, {onlySkyLightsList}), 2, "SLSConfigureDisplayEnabled"},
    };
    for (const Refusal& refusal : refusals) {
        boot(refusal.scene);
        const auto said = macprobe::refusalToSwitch(refusal.display);
        ASSERT_TRUE(said) << refusal.words;
        EXPECT_TRUE(said->contains(refusal.words)) << *said;
    }
    boot(quickScene());
    EXPECT_EQ(macprobe::refusalToSwitch(side), std::nullopt);
}

TEST_F(MacProbeSwitching, a_mac_whose_displays_sleep_is_left_alone) {
    Mac& mac = boot(quickScene());
    mac.sleep();
    EXPECT_TRUE(macprobe::refusalToSwitch(side));
}

} // namespace
