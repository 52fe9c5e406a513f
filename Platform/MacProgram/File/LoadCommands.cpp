// The load commands of a program: what a Mac's kernel and loader are told about it.

#include "MacProgram/File/BadProgram.h"
#include "MacProgram/File/Hexadecimal.h"
#include "MacProgram/File/LayoutRules.h"
#include "MacProgram/File/ProgramFile.h"
#include "MacProgram/Processor/Processor.h"

#include <set>

namespace mac_program {
namespace {

constexpr std::uint32_t magicOf64Bits = 0xFEEDFACF;
constexpr std::uint32_t executable = 2;
constexpr std::uint32_t macOS = 1;
constexpr const char* loaderOfAMac = "/usr/lib/dyld";

enum HeaderFlags : std::uint32_t {
    allDefined = 0x1,
    linkedDynamically = 0x4,
    twoLevelNames = 0x80,
    nothingReexported = 0x100000,
    positionIndependent = 0x200000,
    hasThreadLocals = 0x800000,
    required = linkedDynamically | twoLevelNames | positionIndependent,
    known = required | allDefined | nothingReexported | hasThreadLocals
};

enum class Kind : std::uint32_t {
    symbolTable = 0x2,
    dynamicSymbolTable = 0xB,
    loadLibrary = 0xC,
    loadLoader = 0xE,
    segment = 0x19,
    identifier = 0x1B,
    signature = 0x1D,
    functionStarts = 0x26,
    dataInCode = 0x29,
    sourceVersion = 0x2A,
    buildVersion = 0x32,
    bindingInformation = 0x80000022,
    mainFunction = 0x80000028
};

struct Header {
    std::uint32_t commandCount;
    std::uint32_t commandSize; // of all of them, in bytes
};

Header readHeader(ByteReader& reader) {
    if (reader.read<std::uint32_t>() != magicOf64Bits ||
        reader.read<std::uint32_t>() != thisProcessor.number) {
        throw BadProgram(std::string("it is no program for ") + thisProcessor.name);
    }
    requireKnownModel(reader.read<std::uint32_t>());
    if (reader.read<std::uint32_t>() != executable) {
        throw BadProgram("it is no executable");
    }
    const Header header = {reader.read<std::uint32_t>(), reader.read<std::uint32_t>()};
    const auto flags = reader.read<std::uint32_t>();
    if ((flags & required) != required || (flags & ~known) != 0) {
        throw BadProgram("the header's flags " + hexadecimal(flags) + " do not fit");
    }
    reader.skip(4);
    return header;
}

/// Reads one load command after the other into a program.
class CommandReader {
public:
    explicit CommandReader(Bytes slice) { program_.bytes = slice; }

    void read(std::uint32_t kind, Bytes command) {
        ByteReader fields(command, "load commands");
        fields.skip(8); // kind and size
        requireOnlyOnce(static_cast<Kind>(kind));
        switch (static_cast<Kind>(kind)) {
        case Kind::segment:
            return readSegment(fields);
        case Kind::loadLibrary:
            program_.libraries.push_back(textIn(command, fields));
            return;
        case Kind::loadLoader:
            return requireLoader(textIn(command, fields));
        case Kind::mainFunction:
            program_.entryOffset = fields.read<std::uint64_t>();
            return;
        case Kind::bindingInformation:
            return readBindingInformation(fields);
        case Kind::buildVersion:
            return requirePlatform(fields.read<std::uint32_t>());
        case Kind::symbolTable:
        case Kind::signature:
        case Kind::functionStarts:
        case Kind::dataInCode:
            return requireTable(static_cast<Kind>(kind), fields);
        case Kind::dynamicSymbolTable:
            return readDynamicSymbols(fields);
        case Kind::identifier:
        case Kind::sourceVersion:
            return;
        }
        throw BadProgram("load command " + hexadecimal(kind) + " is not known here");
    }

    /// The whole program. Throws BadProgram when it has not told everything.
    [[nodiscard]] const ProgramFile& program() const {
        for (const Kind needed :
             {Kind::bindingInformation, Kind::mainFunction, Kind::buildVersion, Kind::loadLoader}) {
            if (!seen_.contains(needed)) {
                throw BadProgram("load command " + textOf(needed) + " is missing");
            }
        }
        return program_;
    }

private:
    static std::string textOf(Kind kind) { return hexadecimal(static_cast<std::uint32_t>(kind)); }

    void requireOnlyOnce(Kind kind) {
        const bool mayBeMany = kind == Kind::segment || kind == Kind::loadLibrary;
        if (!seen_.insert(kind).second && !mayBeMany) {
            throw BadProgram("load command " + textOf(kind) + " is there twice");
        }
    }

    static std::string textIn(Bytes command, ByteReader& fields) {
        const auto offset = fields.read<std::uint32_t>();
        const Bytes text =
            partOf(command, offset, command.size() - std::min<std::size_t>(offset, command.size()),
                   "names in load commands");
        return ByteReader(text, "names in load commands").readText();
    }

    static void requireLoader(const std::string& path) {
        if (path != loaderOfAMac) {
            throw BadProgram("it asks for the loader '" + path + "'");
        }
    }

    static void requirePlatform(std::uint32_t platform) {
        if (platform != macOS) {
            throw BadProgram("it is not for macOS");
        }
    }

    // What a debugger or the kernel reads: its entries are not needed here.
    void requireTable(Kind kind, ByteReader& fields) const {
        const auto offset = fields.read<std::uint32_t>();
        const auto size = fields.read<std::uint32_t>();
        constexpr std::uint64_t symbolSize = 16;
        (void)partOf(program_.bytes, offset, kind == Kind::symbolTable ? symbolSize * size : size,
                     "tables of load commands");
    }

    // Of 18 numbers: the indirect symbols and relocations are the last six.
    void readDynamicSymbols(ByteReader& fields) const {
        fields.skip(48);
        const auto offset = fields.read<std::uint32_t>();
        const auto count = fields.read<std::uint32_t>();
        (void)partOf(program_.bytes, offset, sizeof(std::uint32_t) * std::uint64_t{count},
                     "indirect symbols");
        for (int table = 0; table < 2; ++table) {
            fields.skip(4); // where it is
            requireNoRelocations("the program", fields.read<std::uint32_t>());
        }
    }

    // What the linker has left to the loader is in the rebase and bind instructions.
    static void requireNoRelocations(const std::string& owner, std::uint32_t count) {
        if (count != 0) {
            throw BadProgram(owner + " has relocations, which are not known here");
        }
    }

    Bytes readTable(ByteReader& fields) const {
        const auto offset = fields.read<std::uint32_t>();
        const auto size = fields.read<std::uint32_t>();
        return partOf(program_.bytes, offset, size, "binding instructions");
    }

    void readBindingInformation(ByteReader& fields) {
        program_.rebasing = readTable(fields);
        program_.binding = readTable(fields);
        program_.weakBinding = readTable(fields);
        program_.lazyBinding = readTable(fields);
    }

    void readSegment(ByteReader& fields) {
        Segment segment;
        segment.name = fields.readName();
        segment.address = fields.read<std::uint64_t>();
        segment.size = fields.read<std::uint64_t>();
        segment.fileOffset = fields.read<std::uint64_t>();
        segment.fileSize = fields.read<std::uint64_t>();
        readProtection(segment, fields);
        const auto sectionCount = fields.read<std::uint32_t>();
        readSegmentFlags(segment, fields.read<std::uint32_t>());
        for (std::uint32_t i = 0; i < sectionCount; ++i) {
            program_.sections.push_back(readSection(segment, fields));
        }
        program_.segments.push_back(segment);
    }

    static void readProtection(Segment& segment, ByteReader& fields) {
        const auto most = fields.read<std::uint32_t>();
        const auto initial = fields.read<std::uint32_t>();
        if (most != initial || initial > 7) {
            throw BadProgram("the protection of " + segment.name + " does not fit");
        }
        segment.isReadable = (initial & 1) != 0;
        segment.isWritable = (initial & 2) != 0;
        segment.isExecutable = (initial & 4) != 0;
    }

    static void readSegmentFlags(Segment& segment, std::uint32_t flags) {
        constexpr std::uint32_t readOnlyOnceBound = 0x10;
        if ((flags & ~readOnlyOnceBound) != 0) {
            throw BadProgram("the flags of " + segment.name + " are not known here");
        }
        segment.isReadOnlyOnceBound = flags != 0;
    }

    static Section readSection(const Segment& segment, ByteReader& fields) {
        Section section;
        section.name = fields.readName();
        section.segment = fields.readName();
        section.address = fields.read<std::uint64_t>();
        section.size = fields.read<std::uint64_t>();
        const auto fileOffset = fields.read<std::uint32_t>();
        fields.skip(8); // alignment, where its relocations are
        requireNoRelocations("section " + section.name, fields.read<std::uint32_t>());
        requireSection(section, fields.read<std::uint32_t>() & 0xFF, fileOffset, segment);
        fields.skip(12);
        return section;
    }

    ProgramFile program_;
    std::set<Kind> seen_;
};

} // namespace

ProgramFile readProgramFile(Bytes slice) {
    ByteReader start(slice, "the header's fields");
    const Header header = readHeader(start);
    ByteReader commands(partOf(slice, start.position(), header.commandSize, "load commands"),
                        "load commands");
    CommandReader reader(slice);
    for (std::uint32_t i = 0; i < header.commandCount; ++i) {
        const Bytes rest = commands.rest();
        const auto kind = commands.read<std::uint32_t>();
        const auto size = commands.read<std::uint32_t>();
        if (size < 8 || size > rest.size() || size % 8 != 0) {
            throw BadProgram("the size of load command " + hexadecimal(kind) + " does not fit");
        }
        reader.read(kind, rest.first(size));
        commands.skip(size - 8);
    }
    if (!commands.isAtEnd()) {
        throw BadProgram("there are more load commands than the header says");
    }
    const ProgramFile& program = reader.program();
    requireSoundLayout(program);
    return program;
}

} // namespace mac_program
