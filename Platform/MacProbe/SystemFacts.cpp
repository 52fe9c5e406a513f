#include "MacProbe/SystemFacts.h"

#include <array>
#include <cstring>
#include <sys/sysctl.h>

namespace macprobe {

namespace {

std::optional<std::string> systemText(const char* name) {
    std::array<char, 64> text = {};
    std::size_t size = text.size() - 1;
    if (sysctlbyname(name, text.data(), &size, nullptr, 0) != 0 || text.front() == '\0') {
        return std::nullopt;
    }
    return std::string(text.data());
}

} // namespace

std::optional<std::string> macOSVersion() {
    return systemText("kern.osproductversion");
}

std::optional<std::string> processorKind() {
    const auto machine = systemText("hw.machine");
    return machine == "arm64" || machine == "x86_64" ? machine : std::nullopt;
}

} // namespace macprobe
