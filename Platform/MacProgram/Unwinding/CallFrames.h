#pragma once

#include "MacProgram/Unwinding/CompactUnwinding.h"

#include <cstdint>
#include <map>
#include <vector>

namespace mac_program {

/// Call frame information as this system's unwinder reads it (DWARF), made of the program's own.
class CallFrames {
public:
    explicit CallFrames(const std::vector<FunctionFrame>& frames);
    CallFrames(const CallFrames&) = delete;
    CallFrames& operator=(const CallFrames&) = delete;
    /// The unwinder forgets them.
    ~CallFrames();

    /// Tells the unwinder. From now on exceptions leave the program's functions.
    void announce();

private:
    void add(const FunctionFrame& frame);
    std::size_t commonPart(std::uint64_t personality);
    std::size_t beginEntry();
    void endEntry(std::size_t begin);
    template <class Value>
    void put(Value value);
    void put(const FrameInstructions& instructions);

    std::vector<std::uint8_t> bytes_;
    std::map<std::uint64_t, std::size_t> commonParts_;
    bool isAnnounced_ = false;
};

} // namespace mac_program
