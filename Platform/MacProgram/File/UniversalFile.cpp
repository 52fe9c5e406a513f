#include "MacProgram/File/UniversalFile.h"

#include "MacProgram/File/BadProgram.h"
#include "MacProgram/Processor/Processor.h"

#include <algorithm>
#include <optional>
#include <vector>

namespace mac_program {
namespace {

constexpr std::uint32_t universalMagic = 0xCAFEBABE;
// Larger pages than any processor has.
constexpr std::uint32_t greatestAlignment = 16;

struct Slice {
    std::uint32_t processor;
    std::uint32_t model;
    std::uint32_t offset;
    Bytes bytes;
};

Slice readSlice(ByteReader& table, Bytes file) {
    const std::uint32_t processor = table.readBigEndian();
    const std::uint32_t model = table.readBigEndian();
    const std::uint32_t offset = table.readBigEndian();
    const std::uint32_t size = table.readBigEndian();
    const std::uint32_t alignment = table.readBigEndian();
    if (alignment > greatestAlignment || offset % (1U << alignment) != 0) {
        throw BadProgram("slices are not aligned as the file says");
    }
    return {processor, model, offset, partOf(file, offset, size, "slices")};
}

std::vector<Slice> readSlices(ByteReader& table, Bytes file) {
    std::vector<Slice> slices;
    for (std::uint32_t count = table.readBigEndian(); count > 0; --count) {
        slices.push_back(readSlice(table, file));
    }
    return slices;
}

void requireApart(std::vector<Slice> slices, std::size_t tableSize) {
    std::ranges::sort(slices, {}, &Slice::offset);
    std::size_t end = tableSize;
    for (const Slice& slice : slices) {
        if (slice.offset < end) {
            throw BadProgram("slices overlap");
        }
        end = slice.offset + slice.bytes.size();
    }
}

// Both the file's table and the slice itself tell what the slice is for.
void requireSameModel(const Slice& slice) {
    requireKnownModel(slice.model);
    ByteReader header(slice.bytes, "the header's fields");
    header.skip(4);
    if (header.read<std::uint32_t>() == slice.processor &&
        header.read<std::uint32_t>() != slice.model) {
        throw BadProgram("the slice's header and the file's table tell different models");
    }
}

} // namespace

Bytes sliceForThisProcessor(Bytes file) {
    ByteReader table(file, "the file's first bytes");
    if (table.readBigEndian() != universalMagic) {
        return file;
    }
    const std::vector<Slice> slices = readSlices(table, file);
    requireApart(slices, table.position());
    std::optional<Bytes> found;
    for (const Slice& slice : slices) {
        if (slice.processor != thisProcessor.number) {
            continue;
        }
        if (found) {
            throw BadProgram(std::string("there are two slices for ") + thisProcessor.name);
        }
        requireSameModel(slice);
        found = slice.bytes;
    }
    if (!found) {
        throw BadProgram(std::string("there is no slice for ") + thisProcessor.name);
    }
    return *found;
}

} // namespace mac_program
