#include "ProcessIdentity.h"

#include <fstream>
#include <optional>
#include <sstream>
#include <string>
#include <unistd.h>

namespace simulated_mac {
namespace {

// Field 22 of /proc/PID/stat. The second field, a name in parentheses, may itself hold spaces; the
// third tells a process that has ended but was not waited for.
std::optional<uint64_t> startTime(int pid) {
    std::ifstream file("/proc/" + std::to_string(pid) + "/stat");
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

} // namespace

ProcessIdentity thisProcess() {
    return {getpid(), startTime(getpid()).value_or(0)};
}

bool isRunning(const ProcessIdentity& process) {
    const auto start = startTime(process.pid);
    return start && *start == process.start;
}

} // namespace simulated_mac
