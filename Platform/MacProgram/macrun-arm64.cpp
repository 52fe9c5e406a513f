// macrun-arm64 FILE [ARGUMENT...]: runs the arm64 slice of a program for a Mac, on the simulated
// Mac and an emulated processor.

#include "MacProgram/Runtime/Refusal.h"
#include "MacProgram/System/Spawning.h"

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <string>
#include <unistd.h>
#include <vector>

namespace {

constexpr const char* emulator = "qemu-aarch64-static";

// The host's name for itself is the program's file, as where no processor is emulated.
std::vector<const char*> command(char** arguments) {
    std::vector<const char*> words = {emulator, "-L", ARM64_ROOT, "-0", arguments[1], ARM64_HOST};
    for (char** argument = arguments + 2; *argument != nullptr; ++argument) {
        words.push_back(*argument);
    }
    words.push_back(nullptr);
    return words;
}

} // namespace

int main(int count, char** arguments) {
    if (count < 2) {
        std::fputs("usage: macrun-arm64 FILE [ARGUMENT...]\n", stderr);
        return 2;
    }
    mac_program::setProgramName(arguments[1]);
    for (const char* const needed : {ARM64_ROOT, ARM64_HOST}) {
        if (!std::filesystem::exists(needed)) {
            mac_program::refuse(std::string(needed) +
                                " is missing: Scripts/run-shipped.sh --arch arm64 makes it");
        }
    }
    const std::filesystem::path here = std::filesystem::read_symlink("/proc/self/exe");
    setenv(mac_program::launcherVariable, here.c_str(), 1);
    execvp(emulator, const_cast<char* const*>(command(arguments).data()));
    mac_program::refuse(std::string(emulator) + ": " + std::strerror(errno));
}
