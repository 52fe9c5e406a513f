#include "MacProbe/Switching.h"

#include "MacProbe/Arrangement.h"
#include "MacProbe/GammaReadings.h"
#include "MacProbe/ProfilerReport.h"
#include "MacProbe/RegistryTrees.h"
#include "MacProbe/Screens.h"
#include "Veilpane/WindowServer/SkyLight.h"

#include <algorithm>
#include <array>
#include <set>
#include <thread>

namespace macprobe {

namespace {

using std::chrono::milliseconds;

/// Where a display is named, apart from CoreGraphics' own lists.
struct Naming {
    std::optional<bool> screen; ///< absent when it cannot be asked
    std::optional<bool> profiler;
};

void addNumbers(const std::vector<RegistryEntry>& entries, std::set<std::uint64_t>& numbers) {
    for (const RegistryEntry& entry : entries) {
        numbers.insert(entry.number);
        addNumbers(entry.children, numbers);
    }
}

std::set<std::uint64_t> registryNumbers() {
    std::set<std::uint64_t> numbers;
    addNumbers(displayBranches(), numbers);
    return numbers;
}

std::size_t areaOf(CGDirectDisplayID display) {
    return CGDisplayPixelsWide(display) * CGDisplayPixelsHigh(display);
}

std::string nameFor(CGDirectDisplayID display) {
    const auto names = screenNames();
    const auto name = names.find(display);
    return std::to_string(display) +
           (name == names.end() || name->second.empty() ? "" : " (" + name->second + ")");
}

// Whether something was seen right after a change, and some time later.
std::string seenTwice(bool rightAfter, bool later) {
    const auto word = [](bool isThere) { return std::string(isThere ? "there" : "not there"); };
    return "right after it " + word(rightAfter) + ", later " + word(later);
}

/// Whose curve a display's tables have, of those from before and the dimmed one that was set.
enum class Colours { asBefore, asSet, others, unreadable };

Colours coloursOf(const std::optional<GammaTables>& now, const std::optional<GammaTables>& before) {
    if (!now || !before) {
        return Colours::unreadable;
    }
    if (lookAlike(*now, *before)) {
        return Colours::asBefore;
    }
    return lookAlike(*now, dimmedTables(now->size())) ? Colours::asSet : Colours::others;
}

// Colours can change for other reasons, which tells nothing of what was asked.
Answer answerOn(Colours colours, Answer asBefore, Answer asSet) {
    switch (colours) {
    case Colours::asBefore:
        return asBefore;
    case Colours::asSet:
        return asSet;
    case Colours::others:
        return cannotTell(
            "its tables are neither as before nor as set; perhaps something else changes "
            "colours, as Night Shift does");
    case Colours::unreadable:
        return cannotTell("its tables cannot be read");
    }
    return {};
}

/// One display being switched for questions.
class Questioning {
public:
    Questioning(CGDirectDisplayID display, CompanionLauncher& launcher, SwitchingProgress& progress,
                const Patience& patience, Watcher watcher)
        : display_(display)
        , launcher_(launcher)
        , progress_(progress)
        , patience_(patience)
        , watcher_(std::move(watcher)) {}

    SwitchingOutcome run();

private:
    using Step = void (Questioning::*)();

    [[nodiscard]] bool goesOn();
    void waitForChange();
    void answer(std::string_view assumption, Answer given) {
        outcome_.answers[assumption] = std::move(given);
    }
    /// What looking has told stays where switching tells nothing.
    void answerIfTold(std::string_view assumption, Answer given) {
        if (given.verdict != Verdict::cannotTell) {
            answer(assumption, std::move(given));
        }
    }

    void dimByAnother();
    void mirrorMain();
    void lookAtMirror();
    void answerOnOthersTables(const Arrangement& now);
    void disconnect();
    void lookAtDisabled();
    [[nodiscard]] Naming naming();
    void answerNaming(const Naming& rightAfter, const Naming& later);
    void askAboutDisabled();
    void reconnect();
    void keepMirror();
    void putBack();

    CGDirectDisplayID display_;
    CompanionLauncher& launcher_;
    SwitchingProgress& progress_;
    Patience patience_;
    Watcher watcher_;
    SwitchingOutcome outcome_;
    Arrangement before_ = Arrangement::now();
    std::uint32_t vendor_ = CGDisplayVendorNumber(display_);
    std::uint32_t model_ = CGDisplayModelNumber(display_);
    std::set<std::uint64_t> registry_ = registryNumbers();
    std::optional<GammaTables> tables_ = before_.tables[display_];
};

bool Questioning::goesOn() {
    if (outcome_.problem.empty() && progress_.isToStop()) {
        outcome_.problem = "stopped";
    }
    if (outcome_.problem.empty() && !watcher_.tellLife()) {
        outcome_.problem = "the process that watches has ended";
    }
    return outcome_.problem.empty();
}

void Questioning::waitForChange() {
    constexpr milliseconds slice(100);
    for (milliseconds left = patience_.forChange; left.count() > 0 && goesOn(); left -= slice) {
        std::this_thread::sleep_for(std::min(left, slice));
    }
}

// The tables of a process that has ended must be those of before, on all displays.
void Questioning::dimByAnother() {
    progress_.stepBegins("another process dims it and ends");
    if (!dimInAnotherProcess(launcher_, display_)) {
        answer("gamma-exit-leaves-others", cannotTell("its tables cannot be set"));
        return answer("gamma-ends-with-process", cannotTell("its tables cannot be set"));
    }
    waitForChange();
    const Arrangement now = Arrangement::now();
    answer("gamma-ends-with-process",
           answerOn(coloursOf(readWholeGamma(display_), tables_), agrees("its tables are back"),
                    differs("its tables stay")));
    answerOnOthersTables(now);
    if (now.hasSpoiltTables(before_)) {
        CGDisplayRestoreColorSyncSettings();
    }
}

// Black is what others have seen; the tables that were set would be as telling.
void Questioning::answerOnOthersTables(const Arrangement& now) {
    std::set<Colours> seen;
    for (const auto& [display, tables] : now.tables) {
        const auto before = before_.tables.find(display);
        if (display == display_ || before == before_.tables.end() || !before->second) {
            continue;
        }
        const Colours colours = coloursOf(tables, before->second);
        const bool isSpoilt = colours == Colours::others && areBlack(*tables);
        seen.insert(isSpoilt ? Colours::asSet : colours);
    }
    if (seen.contains(Colours::asSet)) {
        return answer("gamma-exit-leaves-others", differs("other displays' tables have changed"));
    }
    answer("gamma-exit-leaves-others",
           seen == std::set{Colours::asBefore}
               ? agrees("other displays' tables are as before")
               : cannotTell("other displays' tables cannot be read, or something else changes "
                            "them"));
}

void Questioning::mirrorMain() {
    progress_.stepBegins("it mirrors the main display");
    const bool isDimmed = tables_ && setGamma(display_, dimmedTables(tables_->size()));
    if (isDimmed) {
        answerIfTold("gamma-short-read", answerOn(readAtSeveralSizes(display_)));
    }
    if (!setMirrorMaster(display_, before_.main, kCGConfigureForSession)) {
        return answer("mirror-no-screen", cannotTell("the window server does not mirror it"));
    }
    waitForChange();
    lookAtMirror();
    setMirrorMaster(display_, kCGNullDirectDisplay, kCGConfigureForSession);
    waitForChange();
    if (isDimmed) {
        answer("gamma-survives-changes",
               answerOn(coloursOf(readWholeGamma(display_), tables_),
                        differs("they have fallen back"), agrees("they stay")));
    }
}

void Questioning::lookAtMirror() {
    const DisplayListing listing = listDisplays();
    if (CGDisplayMirrorsDisplay(display_) == kCGNullDirectDisplay) {
        return answer("mirror-no-screen",
                      cannotTell("it does not mirror, although it was told to"));
    }
    const bool bySoftware = contains(listing.active, display_);
    const bool isLarger = areaOf(display_) > areaOf(before_.main);
    const CGDirectDisplayID expected = bySoftware && isLarger ? display_ : before_.main;
    const CGDirectDisplayID main = mainDisplay(listing);
    const std::string seen = std::string(bySoftware ? "by software" : "by hardware") + "; " +
                             (main == display_       ? "it"
                              : main == before_.main ? "the master"
                                                     : "none") +
                             " is main";
    answer("mirror-main", verdictOn(main == expected, seen, seen));
    const auto screens = screensOfNewProcess(launcher_);
    answer("mirror-no-screen",
           screens ? verdictOn(!contains(*screens, display_), "it has none", "it has one")
                   : cannotTell("no screen list"));
}

void Questioning::disconnect() {
    progress_.stepBegins("it is disconnected");
    if (tables_) {
        setGamma(display_, dimmedTables(tables_->size()));
    }
    if (!setEnabled(display_, false)) {
        return answer("disabled-leaves-lists", cannotTell("the window server does not disable it"));
    }
    lookAtDisabled();
    reconnect();
}

void Questioning::lookAtDisabled() {
    const DisplayListing rightAfter = listDisplays();
    const Naming named = naming();
    waitForChange();
    if (!goesOn()) {
        return;
    }
    const DisplayListing later = listDisplays();
    const auto isInLists = [this](const DisplayListing& listing) {
        return contains(listing.online, display_) || contains(listing.active, display_);
    };
    const std::string seen = seenTwice(isInLists(rightAfter), isInLists(later));
    answer("disabled-leaves-lists",
           verdictOn(!isInLists(rightAfter) && !isInLists(later), seen, seen));
    const std::string known =
        seenTwice(contains(rightAfter.known, display_), contains(later.known, display_));
    answer("disabled-stays-known",
           later.known.empty()
               ? cannotTell("SkyLight has no list")
               : verdictOn(contains(rightAfter.known, display_) && contains(later.known, display_),
                           known, known));
    askAboutDisabled();
    answerNaming(named, naming());
}

Naming Questioning::naming() {
    Naming named;
    if (const auto screens = goesOn() ? screensOfNewProcess(launcher_) : std::nullopt) {
        named.screen = contains(*screens, display_);
    }
    if (const auto profiled = goesOn() ? profiledDisplays() : std::nullopt) {
        named.profiler =
            nameOf(*profiled, hexadecimal(display_)) || nameOf(*profiled, std::to_string(display_));
    }
    return named;
}

void Questioning::answerNaming(const Naming& rightAfter, const Naming& later) {
    const auto compare = [this](const std::optional<bool>& first, const std::optional<bool>& second,
                                std::string_view follows, std::string_view leaves) {
        if (!first || !second) {
            answer(follows, cannotTell("it cannot be asked"));
            return answer(leaves, cannotTell("it cannot be asked"));
        }
        const std::string seen = seenTwice(*first, *second);
        answer(follows, verdictOn(*first == *second, seen, seen));
        answer(leaves, verdictOn(!*second, seen, seen));
    };
    compare(rightAfter.screen, later.screen, "screens-follow", "disabled-no-screen");
    compare(rightAfter.profiler, later.profiler, "profiler-follows", "disabled-unprofiled");
}

void Questioning::askAboutDisabled() {
    bool areNo = true;
    std::string seen;
    for (const Question& question : questions()) {
        const boolean_t given = question.ask(display_);
        seen += (seen.empty() ? "" : ", ") + std::string(question.name) + " " +
                std::to_string(static_cast<std::int32_t>(given));
        areNo = areNo && (given == 0 || question.ask == CGDisplayIsBuiltin);
    }
    answer("disabled-answers-no", verdictOn(areNo, seen, seen));
    const bool isItself =
        CGDisplayVendorNumber(display_) == vendor_ && CGDisplayModelNumber(display_) == model_;
    answer("disabled-keeps-identity", verdictOn(isItself, "it does", "vendor or model differ"));
    const bool hasNothing = areaOf(display_) == 0 && CGDisplayGammaTableCapacity(display_) == 0;
    answer("disabled-has-no-picture", verdictOn(hasNothing, "neither", "it has"));
    answer("disabled-registry-stays",
           verdictOn(registryNumbers() == registry_, "the same nodes", "nodes have come or gone"));
}

void Questioning::reconnect() {
    progress_.stepBegins("it is connected again");
    setEnabled(display_, true);
    waitForChange();
    answer("gamma-ends-with-disabling",
           answerOn(coloursOf(readWholeGamma(display_), tables_), agrees("its tables are back"),
                    differs("it has those that were set")));
}

// A permanent change that changes nothing is completed over a mirroring of the session. What was
// kept is what is left when the permanent arrangement is restored.
void Questioning::keepMirror() {
    progress_.stepBegins("it mirrors the main display while a change is made for good");
    setMirrorMaster(display_, before_.main, kCGConfigureForSession);
    waitForChange();
    const bool isKept = goesOn() && setEnabled(display_, true);
    waitForChange();
    if (!isKept || CGDisplayMirrorsDisplay(display_) == kCGNullDirectDisplay) {
        return answer("permanent-keeps-change", cannotTell("the mirroring ended too early"));
    }
    CGRestorePermanentDisplayConfiguration();
    waitForChange();
    answer("permanent-keeps-change",
           verdictOn(CGDisplayMirrorsDisplay(display_) == kCGNullDirectDisplay,
                     "the mirroring was not kept", "the mirroring was kept as well"));
}

// Unless all is as before the watching process is left to its task.
void Questioning::putBack() {
    (void)watcher_.tellLife();
    progress_.stepBegins("everything is put back");
    bool isBack = bringBack(display_, before_);
    for (int attempt = 1; attempt < patience_.attempts && !isBack; ++attempt) {
        std::this_thread::sleep_for(patience_.betweenAttempts);
        (void)watcher_.tellLife();
        isBack = bringBack(display_, before_);
    }
    if (isBack) {
        return watcher_.dismiss();
    }
    outcome_.problem +=
        std::string(outcome_.problem.empty() ? "" : "; ") +
        "not everything is as before; if a display stays dark, unplug it and plug it "
        "in again";
}

SwitchingOutcome Questioning::run() {
    constexpr std::array<Step, 4> steps = {&Questioning::dimByAnother, &Questioning::mirrorMain,
                                           &Questioning::disconnect, &Questioning::keepMirror};
    for (const Step step : steps) {
        if (goesOn()) {
            (this->*step)();
        }
    }
    putBack();
    return std::move(outcome_);
}

} // namespace

SwitchingProgress::~SwitchingProgress() = default;

std::optional<std::string> refusalToSwitch(CGDirectDisplayID display) {
    const DisplayListing listing = listDisplays();
    if (!contains(listing.online, display)) {
        return "no display " + std::to_string(display) + " is online";
    }
    const CGDirectDisplayID main = mainDisplay(listing);
    if (CGDisplayIsMain(display) != 0 || main == kCGNullDirectDisplay) {
        return "display " + std::to_string(display) + " may be the main one, which is not switched";
    }
    if (listing.active.size() < 2 || !contains(listing.active, display)) {
        return "it takes two active displays, display " + std::to_string(display) +
               " being one of them";
    }
    const bool hasMirrors = std::ranges::any_of(
        listing.online, [](CGDirectDisplayID one) { return CGDisplayIsInMirrorSet(one) != 0; });
    if (hasMirrors) {
        return "displays mirror each other; end that first, in System Settings, Displays";
    }
    if (veilpane::SkyLight::configureDisplayEnabled() == nullptr) {
        return "this macOS has no SLSConfigureDisplayEnabled to disconnect a display by";
    }
    return std::nullopt;
}

std::string announcement(CGDirectDisplayID display) {
    return "Display " + nameFor(display) +
           " will really be switched, for about half a minute:\n"
           "  1. another process dims it by its colour tables and ends\n"
           "  2. it mirrors the main display for some seconds\n"
           "  3. it is disconnected for some seconds; its windows move to other displays\n"
           "  4. it mirrors the main display once more while a change is made for good, and macOS "
           "is\n"
           "     asked to restore its permanent arrangement\n"
           "Then everything is put back. What other programs have changed for this session only, "
           "in\n"
           "the arrangement or in colours, is lost.\n"
           "A second process does the same if this one gives no sign of life for 20 seconds, "
           "however\n"
           "it has ended. If the display stays dark all the same: unplug it and plug it in "
           "again.\n";
}

SwitchingOutcome askBySwitching(CGDirectDisplayID display, CompanionLauncher& launcher,
                                SwitchingProgress& progress, const Patience& patience) {
    if (auto refusal = refusalToSwitch(display)) {
        return {{}, std::move(*refusal)};
    }
    auto watcher = Watcher::start(launcher, display);
    if (!watcher) {
        return {{}, "the process that watches cannot be started; nothing is switched"};
    }
    return Questioning(display, launcher, progress, patience, std::move(*watcher)).run();
}

} // namespace macprobe
