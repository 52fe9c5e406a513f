#include "MacProbe/CommandLine.h"

#include "Veilpane/Support/DecimalNumber.h"

#include <algorithm>
#include <array>

namespace macprobe {

namespace {

using Kind = Command::Kind;

/// The words of a command, before the display's ID where it needs one.
struct Form {
    std::vector<std::string> words;
    Kind kind;
    bool needsDisplay;
};

const std::vector<Form>& forms() {
    [[clang::no_destroy]] static const std::vector<Form> all = {
        {{"--help"}, Kind::help, false},
        {{"--version"}, Kind::version, false},
        {{"scene"}, Kind::scene, false},
        {{"ask"}, Kind::ask, false},
        {{"ask", "--switching"}, Kind::askBySwitching, true},
        {{"companion", "watch"}, Kind::watch, true},
        {{"companion", "dim"}, Kind::dim, true},
        {{"companion", "screens"}, Kind::listScreens, false},
    };
    return all;
}

constexpr std::size_t longestWord = 60;

// What a terminal would obey instead of showing becomes a question mark.
std::string shown(const std::string& word) {
    std::string text = word.substr(0, longestWord);
    std::ranges::replace_if(
        text, [](char character) { return static_cast<unsigned char>(character) < 0x20; }, '?');
    return "'" + text + (word.size() > longestWord ? "…'" : "'");
}

std::unexpected<std::string> rejection(const std::string& problem) {
    return std::unexpected(problem + "; try macprobe --help");
}

std::expected<Command, std::string> commandOf(const Form& form,
                                              const std::vector<std::string>& rest) {
    if (!form.needsDisplay) {
        return rest.empty() ? std::expected<Command, std::string>(Command{form.kind, {}})
                            : rejection(shown(rest.front()) + " is too much");
    }
    const std::string& option = form.words.back();
    if (rest.size() != 1) {
        return rejection(option + (rest.empty() ? " needs a display's ID" : " takes one ID"));
    }
    const auto display = veilpane::parseDecimalUInt32(rest.front());
    return display && *display != kCGNullDirectDisplay
               ? std::expected<Command, std::string>(Command{form.kind, *display})
               : rejection(shown(rest.front()) + " is no display's ID");
}

bool beginsWith(const std::vector<std::string>& words, const Form& form) {
    return words.size() >= form.words.size() &&
           std::equal(form.words.begin(), form.words.end(), words.begin());
}

} // namespace

std::expected<Command, std::string> commandFrom(const std::vector<std::string>& words) {
    if (words.empty()) {
        return rejection("what shall it do?");
    }
    const Form* chosen = nullptr;
    for (const Form& form : forms()) {
        const bool isLonger = chosen == nullptr || form.words.size() > chosen->words.size();
        chosen = isLonger && beginsWith(words, form) ? &form : chosen;
    }
    if (chosen == nullptr) {
        return rejection(shown(words.front()) + " is no command");
    }
    const auto used = static_cast<std::ptrdiff_t>(chosen->words.size());
    return commandOf(*chosen, {words.begin() + used, words.end()});
}

const char* helpText() {
    return "Tells how this Mac differs from the one that Veilpane is tested on.\n"
           "\n"
           "  macprobe scene               writes this Mac's displays as a file for the simulated "
           "Mac;\n"
           "                               nothing is changed\n"
           "  macprobe ask                 compares this Mac with what Veilpane assumes; nothing "
           "is\n"
           "                               changed\n"
           "  macprobe ask --switching ID  compares what only a switch can show: says what will "
           "happen\n"
           "                               to display ID, waits for \"yes\", and brings everything "
           "back,\n"
           "                               also when it is killed\n"
           "  macprobe --help\n"
           "  macprobe --version\n"
           "\n"
           "What is printed holds no serial number. It holds no name of a person or a Mac, but "
           "the\n"
           "displays' names, which may hold one.\n"
           "Exit status: 0 done, 1 refused, failed or no display online, 64 a wrong command line,\n"
           "74 no output.\n";
}

} // namespace macprobe
