#pragma once

#include <stdexcept>

namespace simulated_mac {

/// A file, or a text in one, that is not what it should be. The text names it and, where there is
/// one, the key: "desk.json: displays[0].id: must be a whole number".
class InputError : public std::runtime_error {
    using std::runtime_error::runtime_error;
};

} // namespace simulated_mac
