// macrun FILE [ARGUMENT...]: runs the x86_64 slice of a program for a Mac, on the simulated Mac.

#include "MacProgram/Runtime/Refusal.h"

#include <cerrno>
#include <cstdio>
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
    execv(host.c_str(), arguments + 1);
    mac_program::setProgramName(arguments[1]);
    mac_program::refuse(host + ": " + std::strerror(errno));
}
