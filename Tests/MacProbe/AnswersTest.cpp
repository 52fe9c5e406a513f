// Each rule as it is assumed, and turned round: the probe must tell the one from the other.

#include "MacProbe/Answers.h"

#include "MacProbe/Assumptions.h"
#include "MacProbe/ForkedLauncher.h"
#include "MacProbe/Looking.h"
#include "MacProbe/Switching.h"
#include "SimulatedMac/World/MacState.h"
#include "Support/Scenes.h"
#include "Support/SimulatedMacTest.h"

#include <functional>
#include <set>

namespace {

using macprobe::Answers;
using macprobe::SettledBy;
using macprobe::Verdict;
using simulated_mac::Mac;

constexpr std::uint32_t side = 20; // in hexadecimal 14
constexpr std::string_view panel =
    R"({ "id": 1, "main": true, "builtin": true, "vendor": 1552, "model": 41, "pixels": [1512, 982],
         "gammaCapacity": 1024, "screenName": "Panel", "profilerName": "Panel" })";
constexpr std::string_view monitor =
    R"({ "id": 20, "vendor": 7789, "model": 23, "pixels": [1920, 1080], "gammaCapacity": 1024,
         "screenName": "Side", "profilerName": "Side" })";
constexpr std::string_view intel = R"("hardware": "intel")";
constexpr std::string_view appleSilicon = R"("hardware": "apple-silicon")";

/// Plans what is to go wrong from the beginning of a step on, until the next one.
struct Interference {
    std::string step;
    std::function<void(Mac&)> plan;
};

class Interfering final : public macprobe::SwitchingProgress {
public:
    Interfering(Mac& mac, Interference interference)
        : mac_(mac), interference_(std::move(interference)) {}
    void stepBegins(const std::string& step) override {
        mac_.clearFaults();
        if (interference_.plan && step == interference_.step) {
            interference_.plan(mac_);
        }
    }
    [[nodiscard]] bool isToStop() override { return false; }

private:
    Mac& mac_;
    Interference interference_;
};

macprobe::Patience quickPatience() {
    macprobe::Patience patience;
    patience.withoutLife = std::chrono::minutes(4); // the asking process is the test itself
    patience.forChange = patience.betweenAttempts = std::chrono::milliseconds(0);
    return patience;
}

macprobe::SwitchingOutcome switchedOn(const std::string& scene, const Interference& interference) {
    Mac& mac = Mac::boot(scene);
    Interfering progress(mac, interference);
    ForkedLauncher launcher(quickPatience());
    return macprobe::askBySwitching(side, launcher, progress, quickPatience());
}

Verdict verdictFor(const Answers& answers, std::string_view assumption) {
    const auto answer = answers.find(assumption);
    return answer == answers.end() ? Verdict::cannotTell : answer->second.verdict;
}

struct TurnedRule {
    std::string_view assumption;
    std::string asAssumed; ///< a scene
    std::string turned;
    Interference interference = {};
};

std::string twoDisplays(std::initializer_list<std::string_view> more = {}) {
    return scene({panel, monitor}, more);
}

std::string withMonitorsOwn(const std::string& member) {
    std::string own(monitor);
    const std::string usual = R"("gammaCapacity": 1024)";
    return scene({panel, own.replace(own.find(usual), usual.size(), member)});
}

const std::vector<TurnedRule>& rulesForLooking() {
    static const std::string mainLast = scene({R"({ "id": 20 })", R"({ "id": 1, "main": true })"});
    static const std::string mainFirst = scene({R"({ "id": 20 })", R"({ "id": 1, "main": true })"},
                                               {R"("onlineOrder": "main-first")"});
    static const std::vector<TurnedRule> rules = {
        {"online-order", mainLast, mainFirst},
        {"gamma-capacity", twoDisplays(), withMonitorsOwn(R"("gammaCapacity": 4096)")},
        {"gamma-short-read", twoDisplays(), twoDisplays({R"("gammaReading": "truncate")"})},
        {"unknown-answers-no", twoDisplays(), twoDisplays({R"("unknownDisplayAnswers": -1)"})},
        {"unknown-answers-alike", twoDisplays(),
         twoDisplays({faults({fails("CGDisplayIsBuiltin").every().with(1)})})},
        {"intel-registry", twoDisplays({intel}),
         twoDisplays({intel, registry(R"({ "class": "IOFramebuffer", "i2cBuses": 1,
             "properties": { "DisplayID": 20 },
             "children": [ { "class": "IOFramebufferI2CInterface" } ] })")})},
        {"apple-silicon-registry", twoDisplays({appleSilicon}),
         twoDisplays({registry(R"({ "class": "IOFramebuffer" }, { "class": "AppleCLCD2",
             "properties": { "DisplayAttributes": { "ProductAttributes": { "ProductID": 5 } } } })")})},
        {"properties-nest", twoDisplays({appleSilicon}),
         twoDisplays({registry(R"({ "class": "AppleCLCD2",
             "properties": { "DisplayAttributes": { "PortID": 5 } } })")})},
        {"profiler-hexadecimal", twoDisplays(),
         twoDisplays(
             {R"("profiler": { "output": "{ \"SPDisplaysDataType\": [ { \"spdisplays_ndrvs\": [ { \"_name\": \"Side\", \"_spdisplays_displayID\": \"20\" } ] } ] }" })"})},
    };
    return rules;
}

std::function<void(Mac&)> everyCall(const char* function, std::int64_t answer) {
    return [=](Mac& mac) { mac.failCall(fails(function).every().with(answer)); };
}

std::function<void(Mac&)> reading(int nth) {
    return
        [=](Mac& mac) { mac.failCall(fails("CGGetDisplayTransferByTable").nth(nth).withNull()); };
}

// Somebody pulls the cable and plugs it in again: it is there, and enabled.
void replug(Mac& mac) {
    (void)mac.during("CGCompleteDisplayConfiguration").after("plug 20");
}

// Somebody pulls the cable, until the window server says that it cannot enable the display.
void pull(Mac& mac) {
    (void)mac.during("CGCompleteDisplayConfiguration").after("unplug 20");
    (void)mac.during("CGCancelDisplayConfiguration").after("plug 20");
}

const std::vector<TurnedRule>& rulesForSwitching() {
    const std::string off = "it is disconnected";
    const std::string usual = twoDisplays();
    // Longer than from a change to the look at the lists right after it, and shorter than from one
    // change to the next, whose state is then not shown any more.
    const std::string slow = twoDisplays({R"("settleCalls": 10)"});
    const std::string slower = twoDisplays({R"("settleCalls": 20)"});
    const std::string onIntel = twoDisplays({intel});
    static const std::vector<TurnedRule> rules = {
        {"disabled-leaves-lists", usual, usual, {off, replug}},
        {"disabled-stays-known", usual, usual, {off, pull}},
        {"disabled-answers-no", usual, usual, {off, everyCall("CGDisplayIsInMirrorSet", 1)}},
        {"disabled-keeps-identity", usual, usual, {off, everyCall("CGDisplayVendorNumber", 7)}},
        {"disabled-has-no-picture",
         usual,
         usual,
         {off, everyCall("CGDisplayGammaTableCapacity", 1024)}},
        {"disabled-no-screen", usual, usual, {off, replug}},
        {"disabled-unprofiled", usual, usual, {off, replug}},
        {"disabled-registry-stays", onIntel, onIntel, {off, pull}},
        {"screens-follow", usual, slow},
        {"profiler-follows", usual, slow},
        {"mirror-no-screen", usual, slower},
        {"mirror-main",
         usual,
         usual,
         {"it mirrors the main display", everyCall("CGDisplayIsMain", 0)}},
        {"permanent-keeps-change", usual, twoDisplays({R"("permanentKeeps": "all")"})},
        {"gamma-ends-with-process", usual, usual, {"another process dims it and ends", reading(2)}},
        {"gamma-exit-leaves-others", usual, twoDisplays({R"("gammaExitZeroes": 1)"})},
        {"gamma-survives-changes", usual, twoDisplays({R"("gammaReloads": true)"})},
        {"gamma-ends-with-disabling", usual, usual, {"it is connected again", reading(1)}},
    };
    return rules;
}

class MacProbeAnswers : public SimulatedMacTest {};

TEST_F(MacProbeAnswers, looking_tells_each_rule_from_its_contrary) {
    for (const TurnedRule& rule : rulesForLooking()) {
        SCOPED_TRACE(rule.assumption);
        boot(rule.asAssumed);
        EXPECT_EQ(verdictFor(macprobe::answersByLooking(), rule.assumption), Verdict::agrees);
        boot(rule.turned);
        EXPECT_EQ(verdictFor(macprobe::answersByLooking(), rule.assumption), Verdict::differs);
    }
}

TEST_F(MacProbeAnswers, switching_finds_a_mac_that_does_as_assumed) {
    for (const std::string& usual : {twoDisplays(), twoDisplays({intel})}) {
        const auto outcome = switchedOn(usual, {});
        EXPECT_EQ(outcome.problem, "");
        for (const TurnedRule& rule : rulesForSwitching()) {
            EXPECT_EQ(verdictFor(outcome.answers, rule.assumption), Verdict::agrees)
                << rule.assumption;
        }
    }
}

TEST_F(MacProbeAnswers, switching_tells_each_rule_from_its_contrary) {
    for (const TurnedRule& rule : rulesForSwitching()) {
        SCOPED_TRACE(rule.assumption);
        const auto outcome = switchedOn(rule.turned, rule.interference);
        EXPECT_EQ(verdictFor(outcome.answers, rule.assumption), Verdict::differs);
    }
}

TEST_F(MacProbeAnswers, every_assumption_that_can_be_asked_is_turned_round_above) {
    std::map<SettledBy, std::set<std::string_view>> asked;
    for (const macprobe::Assumption& assumption : macprobe::assumptions()) {
        asked[assumption.settledBy].insert(assumption.name);
    }
    std::set<std::string_view> looking;
    for (const TurnedRule& rule : rulesForLooking()) {
        looking.insert(rule.assumption);
    }
    std::set<std::string_view> switching;
    for (const TurnedRule& rule : rulesForSwitching()) {
        switching.insert(rule.assumption);
    }
    EXPECT_EQ(looking, asked[SettledBy::looking]);
    EXPECT_EQ(switching, asked[SettledBy::switching]);
}

TEST_F(MacProbeAnswers, looking_changes_nothing) {
    Mac& mac = boot(twoDisplays({intel}));
    const std::string before = mac.state().toJson().dump();
    (void)macprobe::answersByLooking();
    EXPECT_EQ(mac.state().toJson().dump(), before);
}

TEST_F(MacProbeAnswers, where_nothing_can_be_seen_nothing_is_claimed) {
    boot(R"({ "displays": [ { "id": 1, "main": true, "gamma": false } ], "registry": [],
              "profiler": { "missing": true } })");
    const Answers answers = macprobe::answersByLooking();
    for (const char* const assumption :
         {"online-order", "gamma-capacity", "gamma-short-read", "intel-registry",
          "apple-silicon-registry", "properties-nest", "profiler-hexadecimal"}) {
        EXPECT_EQ(verdictFor(answers, assumption), Verdict::cannotTell) << assumption;
    }
}

TEST_F(MacProbeAnswers, the_table_has_a_row_for_each_assumption) {
    boot(R"({ "macOS": "14.5", "processor": "arm64", "displays": [ { "id": 1, "main": true } ] })");
    const std::string table = macprobe::tableOf({{"no-session", macprobe::differs("a | b")}});
    EXPECT_TRUE(table.starts_with("macOS 14.5, arm64\n"));
    for (const macprobe::Assumption& assumption : macprobe::assumptions()) {
        EXPECT_TRUE(table.contains("\n| " + std::string(assumption.name) + " | " +
                                   std::string(assumption.rule) + " | "));
    }
    EXPECT_TRUE(table.contains(R"(| a \| b | **differs** |)"));
    EXPECT_TRUE(table.ends_with("\n0 agree, 1 differ, " +
                                std::to_string(macprobe::assumptions().size() - 1) +
                                " cannot be told\n"));
}

} // namespace
