#include "SimulatedMac/World/ProcessStart.h"

#include <fstream>
#include <sstream>
#include <string>

namespace simulated_mac {

// Field 22 of the first thread's stat: an emulator of another processor makes up the process's own
// file for the process itself, with a time that nobody else reads. The second field, a name in
// parentheses, may itself hold spaces; the third tells a process that has ended but was not waited
// for.
std::optional<uint64_t> startTime(int pid) {
    const std::string number = std::to_string(pid);
    std::ifstream file("/proc/" + number + "/task/" + number + "/stat");
    std::string line;
    std::getline(file, line);
    const auto nameEnd = line.rfind(')');
    if (nameEnd == std::string::npos) {
        return std::nullopt;
    }
    std::istringstream fields(line.substr(nameEnd + 1));
    std::string field;
    fields >> field;
    if (field == "Z") {
        return std::nullopt;
    }
    for (int i = 4; i <= 22; ++i) {
        fields >> field;
    }
    return std::stoull(field);
}

} // namespace simulated_mac
