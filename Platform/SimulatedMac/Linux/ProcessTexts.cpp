// GNUstep raises an exception, with a page of advice, when an argument or a variable of the
// environment is no UTF-8: while it is loaded, before any code of the program. Only what an
// executable lists here comes earlier, so that it can be told in one line.

#include "SimulatedMac/World/Complaint.h"
#include "SimulatedMac/World/Message.h"
#include "SimulatedMac/World/UTF8.h"

#include <string>

namespace simulated_mac {
namespace {

bool isValid(const char* text) {
    return validPrefix(text) == std::string_view(text).size();
}

void requireTexts(int count, char** arguments, char** environment) {
    for (int i = 0; i < count; ++i) {
        if (!isValid(arguments[i])) {
            complain("argument " + std::to_string(i) + ": '" + shown(arguments[i]) +
                     "' is not valid UTF-8");
        }
    }
    for (; *environment != nullptr; ++environment) {
        if (!isValid(*environment)) {
            complain("environment: '" + shown(*environment) + "' is not valid UTF-8");
        }
    }
}

[[gnu::section(".preinit_array"), gnu::used]] void (*const beforeLibraries)(int, char**,
                                                                            char**) = requireTexts;

} // namespace
} // namespace simulated_mac
