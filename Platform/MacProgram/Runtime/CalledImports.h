#pragma once

#include "MacProgram/Image/AddressSpace.h"
#include "MacProgram/Runtime/Symbol.h"

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

namespace mac_program {

/// Tells a file which of the imported functions are called: "bound NAME" once for each import,
/// "called NAME" at its first call in each process, so that also a process that is killed has told.
class CalledImports {
public:
    /// The one that the environment variable MACRUN_CALLED_IMPORTS asks for by naming a file, or
    /// null. It lasts as long as the process.
    static CalledImports* ifWanted();

    /// What to bind the import to in its place: it goes through to the function, and tells the
    /// first call.
    void* through(const Symbol& import);
    /// From now on they can be called.
    void seal();
    /// Tells a call, and gives the function's address. Later calls go there directly.
    void* noteCall(std::uint32_t number);

private:
    struct Import {
        std::string name;
        void* address;
    };

    explicit CalledImports(std::string file);
    void tellAllWhenNew() const;
    void append(const std::string& lines) const;

    std::string file_;
    std::vector<Import> imports_;
    AddressSpace space_;    // instructions, and behind them where they jump to
    std::uint8_t* targets_; // one pointer for each import
};

} // namespace mac_program
