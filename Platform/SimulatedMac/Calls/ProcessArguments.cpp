#include <climits>
#include <crt_externs.h>
#include <cstring>
#include <mach-o/dyld.h>
#include <string>
#include <unistd.h>

namespace {

int argumentCount = 0;
char** argumentVector = nullptr;

// The C library hands a program's arguments to its constructors, too.
__attribute__((constructor)) void keepArguments(int count, char** arguments, char**) {
    argumentCount = count;
    argumentVector = arguments;
}

} // namespace

int* _NSGetArgc() {
    return &argumentCount;
}
char*** _NSGetArgv() {
    return &argumentVector;
}

int _NSGetExecutablePath(char* buffer, uint32_t* size) {
    std::string path(PATH_MAX, '\0');
    const ssize_t length = readlink("/proc/self/exe", path.data(), path.size());
    path.resize(length < 0 ? 0 : static_cast<std::size_t>(length));
    const auto needed = static_cast<uint32_t>(path.size() + 1);
    const bool fits = *size >= needed;
    if (fits) {
        std::memcpy(buffer, path.c_str(), needed);
    }
    *size = needed;
    return fits ? 0 : -1;
}
