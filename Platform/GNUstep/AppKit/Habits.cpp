#include "AppKit/Habits.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <string>
#include <string_view>
#include <unistd.h>

namespace {

struct Choice {
    std::string_view variable;
    std::string_view kind;
    std::string_view unkind;
    bool Habits::* isKind;
};

constexpr std::array choices = {
    Choice{"APPKIT_VIEW_ITEM_KEYS", "alive", "dead", &Habits::keysReachItemsWithViews},
    Choice{"APPKIT_ACTIVATION", "granted", "refused", &Habits::activationIsGranted},
    Choice{"APPKIT_MENU_ROWS", "constraints", "frames", &Habits::rowsAreSizedByConstraints},
    Choice{"APPKIT_ALERT_IN_MENU", "alive", "dead", &Habits::alertsLiveInTracking},
    Choice{"APPKIT_MENU_SWITCHES", "coloured", "grey", &Habits::menusLookKey}};

[[noreturn]] void complain(const std::string& line) {
    std::fflush(stdout);
    std::fprintf(stderr, "AppKit's stand-in: %s\n", line.c_str());
    _exit(2);
}

void choose(Habits& habits, std::string_view variable, std::string_view value) {
    const auto choice = std::ranges::find(choices, variable, &Choice::variable);
    if (choice == choices.end()) {
        complain("there is no variable " + std::string(variable));
    }
    if (value.empty()) {
        return;
    }
    if (value != choice->kind && value != choice->unkind) {
        complain(std::string(variable) + " is '" + std::string(value) + "', neither " +
                 std::string(choice->kind) + " nor " + std::string(choice->unkind));
    }
    habits.*choice->isKind = value == choice->kind;
}

Habits habitsOfEnvironment() {
    Habits habits;
    for (char** entry = environ; *entry != nullptr; ++entry) {
        const std::string_view text = *entry;
        const std::size_t equals = text.find('=');
        if (text.starts_with("APPKIT_") && equals != std::string_view::npos) {
            choose(habits, text.substr(0, equals), text.substr(equals + 1));
        }
    }
    return habits;
}

} // namespace

const Habits& habits() {
    static const Habits chosen = habitsOfEnvironment();
    return chosen;
}
