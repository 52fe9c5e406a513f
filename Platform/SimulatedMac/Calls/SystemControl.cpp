// What a Mac tells of its system and its processor.

#include "SimulatedMac/Calls/Call.h"
#include "SimulatedMac/World/RunningMac.h"

#include <cerrno>
#include <cstdint>
#include <cstring>
#include <optional>
#include <string>
#include <sys/sysctl.h>

using namespace simulated_mac;

namespace {

std::optional<std::string> textBytes(const std::optional<std::string>& text) {
    return text ? std::optional(std::string(text->c_str(), text->size() + 1)) : std::nullopt;
}

/// The bytes of what is asked for; absent where there is no such thing, as on an Intel Mac, or
/// where the scene does not tell.
std::optional<std::string> valueOf(const std::string& name) {
    const Scene& scene = RunningMac::current().scene();
    if (name == "kern.osproductversion") {
        return textBytes(scene.macOS);
    }
    if (name == "hw.machine") {
        return textBytes(scene.processor);
    }
    return std::nullopt;
}

int copyOut(const std::string& value, void* room, size_t* size) {
    const bool fits = room == nullptr || value.size() <= *size;
    if (room != nullptr && fits) {
        std::memcpy(room, value.data(), value.size());
    }
    *size = value.size();
    errno = ENOMEM;
    return fits ? 0 : -1;
}

} // namespace

// Writing the log may change errno, so that is set last.
extern "C" int sysctlbyname(const char* name, void* value, size_t* size, void* newValue, size_t) {
    Call call(__func__, {name});
    if (call.failed()) {
        const int result = call.returns(call.failure<int>());
        errno = call.fault()->errorNumber == 0 ? EIO : call.fault()->errorNumber;
        return result;
    }
    const auto known = newValue == nullptr && !call.yieldsNull() ? valueOf(name) : std::nullopt;
    errno = ENOENT;
    const int result = known ? copyOut(*known, value, size) : -1;
    const int error = errno;
    (void)call.returns(result);
    errno = error;
    return result;
}
