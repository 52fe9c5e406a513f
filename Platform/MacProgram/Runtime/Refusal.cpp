#include "MacProgram/Runtime/Refusal.h"

#include <cstdio>
#include <cstdlib>
#include <utility>

namespace mac_program {
namespace {

std::string& programName() {
    [[clang::no_destroy]] static std::string name;
    return name;
}

} // namespace

void setProgramName(std::string file) {
    programName() = std::move(file);
}

void refuse(const std::string& reason) {
    const std::string line = "macrun: " + programName() + ": " + reason + "\n";
    std::fflush(stdout);
    std::fputs(line.c_str(), stderr);
    std::_Exit(refusalStatus);
}

} // namespace mac_program
