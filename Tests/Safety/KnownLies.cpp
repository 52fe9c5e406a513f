#include "Safety/KnownLies.h"

#include "Safety/Model.h"
#include "Safety/Rules.h"

#include <algorithm>
#include <array>
#include <ranges>
#include <sstream>
#include <string_view>

namespace safety {
namespace {

enum class Lie {
    successWithoutEffect,
    failureWithEffect,
    answer, ///< any wrong one that is no failure
    any,
};

struct KnownLie {
    std::string_view call;
    Lie lie;
    std::string_view broken;  ///< occurs in the rule's words
    std::string_view members; ///< that may differ, where the rule tells of some
    std::string_view limit;   ///< the test that pins it, for whose row Scripts/check_limits.py asks
};

constexpr std::string_view believedSuccess =
    "KnownLimits.a_change_that_macos_only_claims_to_have_made_is_told_as_made";
constexpr std::string_view believedFailure =
    "KnownLimits.a_disconnect_that_took_effect_and_reports_an_error_is_told_as_failed";
constexpr std::string_view forgottenDisplay =
    "KnownLimits.a_list_that_fails_once_makes_the_program_forget_what_it_disconnected";
constexpr std::string_view believedMain =
    "KnownLimits.a_main_display_that_macos_denies_to_be_it_is_switched_off";
constexpr std::string_view unreadTables =
    "KnownLimits.tables_that_macos_only_claims_to_have_read_are_given_back_black";
constexpr std::string_view takenMonitor =
    "KnownLimits.the_only_ddc_monitor_is_taken_for_any_display_even_if_it_is_the_main_one";
constexpr std::string_view cutSearch =
    "KnownLimits.a_search_for_the_monitor_that_a_change_cuts_short_may_find_another_one";
constexpr std::string_view believedOff =
    "KnownLimits.a_remembered_display_counts_as_off_while_the_online_list_fails";
constexpr std::string_view arrivedMessage =
    "KnownLimits.brightness_that_arrived_despite_an_error_is_not_given_back";
constexpr std::string_view believedCount =
    "KnownLimits.a_wrong_count_of_active_displays_is_believed";
constexpr std::string_view lostMessage = "DisplayPower/Outcome.is_the_one_of_its_row";
constexpr std::string_view releasedPort =
    "DDCTransport.a_service_port_that_is_no_framebuffer_is_released_once";
constexpr std::string_view lostDefaults =
    "RememberedDisplaysTest.the_set_is_written_without_a_synchronise";
constexpr std::string_view shortTables =
    "KnownLimits.tables_of_which_only_the_first_entries_are_read_come_back_dark";
constexpr std::string_view refusedTables =
    "KnownLimits.a_blackout_whose_tables_macos_refuses_is_told_as_done";

constexpr auto knownLies = std::to_array<KnownLie>({
    {"CFNumberGetValue", Lie::any, "is changed, too", "lit, standby, brightness", takenMonitor},
    {"CFNumberGetValue", Lie::any, "off and then on", "lit, standby, brightness", takenMonitor},
    {"CFNumberGetValue", Lie::any, "the display is not off", "", takenMonitor},
    {"CGCompleteDisplayConfiguration", Lie::failureWithEffect, "remembered", "", believedFailure},
    {"CGCompleteDisplayConfiguration", Lie::failureWithEffect, "it remembers", "", believedFailure},
    {"CGCompleteDisplayConfiguration", Lie::failureWithEffect, "has forgotten", "",
     believedFailure},
    {"CGCompleteDisplayConfiguration", Lie::failureWithEffect, "off and then on",
     "enabled, lit, standby, tables", believedFailure},
    {"CGCompleteDisplayConfiguration", Lie::successWithoutEffect, "the display is", "",
     believedSuccess},
    {"CGCompleteDisplayConfiguration", Lie::successWithoutEffect, "it remembers", "",
     believedSuccess},
    {"CGCompleteDisplayConfiguration", Lie::successWithoutEffect, "off and then on",
     "enabled, lit, tables", believedSuccess},
    {"CGDisplayIsMain", Lie::answer, "the main display is dark", "", believedMain},
    {"CGDisplayIsMain", Lie::answer, "no display is lit", "", believedMain},
    {"CGDisplayIsMain", Lie::answer, "leaves no display lit", "", believedMain},
    {"CGGetActiveDisplayList", Lie::answer, "no display is lit", "", believedCount},
    {"CGGetOnlineDisplayList", Lie::any, "the display is not off", "", believedOff},
    {"CGGetDisplayTransferByTable", Lie::answer, "the display is not on", "", unreadTables},
    {"CGGetDisplayTransferByTable", Lie::answer, "in other colours", "", shortTables},
    {"CGGetDisplayTransferByTable", Lie::answer, "off and then on", "lit, tables", unreadTables},
    {"CGGetDisplayTransferByTable", Lie::answer, "the model expects", "lit, tables", unreadTables},
    {"CGSetDisplayTransferByTable", Lie::successWithoutEffect, "the display is", "", refusedTables},
    {"CGSetDisplayTransferByTable", Lie::successWithoutEffect, "black", "", refusedTables},
    {"CGSetDisplayTransferByTable", Lie::successWithoutEffect, "in other colours", "",
     refusedTables},
    {"IOI2CSendRequest", Lie::failureWithEffect, "", "lit, standby, brightness", arrivedMessage},
    {"IOI2CSendRequest", Lie::successWithoutEffect, "the display is not", "", lostMessage},
    {"IOI2CSendRequest", Lie::successWithoutEffect, "", "lit, standby, brightness", lostMessage},
    {"IOIteratorNext", Lie::any, "is changed, too", "lit, standby, brightness", cutSearch},
    {"IOIteratorNext", Lie::any, "off and then on", "lit, standby, brightness", cutSearch},
    {"IOIteratorNext", Lie::any, "the display is not off", "", cutSearch},
    {"IOObjectConformsTo", Lie::any, "", "lit, standby", releasedPort},
    {"IORegistryEntryCreateCFProperty", Lie::any, "is changed, too", "lit, standby, brightness",
     takenMonitor},
    {"IORegistryEntryCreateCFProperty", Lie::any, "off and then on", "lit, standby, brightness",
     takenMonitor},
    {"IORegistryEntryCreateCFProperty", Lie::any, "the display is not off", "", takenMonitor},
    {"IORegistryEntryGetChildIterator", Lie::any, "is changed, too", "lit, standby, brightness",
     takenMonitor},
    {"NSUserDefaults.setObject", Lie::successWithoutEffect, "remembered", "", lostDefaults},
    {"NSUserDefaults.setObject", Lie::successWithoutEffect, "has forgotten", "", lostDefaults},
    {"SLSConfigureDisplayEnabled", Lie::successWithoutEffect, "the display is", "",
     believedSuccess},
    {"SLSConfigureDisplayEnabled", Lie::successWithoutEffect, "off and then on",
     "enabled, lit, tables", believedSuccess},
    {"SLSGetDisplayList", Lie::any, "has forgotten", "", forgottenDisplay},
    {"dlopen", Lie::any, "has forgotten", "", forgottenDisplay},
    {"dlsym", Lie::any, "has forgotten", "", forgottenDisplay},
});

bool isFailure(const simulated_mac::SceneFault& fault) {
    return fault.result || (fault.returns && *fault.returns != 0);
}

bool tells(const simulated_mac::SceneFault& fault, Lie lie) {
    switch (lie) {
    case Lie::successWithoutEffect:
        return fault.returns == 0 || fault.null;
    case Lie::failureWithEffect:
        return isFailure(fault) && fault.effect;
    case Lie::answer:
        return !isFailure(fault);
    case Lie::any:
        return true;
    }
    return false;
}

// Such as "display 2 is changed, too: lit, tables".
bool differsOnlyIn(std::string_view members, std::string_view broken) {
    const auto colon = broken.rfind(": ");
    const auto told = colon == std::string_view::npos ? broken : broken.substr(colon + 2);
    return std::ranges::all_of(std::views::split(told, std::string_view(", ")), [&](auto&& word) {
        const std::string_view member(word.begin(), word.end());
        return std::ranges::any_of(
            std::views::split(members, std::string_view(", ")),
            [&](auto&& allowed) { return std::ranges::equal(allowed, member); });
    });
}

// Where several buses are told apart none is taken for another.
bool excuses(const KnownLie& known, const simulated_mac::SceneFault& fault,
             const std::string& broken, const simulated_mac::Scene& scene) {
    return (known.limit != takenMonitor || busDisplays(scene).size() == 1) &&
           known.call == fault.call && tells(fault, known.lie) &&
           broken.find(known.broken) != std::string_view::npos &&
           (known.members.empty() || differsOnlyIn(known.members, broken));
}

bool isKnownLimit(const std::vector<Mischief>& wrong, const std::string& broken,
                  const simulated_mac::Scene& scene) {
    return std::ranges::any_of(wrong, [&](const Mischief& mischief) {
        return mischief.fault && std::ranges::any_of(knownLies, [&](const KnownLie& known) {
                   return excuses(known, *mischief.fault, broken, scene);
               });
    });
}

} // namespace

std::string withoutKnownLimits(const std::string& lines, const std::vector<Mischief>& wrong,
                               const simulated_mac::Scene& scene) {
    std::string left;
    std::istringstream stream(lines);
    for (std::string line; std::getline(stream, line);) {
        if (!isKnownLimit(wrong, line, scene)) {
            addLine(left, line);
        }
    }
    return left;
}

} // namespace safety
