// Looks at the simulated Mac and changes it from outside.

#include "SimulatedMac/Tools/DeskPicture.h"
#include "SimulatedMac/World/AttendedMac.h"
#include "SimulatedMac/World/Message.h"
#include "SimulatedMac/World/Verbs.h"

#include <algorithm>
#include <cstdio>
#include <fcntl.h>
#include <functional>
#include <iostream>
#include <map>
#include <optional>
#include <stdexcept>
#include <string>
#include <unistd.h>
#include <vector>

namespace {

using namespace simulated_mac;
using nlohmann::ordered_json;
using Arguments = std::vector<std::string>;

constexpr const char* usage =
    "usage: macsim show [--json] | calls [--json | --clear] | defaults [--json] | desk FILE.png |\n"
    "              unplug ID | plug ID [--as NEW] | disable ID | enable ID | main ID |\n"
    "              mirror ID MASTER | sleep | wake | lid close | lid open | logout |\n"
    "              reboot [--renumber] | reset\n";

/// A command line that asks for nothing that macsim does.
struct UsageError : std::runtime_error {
    using std::runtime_error::runtime_error;
};

ordered_json toJson(const DisplayStatus& display) {
    return {{"id", display.id},
            {"name", display.name},
            {"connected", display.connected},
            {"enabled", display.enabled},
            {"online", display.online},
            {"active", display.active},
            {"main", display.main},
            {"mirrors", display.mirrors},
            {"gamma", display.gamma},
            {"power", display.power},
            {"brightness", display.brightness ? ordered_json(*display.brightness) : nullptr},
            {"lit", display.lit}};
}

/// Columns that the text takes in a terminal: two for the wide characters of East Asia.
std::size_t columnsOf(const std::string& text) {
    std::size_t columns = 0;
    for (const char byte : text) {
        const auto value = static_cast<unsigned char>(byte);
        columns += (value & 0xC0) == 0x80 ? 0 : value >= 0xE3 ? 2 : 1;
    }
    return columns;
}

std::string arrangementOf(const DisplayStatus& display) {
    if (!display.connected) {
        return "unplugged";
    }
    if (!display.enabled) {
        return "disconnected";
    }
    if (display.asleep) {
        return "asleep";
    }
    if (display.mirrors != 0) {
        return "mirrors " + std::to_string(display.mirrors);
    }
    return display.main ? "main" : "active";
}

void printTable(const std::vector<Arguments>& rows) {
    std::vector<std::size_t> widths(rows.front().size());
    for (const Arguments& row : rows) {
        for (std::size_t i = 0; i < row.size(); ++i) {
            widths[i] = std::max(widths[i], columnsOf(row[i]));
        }
    }
    for (const Arguments& row : rows) {
        std::string line;
        for (std::size_t i = 0; i < row.size(); ++i) {
            line += row[i] + std::string(widths[i] - columnsOf(row[i]) + 2, ' ');
        }
        std::cout << line.substr(0, line.find_last_not_of(' ') + 1) << '\n';
    }
}

void showTable() {
    std::vector<Arguments> rows = {
        {"ID", "NAME", "ARRANGEMENT", "POWER", "GAMMA", "BRIGHTNESS", "PICTURE"}};
    for (const DisplayStatus& display : AttendedMac::current().displays()) {
        rows.push_back({std::to_string(display.id), shown(display.name), arrangementOf(display),
                        display.power, display.gamma,
                        display.brightness ? std::to_string(*display.brightness) + " %" : "-",
                        display.lit ? "lit" : "dark"});
    }
    printTable(rows);
}

void showJson() {
    auto displays = ordered_json::array();
    for (const DisplayStatus& display : AttendedMac::current().displays()) {
        displays.push_back(toJson(display));
    }
    std::cout << ordered_json{{"displays", displays}}.dump() << '\n';
}

void printCalls(bool asJson) {
    for (const LoggedCall& call : AttendedMac::current().calls()) {
        ordered_json line = {
            {"pid", call.pid}, {"call", call.call}, {"args", call.args}, {"result", call.result}};
        for (const auto& [key, value] : call.notes.items()) {
            line[key] = value;
        }
        if (asJson) {
            std::cout << line.dump() << '\n';
        } else {
            std::cout << call.pid << "  " << shown(call.call) << call.args.dump() << " = "
                      << call.result.dump() << '\n';
        }
    }
}

std::string operand(const Arguments& arguments, const std::string& what) {
    if (arguments.size() != 2) {
        throw UsageError(arguments[0] + ": takes one " + what);
    }
    if (arguments[1].empty()) {
        throw UsageError(arguments[0] + ": '' is no " + what);
    }
    return arguments[1];
}

/// The one option of a verb that takes at most one of `allowed`.
std::string option(const Arguments& arguments, const std::vector<std::string>& allowed) {
    if (arguments.size() == 1) {
        return {};
    }
    if (arguments.size() == 2 && std::ranges::find(allowed, arguments[1]) != allowed.end()) {
        return arguments[1];
    }
    const bool known = std::ranges::find(allowed, arguments[1]) != allowed.end();
    const std::string& odd = arguments[known ? 2 : 1];
    throw UsageError(arguments[0] + ": " + (known ? "one too many: '" : "unknown option '") +
                     shown(odd) + "'");
}

void show(const Arguments& arguments) {
    option(arguments, {"--json"}).empty() ? showTable() : showJson();
}

void calls(const Arguments& arguments) {
    const std::string chosen = option(arguments, {"--json", "--clear"});
    if (chosen == "--clear") {
        AttendedMac::current().clearCalls();
    } else {
        printCalls(chosen == "--json");
    }
}

void defaults(const Arguments& arguments) {
    const bool asJson = !option(arguments, {"--json"}).empty();
    std::cout << AttendedMac::current().storedDefaults().dump(asJson ? -1 : 2) << '\n';
}

void desk(const Arguments& arguments) {
    const std::string file = operand(arguments, "file name");
    drawDesk(AttendedMac::current().displays(), AttendedMac::current().scene(), file);
}

void help(const Arguments& arguments) {
    option(arguments, {});
    std::cout << usage;
}

const std::map<std::string, std::function<void(const Arguments&)>> verbs = {
    {"show", show}, {"calls", calls}, {"defaults", defaults}, {"desk", desk}, {"--help", help},
};

/// What is done to the Mac, rather than asked of it.
void act(const Arguments& arguments) {
    std::cout << parseVerb(arguments).carryOut(AttendedMac::current());
}

void run(const Arguments& arguments) {
    if (arguments.empty()) {
        throw UsageError("no verb; 'macsim --help' lists them");
    }
    if (isVerb(arguments[0])) {
        return act(arguments);
    }
    const auto verb = verbs.find(arguments[0]);
    if (verb == verbs.end()) {
        throw UsageError("unknown verb '" + shown(arguments[0]) + "'; 'macsim --help' lists them");
    }
    verb->second(arguments);
}

void printProblem(const std::string& problem) {
    std::cerr << "macsim: " << shown(problem, longestLine) << '\n';
}

/// The next file that is opened would otherwise take the number of one that is missing, and what is
/// written to standard output go there. What stands in for them fails like them.
void holdMissingStandardDescriptors() {
    for (const int descriptor : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) {
        if (fcntl(descriptor, F_GETFD) == -1) {
            (void)open("/dev/null", descriptor == STDIN_FILENO ? O_WRONLY : O_RDONLY);
        }
    }
}

bool finishOutput() {
    std::cout.flush();
    if (!std::cout.good()) {
        printProblem("standard output: cannot be written");
    }
    return std::cout.good();
}

} // namespace

int main(int argc, char** argv) {
    holdMissingStandardDescriptors();
    try {
        run(Arguments(argv + 1, argv + argc));
    } catch (const std::exception& error) {
        printProblem(error.what());
        return 2;
    }
    return finishOutput() ? 0 : 2;
}
