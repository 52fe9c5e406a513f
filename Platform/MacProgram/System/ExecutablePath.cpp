#include "MacProgram/System/ExecutablePath.h"

#include <cstring>
#include <filesystem>

namespace mac_program {
namespace {

std::string& path() {
    [[clang::no_destroy]] static std::string only;
    return only;
}

} // namespace

void setExecutablePath(const std::string& file) {
    path() = std::filesystem::absolute(file);
}

int executablePath(char* buffer, std::uint32_t* size) {
    const auto needed = static_cast<std::uint32_t>(path().size() + 1);
    const bool fits = *size >= needed;
    if (fits) {
        std::memcpy(buffer, path().c_str(), needed);
    }
    *size = fits ? *size : needed;
    return fits ? 0 : -1;
}

} // namespace mac_program
