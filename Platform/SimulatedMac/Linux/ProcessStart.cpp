#include "SimulatedMac/World/ProcessStart.h"

#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>

namespace simulated_mac {
namespace {

// A process whose first thread has ended lives on in the others, as an emulator's does for a
// moment. It may end while they are counted.
bool hasOtherThreads(const std::string& pid) {
    int threads = 0;
    std::error_code error;
    for (std::filesystem::directory_iterator all("/proc/" + pid + "/task", error), end; all != end;
         all.increment(error)) {
        ++threads;
    }
    return threads > 1;
}

} // namespace

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
    if (field == "Z" && !hasOtherThreads(number)) {
        return std::nullopt;
    }
    for (int i = 4; i <= 22; ++i) {
        fields >> field;
    }
    return std::stoull(field);
}

} // namespace simulated_mac
