#pragma once

#include <cstdint>
#include <set>
#include <string>
#include <vector>

namespace mac_program {

using ByteVector = std::vector<std::uint8_t>;

struct TinySection {
    std::string name;
    std::uint32_t kind = 0;
    std::uint64_t offset = 0; ///< from its segment's beginning, in memory and in the file
    ByteVector contents;
    std::uint32_t relocations = 0; ///< how many it says that there are
};

struct TinySegment {
    std::string name;
    std::uint64_t address = 0;
    std::uint64_t size = 0;
    std::uint64_t fileOffset = 0;
    std::uint64_t fileSize = 0;
    std::uint32_t protection = 0;
    std::uint32_t flags = 0;
    std::vector<TinySection> sections;
};

struct TinyCommand {
    std::uint32_t kind = 0;
    ByteVector contents; ///< what follows its kind and size
};

/// A program for a Mac of a few instructions, to be damaged at will. As it is made, it ends with
/// status 42.
struct TinyProgram {
    TinyProgram();

    std::uint32_t magic = 0xFEEDFACF;
    std::uint32_t processor = 0x01000007;
    std::uint32_t model = 3;
    std::uint32_t fileKind = 2;
    std::uint32_t flags = 0x200085;
    std::vector<TinySegment> segments; ///< nothing, code, data, tables
    std::string loader = "/usr/lib/dyld";
    std::uint64_t entryOffset = 0x800;
    std::uint32_t platform = 1;
    std::vector<std::string> libraries = {"/usr/lib/libSystem.B.dylib"};
    ByteVector rebasing;
    ByteVector binding;
    ByteVector weakBinding;
    ByteVector lazyBinding;
    std::vector<TinyCommand> more;
    std::set<std::uint32_t> leftOut; ///< kinds of load commands that are not written

    TinySegment& code() { return segments[1]; }
    TinySegment& data() { return segments[2]; }
    TinySegment& tables() { return segments[3]; }
    /// Replaces the instructions of `main`.
    void run(ByteVector instructions) { code().sections[0].contents = std::move(instructions); }

    /// The file's bytes.
    [[nodiscard]] ByteVector file() const;
};

/// A universal file whose only slice has these bytes; its table says what the arguments say.
ByteVector universalFile(const ByteVector& slice, std::uint32_t processor, std::uint32_t offset,
                         std::uint32_t size, std::uint32_t alignment);

/// Instructions that bind a pointer of the data, the first one unless told otherwise, to a symbol
/// of the library with this number. The place is from the data's beginning, less than 128.
ByteVector bindingOf(const std::string& symbol, std::uint8_t library = 1, std::size_t place = 0);

} // namespace mac_program
