#include "SimulatedMac/World/Complaint.h"

#include <cstdio>
#include <cstdlib>
#include <unistd.h>

namespace simulated_mac {

void complain(const std::string& line) {
    std::fflush(stdout);
    std::fprintf(stderr, "simulated Mac: %s\n", line.c_str());
    _exit(2);
}

void crash(const std::string& line) {
    std::fflush(stdout);
    std::fprintf(stderr, "simulated Mac: crash: %s\n", line.c_str());
    std::abort();
}

} // namespace simulated_mac
