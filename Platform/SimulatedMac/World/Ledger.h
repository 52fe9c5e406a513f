#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

namespace simulated_mac {

enum class Resource {
    ioObject,
    cfObject,
    i2cConnection,
    displayConfiguration,
    loaderHandle,
    fileActions,
    spawnAttributes,
};

/// Counts what the program holds of the platform. A release too many, or a use after the last
/// release, ends the process at once with a line on standard error.
namespace ledger {

/// The handle of what the program holds by its address.
[[nodiscard]] inline uintptr_t handle(const void* object) {
    return reinterpret_cast<uintptr_t>(object);
}

void opened(Resource kind, uintptr_t handle, const std::string& what); ///< one reference more
void closed(Resource kind, uintptr_t handle, const char* call);        ///< one reference less
void requireOpen(Resource kind, uintptr_t handle, const char* call);
[[nodiscard]] std::size_t references(Resource kind, uintptr_t handle);

/// Lets one reference more of an open handle stay for good without counting as outstanding.
void exempt(Resource kind, uintptr_t handle);

/// What is still held, a line each; empty when everything was given back.
[[nodiscard]] std::string outstanding();
void clear();

} // namespace ledger
} // namespace simulated_mac
