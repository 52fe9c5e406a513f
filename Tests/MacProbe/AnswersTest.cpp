// Each rule as it is assumed, and turned round: the probe must tell the one from the other.

#include "MacProbe/Answers.h"

#include "MacProbe/Assumptions.h"
#include "MacProbe/ForkedLauncher.h"
#include "MacProbe/GammaReadings.h"
#include "MacProbe/Looking.h"
#include "MacProbe/Switching.h"
#include "SimulatedMac/World/MacState.h"
#include "Support/Scenes.h"
#include "Support/SimulatedMacTest.h"

#include <functional>
#include <set>
#include <utility>

namespace {

using macprobe::Answers;
using macprobe::SettledBy;
using macprobe::Verdict;
using simulated_mac::Mac;

constexpr std::uint32_t sideDisplay = 20; // in hexadecimal 14
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
        mac_.listen({});
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
    return macprobe::askBySwitching(sideDisplay, launcher, progress, quickPatience());
}

Verdict verdictFor(const Answers& answers, std::string_view assumption) {
    const auto answer = answers.find(assumption);
    return answer == answers.end() ? Verdict::cannotTell : answer->second.verdict;
}

/// One part of a rule.
struct TurnedRule {
    std::string_view assumption;
    std::string asAssumed; ///< a scene
    std::string turned;
    Interference interference = {};
};

std::string twoDisplays(std::initializer_list<std::string_view> more = {}) {
    return scene({panel, monitor}, more);
}

std::string ofOneKind(std::string_view hardware, std::string_view nodes) {
    return twoDisplays({hardware, registry(nodes)});
}

std::string withMonitorsOwn(const std::string& member) {
    std::string own(monitor);
    const std::string usual = R"("gammaCapacity": 1024)";
    return scene({panel, own.replace(own.find(usual), usual.size(), member)});
}

// Connectors as an Intel Mac has them, the second one with a part that is otherwise.
std::string intelConnectors(const std::string& members, const std::string& children) {
    const std::string nub = R"({ "class": "IOFramebufferI2CInterface" })";
    return ofOneKind(intel, R"({ "class": "IOFramebuffer", "display": 1, "i2cBuses": 1,
                                 "children": [ )" +
                                nub + R"( ] },
                               { "class": "IOFramebuffer", "display": 20, )" +
                                members + R"(, "children": [ )" + children + " ] }");
}

std::vector<TurnedRule> partsOfIntelsRegistry() {
    const std::string bus = R"("i2cBuses": 1)";
    const std::string nub = R"({ "class": "IOFramebufferI2CInterface" })";
    const std::string asAssumed = intelConnectors(bus, nub);
    const std::string portless =
        scene({panel, R"({ "id": 20, "pixels": [1920, 1080], "servicePort": false })"}, {intel});
    return {
        {"intel-registry", asAssumed,
         intelConnectors(bus + R"(, "properties": { "DisplayID": 20 })", nub)},
        {"intel-registry", asAssumed, intelConnectors(bus, nub + R"(, { "class": "IODisplayConnect",
                                          "properties": { "DisplayProductName": "Side" } })")},
        {"intel-registry", asAssumed, intelConnectors(bus, "")},
        {"intel-registry", asAssumed, intelConnectors(bus, nub + ", " + nub)},
        {"intel-registry", asAssumed, intelConnectors(R"("i2cBuses": 2)", nub)},
        {"intel-registry", asAssumed, intelConnectors(R"("i2cBuses": 0)", nub)},
        {"intel-registry", twoDisplays({intel}), portless},
    };
}

std::vector<TurnedRule> partsOfAppleSiliconsRegistry() {
    const std::string pipe = R"({ "class": "AppleCLCD2",
        "properties": { "DisplayAttributes": { "ProductAttributes": { "ProductID": 5 } } } })";
    const std::string flat =
        R"({ "class": "AppleCLCD2", "properties": { "DisplayAttributes": { "PortID": 5 } } })";
    const std::string asAssumed = ofOneKind(appleSilicon, pipe);
    return {
        {"apple-silicon-registry", twoDisplays({appleSilicon}), ofOneKind(appleSilicon, flat)},
        {"apple-silicon-registry", asAssumed,
         ofOneKind(appleSilicon, pipe + R"(, { "class": "IOFramebuffer" })")},
        {"apple-silicon-registry", asAssumed,
         scene({panel, R"({ "id": 20, "servicePort": true })"},
               {registry(R"({ "class": "AppleCLCD2", "display": 20, "properties": {
                   "DisplayAttributes": { "ProductAttributes": { "ProductID": 5 } } } })")})},
        {"properties-nest", twoDisplays({appleSilicon}), ofOneKind(appleSilicon, flat)},
    };
}

// A reading of tables that gives no more than 17 entries.
simulated_mac::SceneFault shortened(int nth) {
    simulated_mac::SceneFault fault;
    fault.call = "CGGetDisplayTransferByTable";
    fault.nth = nth;
    fault.samples = 17;
    return fault;
}

std::string readingTables(std::initializer_list<simulated_mac::SceneFault> planned) {
    return twoDisplays({faults(planned)});
}

std::vector<TurnedRule> rulesForLooking() {
    const std::string mainLast = scene({R"({ "id": 20 })", R"({ "id": 1, "main": true })"});
    const std::string mainFirst = scene({R"({ "id": 20 })", R"({ "id": 1, "main": true })"},
                                        {R"("onlineOrder": "main-first")"});
    const std::string overSSH = R"({ "session": false, "displays": [ { "id": 1 } ])";
    std::vector<TurnedRule> rules = {
        {"no-session", overSSH + " }",
         overSSH + ", " + faults({fails("CGGetOnlineDisplayList").every().with(1001)}) + " }"},
        {"no-session", overSSH + " }",
         overSSH + ", " + faults({fails("CGGetActiveDisplayList").every().with(1001)}) + " }"},
        {"no-session", overSSH + " }",
         twoDisplays({faults({fails("CGGetOnlineDisplayList").every().withNull()})})},
        {"online-order", mainLast, mainFirst},
        {"gamma-capacity", twoDisplays(), withMonitorsOwn(R"("gammaCapacity": 4096)")},
        {"gamma-short-read", twoDisplays(), twoDisplays({R"("gammaReading": "truncate")"})},
        {"gamma-short-read", twoDisplays(),
         readingTables({fails("CGGetDisplayTransferByTable").nth(2).with(1000)})},
        {"gamma-short-read", twoDisplays(), readingTables({shortened(4)})},
        {"unknown-answers-no", twoDisplays(), twoDisplays({R"("unknownDisplayAnswers": -1)"})},
        {"unknown-answers-alike", twoDisplays(),
         twoDisplays({R"("unknownDisplayAnswers": { "CGDisplayIsBuiltin": 1 })"})},
        {"profiler-hexadecimal", twoDisplays(),
         twoDisplays(
             {R"("profiler": { "output": "{ \"SPDisplaysDataType\": [ { \"spdisplays_ndrvs\": [ { \"_name\": \"Side\", \"_spdisplays_displayID\": \"20\" } ] } ] }" })"})},
    };
    for (const auto& parts : {partsOfIntelsRegistry(), partsOfAppleSiliconsRegistry()}) {
        rules.insert(rules.end(), parts.begin(), parts.end());
    }
    return rules;
}

std::function<void(Mac&)> everyCall(const char* function, std::int64_t answer) {
    return [=](Mac& mac) { mac.failCall(fails(function).every().with(answer)); };
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
    const std::string bySoftware = twoDisplays({softwareMirroring});
    const std::string smallBySoftware =
        scene({panel, R"({ "id": 20, "pixels": [800, 600], "profilerName": "Side" })"},
              {softwareMirroring});
    const auto isMainIsNo = everyCall("CGDisplayIsMain", 0);
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
        {"mirror-main", usual, twoDisplays({R"("mirrorMain": "largest")"})},
        {"mirror-main", usual, usual, {"it mirrors the main display", isMainIsNo}},
        {"mirror-main", bySoftware, twoDisplays({softwareMirroring, R"("mirrorMain": "master")"})},
        {"mirror-main",
         smallBySoftware,
         smallBySoftware,
         {"it mirrors the main display", isMainIsNo}},
        {"permanent-keeps-change", usual, twoDisplays({R"("permanentKeeps": "all")"})},
        {"gamma-ends-with-process", usual, twoDisplays({R"("gammaOutlivesProcess": true)"})},
        {"gamma-exit-leaves-others", usual, twoDisplays({R"("gammaExitZeroes": 1)"})},
        {"gamma-survives-changes", usual, twoDisplays({R"("gammaReloads": true)"})},
        {"gamma-ends-with-disabling", usual, twoDisplays({R"("gammaOutlivesDisabling": true)"})},
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
    std::set<std::string> usual;
    for (const TurnedRule& rule : rulesForSwitching()) {
        usual.insert(rule.asAssumed);
    }
    ASSERT_GE(usual.size(), 4U);
    for (const std::string& scene : usual) {
        const auto outcome = switchedOn(scene, {});
        EXPECT_EQ(outcome.problem, "") << scene;
        for (const TurnedRule& rule : rulesForSwitching()) {
            EXPECT_EQ(verdictFor(outcome.answers, rule.assumption), Verdict::agrees)
                << rule.assumption << scene;
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

TEST_F(MacProbeAnswers, without_a_session_nothing_but_that_is_claimed) {
    boot(R"({ "session": false, "displays": [ { "id": 1 } ], "hardware": "intel" })");
    for (const auto& [assumption, answer] : macprobe::answersByLooking()) {
        EXPECT_EQ(answer.verdict,
                  assumption == "no-session" ? Verdict::agrees : Verdict::cannotTell)
            << assumption;
    }
}

TEST_F(MacProbeAnswers, a_reading_of_tables_is_told_for_each_size) {
    boot(withMonitorsOwn(R"("gammaCapacity": 300)"));
    EXPECT_EQ(macprobe::answerOn(macprobe::readAtSeveralSizes(sideDisplay)).seen,
              "room for 2: the whole curve; room for 64: the whole curve; room for 256: the whole "
              "curve; room for 300: the whole curve; room for 600: the whole curve in 300 entries");
    boot(withMonitorsOwn(R"("gammaCapacity": 128, "gammaReading": "truncate")"));
    EXPECT_EQ(macprobe::answerOn(macprobe::readAtSeveralSizes(sideDisplay)).seen,
              "room for 2: the first entries; room for 64: the first entries; room for 128: the "
              "whole curve; room for 256: the whole curve in 128 entries");
    boot(readingTables({fails("CGGetDisplayTransferByTable").nth(2).withNull(), shortened(3)}));
    EXPECT_TRUE(macprobe::answerOn(macprobe::readAtSeveralSizes(sideDisplay))
                    .seen.starts_with("room for 2: nothing; room for 64: another curve in 17 "
                                      "entries; room for 256: the whole curve; "));
}

// Warm colours, as they are in the evening.
void tint(CGDirectDisplayID display) {
    const macprobe::GammaTables tables = {{0, 0.5F, 1}, {0, 0.45F, 0.9F}, {0, 0.35F, 0.7F}};
    ASSERT_TRUE(macprobe::setGamma(display, tables));
}

/// Somebody changes a display's colours at the first look after the step's own first change.
std::function<void(Mac&)> tintingAfter(const char* call, CGDirectDisplayID display) {
    return [=](Mac& mac) {
        mac.listen([=, isDone = false](const simulated_mac::LoggedCall& made) mutable {
            if (made.call == call && !std::exchange(isDone, true)) {
                tint(display);
            }
        });
    };
}

TEST_F(MacProbeAnswers, colours_that_somebody_else_changes_meanwhile_tell_nothing) {
    const std::vector<std::pair<std::string_view, Interference>> rows = {
        {"gamma-ends-with-process",
         {"another process dims it and ends", tintingAfter("CGGetOnlineDisplayList", sideDisplay)}},
        {"gamma-exit-leaves-others",
         {"another process dims it and ends", tintingAfter("CGGetOnlineDisplayList", 1)}},
        {"gamma-survives-changes",
         {"it mirrors the main display", tintingAfter("CGGetOnlineDisplayList", sideDisplay)}},
        {"gamma-ends-with-disabling",
         {"it is connected again", tintingAfter("CGCompleteDisplayConfiguration", sideDisplay)}},
    };
    for (const auto& [assumption, interference] : rows) {
        const auto outcome = switchedOn(twoDisplays(), interference);
        ASSERT_TRUE(outcome.answers.contains(assumption)) << assumption;
        EXPECT_EQ(verdictFor(outcome.answers, assumption), Verdict::cannotTell) << assumption;
        EXPECT_TRUE(outcome.answers.at(assumption).seen.contains("something else changes"))
            << assumption;
    }
}

TEST_F(MacProbeAnswers, tables_that_cannot_be_read_afterwards_tell_nothing) {
    for (const auto& unread : {fails("CGGetDisplayTransferByTable").every().withNull(),
                               fails("CGGetDisplayTransferByTable").every().with(1000)}) {
        const Interference interference = {"another process dims it and ends",
                                           [&](Mac& mac) { mac.failCall(unread); }};
        const auto outcome = switchedOn(twoDisplays(), interference);
        for (const char* const assumption :
             {"gamma-ends-with-process", "gamma-exit-leaves-others"}) {
            ASSERT_TRUE(outcome.answers.contains(assumption)) << assumption;
            EXPECT_EQ(verdictFor(outcome.answers, assumption), Verdict::cannotTell) << assumption;
        }
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
