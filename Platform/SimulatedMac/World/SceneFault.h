#pragma once

#include <cstdint>
#include <optional>
#include <string>

namespace simulated_mac {

/// What is wrong with a list of displays that a call reports with success.
enum class ListFault {
    none,
    shortened,  ///< its last display is missing
    duplicated, ///< its first display stands in it twice
    zero,       ///< it begins with an ID 0
    tooLarge,   ///< its count is one more than the array holds, or than there are
};

/// What one call, or every call of a function, answers instead of the truth. Exactly one of
/// `returns`, `null`, `list`, `result` and `samples` is given.
struct SceneFault {
    std::string call; ///< the name of a simulated call, or "*" for every call
    int nth = 1;      ///< 1 for the first call in the process; 0 for every call
    std::optional<int64_t> returns = std::nullopt;
    bool null = false; ///< success with a null or zero result
    /// The call takes effect and then reports `returns`, or the request `result`.
    bool effect = false;
    ListFault list = ListFault::none;
    /// The call succeeds, and the I2C request's own result is this.
    std::optional<int32_t> result = std::nullopt;
    /// The call succeeds with no more than this many entries of the gamma table.
    std::optional<uint32_t> samples = std::nullopt;
    int errorNumber = 0; ///< what `errno` is after `returns`; 0: EIO
    bool lasts = false;  ///< the calls after the `nth` fail as well
};

} // namespace simulated_mac
