#pragma once

#include <stdexcept>

namespace mac_program {

/// What keeps a program from being run here. `what()` is one line that does not name the file.
class BadProgram : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

} // namespace mac_program
