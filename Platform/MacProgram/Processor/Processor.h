#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

namespace mac_program {

/// What the programs for one processor differ in from those for another.
struct Processor {
    std::uint32_t number;     ///< in the headers of programs and universal files
    std::uint32_t model;      ///< the only one of its models whose programs are run here
    std::uint32_t capability; ///< a bit beside the model that may be set and means nothing here
    const char* name;
    std::uint64_t pageSize;                 ///< what a Mac maps memory in units of, in bytes
    std::size_t instanceVariableOffsetSize; ///< of the places where code looks them up, in bytes
};

/// The one whose programs are run here: that of this process.
extern const Processor thisProcessor;

/// Throws BadProgram unless a header's number of a model is that of this processor.
void requireKnownModel(std::uint32_t model);

/// The next multiple of a page.
inline std::uint64_t wholePages(std::uint64_t size) {
    return (size + thisProcessor.pageSize - 1) / thisProcessor.pageSize * thisProcessor.pageSize;
}

} // namespace mac_program
