#include "MacProgram/Image/Image.h"

#include "MacProgram/File/Binding.h"
#include "MacProgram/File/Hexadecimal.h"
#include "MacProgram/File/Rebasing.h"
#include "MacProgram/Processor/Processor.h"

#include <algorithm>
#include <cstring>
#include <sys/mman.h>

namespace mac_program {
namespace {

// A hole where nothing may be needs no memory here: this process's own zero page is one.
std::vector<Segment> mappedSegments(const ProgramFile& file) {
    std::vector<Segment> mapped;
    std::ranges::copy_if(file.segments, std::back_inserter(mapped), &Segment::isMapped);
    return mapped;
}

std::uint64_t lowestAddress(const std::vector<Segment>& segments) {
    return std::ranges::min(segments, {}, &Segment::address).address;
}

std::uint64_t wholeSize(const std::vector<Segment>& segments) {
    const auto endOf = [](const Segment& segment) {
        return segment.address + wholePages(segment.size);
    };
    return endOf(std::ranges::max(segments, {}, endOf)) - lowestAddress(segments);
}

int protectionOf(const Segment& segment) {
    const bool isWritable = segment.isWritable && !segment.isReadOnlyOnceBound;
    return (segment.isReadable ? PROT_READ : 0) | (isWritable ? PROT_WRITE : 0) |
           (segment.isExecutable ? PROT_EXEC : 0);
}

} // namespace

Image::Image(const ProgramFile& file, const Resolver& resolve)
    : segments_(mappedSegments(file))
    , sections_(file.sections)
    , space_(wholeSize(segments_))
    , slide_(space_.address() - lowestAddress(segments_))
    , codeBegin_(file.segment("__TEXT").address)
    , entryOffset_(file.entryOffset) {
    layOut(file);
    rebase(file);
    bind(file, resolve);
}

void Image::layOut(const ProgramFile& file) {
    for (const Segment& segment : segments_) {
        const std::uint64_t offset = placed(segment.address) - space_.address();
        space_.allow(offset, wholePages(segment.size), PROT_READ | PROT_WRITE);
        const Bytes contents = partOf(file.bytes, segment.fileOffset, segment.fileSize, "segments");
        std::ranges::copy(contents, space_.begin() + offset);
    }
}

void Image::rebase(const ProgramFile& file) {
    for (const std::uint64_t place : rebasedPlaces(file)) {
        auto* const pointer = reinterpret_cast<std::uint8_t*>(placed(place));
        std::uint64_t value = 0;
        std::memcpy(&value, pointer, sizeof value);
        requireTarget(value, place);
        value = placed(value);
        std::memcpy(pointer, &value, sizeof value);
    }
}

void Image::bind(const ProgramFile& file, const Resolver& resolve) {
    for (const Binding& binding : bindings(file)) {
        const auto* const target =
            static_cast<std::uint8_t*>(resolve(binding.library, binding.symbol)) + binding.addend;
        std::memcpy(reinterpret_cast<void*>(placed(binding.place)), &target, sizeof target);
        symbols_[placed(binding.place)] = binding.addend == 0 ? binding.symbol : std::string();
    }
}

// Code may hold a pointer to where an array ends, which is the program's, too.
void Image::requireTarget(std::uint64_t linked, std::uint64_t place) const {
    const bool isInside = std::ranges::any_of(
        segments_, [&](const Segment& segment) { return segment.holds(linked, 0); });
    if (!isInside) {
        throw BadProgram("the pointer at " + hexadecimal(place) + " leads outside the program");
    }
}

std::string_view Image::symbolAt(const void* place) const {
    const auto found = symbols_.find(reinterpret_cast<std::uint64_t>(place));
    return found == symbols_.end() ? std::string_view() : found->second;
}

void Image::seal() {
    for (const Segment& segment : segments_) {
        space_.allow(placed(segment.address) - space_.address(), wholePages(segment.size),
                     protectionOf(segment));
    }
}

std::span<std::uint8_t> Image::section(std::string_view name) const {
    const auto found = std::ranges::find(sections_, name, &Section::name);
    if (found == sections_.end()) {
        return {};
    }
    if (std::ranges::count(sections_, name, &Section::name) > 1) {
        throw BadProgram("there are two sections " + std::string(name));
    }
    return {reinterpret_cast<std::uint8_t*>(placed(found->address)), found->size};
}

const Segment* Image::segmentOf(const void* place) const {
    const std::uint64_t linked = reinterpret_cast<std::uint64_t>(place) - slide_;
    const auto found = std::ranges::find_if(
        segments_, [&](const Segment& segment) { return segment.holds(linked, 1); });
    return found == segments_.end() ? nullptr : &*found;
}

bool Image::contains(const void* place, std::uint64_t count) const {
    const Segment* const segment = segmentOf(place);
    return segment != nullptr &&
           segment->holds(reinterpret_cast<std::uint64_t>(place) - slide_, count);
}

std::string Image::text(const char* place, std::string_view what) const {
    const Segment* const segment = segmentOf(place);
    if (segment == nullptr) {
        throw BadProgram(std::string(what) + " lies outside the program");
    }
    const std::uint64_t left =
        placed(segment->address) + segment->size - reinterpret_cast<std::uint64_t>(place);
    const std::size_t length = strnlen(place, left);
    if (length == left) {
        throw BadProgram(std::string(what) + " does not end");
    }
    return {place, length};
}

} // namespace mac_program
