#include "SimulatedMac/World/Complaint.h"

#include "SimulatedMac/World/Message.h"

#include <cstdio>
#include <cstdlib>
#include <unistd.h>

namespace simulated_mac {

void complain(const std::string& line) {
    std::fflush(stdout);
    std::fprintf(stderr, "simulated Mac: %s\n", shown(line, longestLine).c_str());
    _exit(2);
}

void crash(const std::string& call, const std::string& mistake) {
    std::fflush(stdout);
    std::fprintf(stderr, "simulated Mac: crash: %s: %s\n", call.c_str(), mistake.c_str());
    std::abort();
}

} // namespace simulated_mac
