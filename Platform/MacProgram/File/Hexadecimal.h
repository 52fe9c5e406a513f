#pragma once

#include <cstdint>
#include <sstream>
#include <string>

namespace mac_program {

/// As in 0x1f, for complaints.
inline std::string hexadecimal(std::uint64_t value) {
    std::ostringstream text;
    text << "0x" << std::hex << value;
    return text.str();
}

} // namespace mac_program
