#pragma once

#include "MacProgram/Tests/TinyProgram.h"

#include <ostream>
#include <string>
#include <vector>

namespace mac_program {

/// A file that is no program to run here, and what is said about it.
struct DamagedProgram {
    std::string name; ///< of the test
    ByteVector file;
    std::string complaint;

    friend std::ostream& operator<<(std::ostream& stream, const DamagedProgram& program) {
        return stream << program.name;
    }
};

/// What is wrong with the file itself.
std::vector<DamagedProgram> damagedFiles();

/// What is found only when the program is laid out in memory.
std::vector<DamagedProgram> damagedContents();

} // namespace mac_program
