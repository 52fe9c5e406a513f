#include "Veilpane/Support/StandardOutput.h"

#include <cstdio>

void printLine(const std::string& line) {
    const std::string terminated = line + '\n';
    std::fwrite(terminated.data(), 1, terminated.size(), stdout);
}

std::string boolText(bool value) {
    return value ? "true" : "false";
}
