// macrun FILE [ARGUMENT...]: runs the x86_64 slice of a program for a Mac, on the simulated Mac.

#include "MacProgram/Runtime/Refusal.h"
#include "MacProgram/System/Spawning.h"

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <string>
#include <unistd.h>

int main(int count, char** arguments) {
    if (count < 2) {
        std::fputs("usage: macrun FILE [ARGUMENT...]\n", stderr);
        return 2;
    }
    const std::filesystem::path here = std::filesystem::read_symlink("/proc/self/exe");
    const std::string host = here.parent_path() / "macrun-host";
    setenv(mac_program::launcherVariable, here.c_str(), 1);
    execv(host.c_str(), arguments + 1);
    mac_program::setProgramName(arguments[1]);
    mac_program::refuse(host + ": " + std::strerror(errno));
}
