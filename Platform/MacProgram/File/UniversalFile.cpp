#include "MacProgram/File/UniversalFile.h"

#include "MacProgram/File/BadProgram.h"
#include "MacProgram/Processor/Processor.h"

#include <optional>

namespace mac_program {
namespace {

constexpr std::uint32_t universalMagic = 0xCAFEBABE;
// Larger pages than any processor has.
constexpr std::uint32_t greatestAlignment = 16;

struct Slice {
    std::uint32_t processor;
    Bytes bytes;
};

Slice readSlice(ByteReader& table, Bytes file) {
    const std::uint32_t processor = table.readBigEndian();
    table.skip(4); // which of its models
    const std::uint32_t offset = table.readBigEndian();
    const std::uint32_t size = table.readBigEndian();
    const std::uint32_t alignment = table.readBigEndian();
    if (alignment > greatestAlignment || offset % (1U << alignment) != 0) {
        throw BadProgram("slices are not aligned as the file says");
    }
    return {processor, partOf(file, offset, size, "slices")};
}

} // namespace

Bytes sliceForThisProcessor(Bytes file) {
    ByteReader table(file, "the file's first bytes");
    if (table.readBigEndian() != universalMagic) {
        return file;
    }
    std::optional<Bytes> found;
    for (std::uint32_t count = table.readBigEndian(); count > 0; --count) {
        const Slice slice = readSlice(table, file);
        if (slice.processor != thisProcessor.number) {
            continue;
        }
        if (found) {
            throw BadProgram(std::string("there are two slices for ") + thisProcessor.name);
        }
        found = slice.bytes;
    }
    if (!found) {
        throw BadProgram(std::string("there is no slice for ") + thisProcessor.name);
    }
    return *found;
}

} // namespace mac_program
