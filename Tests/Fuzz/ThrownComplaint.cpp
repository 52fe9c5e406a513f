// In the place of World/Complaint.cpp, which the linker then leaves in its library: bad input is
// thrown instead of ending the process, so that the fuzzer goes on with the next one. A broken rule
// of the platform still ends it.

#include "SimulatedMac/World/Complaint.h"

#include <cstdio>
#include <cstdlib>

namespace simulated_mac {

void complain(const std::string& line) {
    throw InputError(line);
}

void crash(const std::string& call, const std::string& mistake) {
    std::fprintf(stderr, "simulated Mac: crash: %s: %s\n", call.c_str(), mistake.c_str());
    std::abort();
}

} // namespace simulated_mac
