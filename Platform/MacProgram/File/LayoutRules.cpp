#include "MacProgram/File/LayoutRules.h"

#include "MacProgram/File/BadProgram.h"
#include "MacProgram/Processor/Processor.h"

#include <algorithm>
#include <array>

namespace mac_program {
namespace {

enum SectionKind : std::uint32_t {
    regular = 0,
    zeros = 1,
    texts = 2,
    pointersToTexts = 5,
    pointers = 6,
    lazyPointers = 7,
    stubs = 8,
    coalesced = 11,
    literals16 = 14,
    threadLocalZeros = 18,
    threadLocals = 19
};

struct KnownSection {
    std::string_view name;
    SectionKind kind;
};

// What this loader knows the meaning of. Code that runs before `main` is missing on purpose: there
// is none in the program, and so are categories and initial values of thread-local variables.
constexpr KnownSection knownSections[] = {
    {"__text", regular},
    {"__stubs", stubs},
    {"__stub_helper", regular},
    {"__const", regular},
    {"__cstring", texts},
    {"__literal16", literals16},
    {"__literals", regular},
    {"__ustring", regular},
    {"__gcc_except_tab", regular},
    {"__unwind_info", regular},
    {"__eh_frame", coalesced},
    {"__got", pointers},
    {"__la_symbol_ptr", lazyPointers},
    {"__data", regular},
    {"__bss", zeros},
    {"__common", zeros},
    {"__cfstring", regular},
    {"__thread_vars", threadLocals},
    {"__thread_bss", threadLocalZeros},
    {"__objc_classlist", regular},
    {"__objc_classname", regular},
    {"__objc_classrefs", regular},
    {"__objc_const", regular},
    {"__objc_data", regular},
    {"__objc_imageinfo", regular},
    {"__objc_ivar", regular},
    {"__objc_methname", regular},
    {"__objc_methname", texts},
    {"__objc_methtype", regular},
    {"__objc_protolist", regular},
    {"__objc_protolist", coalesced},
    {"__objc_selrefs", pointersToTexts},
    {"__objc_superrefs", regular},
};

// More than any program of ours; a lie about sizes must not take all of the address space.
constexpr std::uint64_t greatestSize = std::uint64_t{1} << 30;

bool isKnown(const Section& section, std::uint32_t kind) {
    return std::ranges::any_of(knownSections, [&](const KnownSection& known) {
        return known.name == section.name && known.kind == kind;
    });
}

bool isInFile(const Section& section, std::uint32_t fileOffset, const Segment& segment) {
    const std::uint64_t inSegment = section.address - segment.address;
    return fileOffset == segment.fileOffset + inSegment && inSegment <= segment.fileSize &&
           section.size <= segment.fileSize - inSegment;
}

// Of the addresses that there are; only then can its end be reckoned with.
bool endsAmongAddresses(const Segment& segment) {
    const std::uint64_t size = wholePages(segment.size);
    return size >= segment.size && segment.address <= UINT64_MAX - size;
}

void requireSizes(const Segment& segment, std::size_t sliceSize) {
    if (segment.fileOffset > sliceSize || segment.fileSize > sliceSize - segment.fileOffset) {
        throw BadProgram(segment.name + " reaches outside the file");
    }
    if (segment.address % thisProcessor.pageSize != 0 ||
        segment.fileOffset % thisProcessor.pageSize != 0) {
        throw BadProgram(segment.name + " does not begin on a page");
    }
    if (!endsAmongAddresses(segment) ||
        (segment.isMapped() && (segment.size > greatestSize || segment.fileSize > segment.size))) {
        throw BadProgram("the sizes of " + segment.name + " do not fit");
    }
    if (!segment.isMapped() && segment.fileSize != 0) {
        throw BadProgram(segment.name + " can never be read");
    }
    if (segment.isWritable && segment.isExecutable) {
        throw BadProgram(segment.name + " may be written and executed");
    }
}

// None of them ends past the last number.
bool overlap(std::uint64_t first, std::uint64_t firstSize, std::uint64_t second,
             std::uint64_t secondSize) {
    return first < second + secondSize && second < first + firstSize;
}

void requireApart(const Segment& one, const Segment& other) {
    if (one.name == other.name) {
        throw BadProgram("there are two segments " + one.name);
    }
    if (overlap(one.address, wholePages(one.size), other.address, wholePages(other.size)) ||
        overlap(one.fileOffset, one.fileSize, other.fileOffset, other.fileSize)) {
        throw BadProgram(one.name + " and " + other.name + " overlap");
    }
}

void requireApart(std::vector<Section> sections) {
    std::ranges::sort(sections, {}, &Section::address);
    for (std::size_t i = 1; i < sections.size(); ++i) {
        const Section& before = sections[i - 1];
        if (sections[i].address - before.address < before.size) {
            throw BadProgram("sections " + before.name + " and " + sections[i].name + " overlap");
        }
    }
}

void requireSpan(const std::vector<Segment>& segments) {
    std::uint64_t lowest = UINT64_MAX;
    std::uint64_t highest = 0;
    for (const Segment& segment : segments) {
        if (segment.isMapped()) {
            lowest = std::min(lowest, segment.address);
            highest = std::max(highest, segment.address);
        }
    }
    if (highest < lowest || highest - lowest > greatestSize) {
        throw BadProgram("the segments lie too far apart");
    }
}

} // namespace

void requireSection(const Section& section, std::uint32_t kind, std::uint32_t fileOffset,
                    const Segment& segment) {
    const std::string name = section.segment + "," + section.name;
    if (!isKnown(section, kind)) {
        throw BadProgram("section " + name + " is not known here");
    }
    if (section.segment != segment.name || !segment.holds(section.address, section.size)) {
        throw BadProgram("section " + name + " reaches outside its segment");
    }
    const bool isZero = kind == zeros || kind == threadLocalZeros;
    if (!isZero && !isInFile(section, fileOffset, segment)) {
        throw BadProgram("section " + name + " is elsewhere in the file than in memory");
    }
}

void requireSoundLayout(const ProgramFile& program) {
    for (auto one = program.segments.begin(); one != program.segments.end(); ++one) {
        requireSizes(*one, program.bytes.size());
        for (auto other = program.segments.begin(); other != one; ++other) {
            requireApart(*other, *one);
        }
    }
    requireApart(program.sections);
    requireSpan(program.segments);
    const Segment& code = program.segment("__TEXT");
    if (!code.isExecutable || code.fileOffset != 0 || program.entryOffset == 0 ||
        program.entryOffset >= code.fileSize) {
        throw BadProgram("it does not begin inside its code");
    }
    (void)program.segment("__LINKEDIT");
}

} // namespace mac_program
