#include "MacProgram/Tests/TinyProgram.h"

#include <algorithm>
#include <bit>
#include <cstring>

namespace mac_program {
namespace {

constexpr std::uint32_t codeBegin = 0x800;
constexpr std::uint64_t firstAddress = 0x100000000;

class ByteWriter {
public:
    template <class Value>
    void put(Value value) {
        bytes_.resize(bytes_.size() + sizeof value);
        std::memcpy(bytes_.data() + bytes_.size() - sizeof value, &value, sizeof value);
    }
    void putBigEndian(std::uint32_t value) { put(std::byteswap(value)); }
    void putName(const std::string& name) {
        ByteVector field(16);
        std::copy_n(name.begin(), std::min<std::size_t>(name.size(), 16), field.begin());
        append(field);
    }
    void append(const ByteVector& more) { bytes_.insert(bytes_.end(), more.begin(), more.end()); }

    ByteVector bytes() && { return std::move(bytes_); }

private:
    ByteVector bytes_;
};

// A text at the command's end, filled up to whole words.
ByteVector named(const std::string& name, std::size_t fieldCount) {
    ByteWriter writer;
    writer.put(static_cast<std::uint32_t>(8 + 4 * fieldCount));
    for (std::size_t i = 1; i < fieldCount; ++i) {
        writer.put<std::uint32_t>(0);
    }
    ByteVector text(name.begin(), name.end());
    text.resize((name.size() + 1 + 4 * fieldCount + 7) / 8 * 8 - 4 * fieldCount);
    writer.append(text);
    return std::move(writer).bytes();
}

ByteVector contentsOf(const TinySegment& segment) {
    ByteWriter writer;
    writer.putName(segment.name);
    writer.put(segment.address);
    writer.put(segment.size);
    writer.put(segment.fileOffset);
    writer.put(segment.fileSize);
    writer.put(segment.protection);
    writer.put(segment.protection);
    writer.put(static_cast<std::uint32_t>(segment.sections.size()));
    writer.put(segment.flags);
    for (const TinySection& section : segment.sections) {
        writer.putName(section.name);
        writer.putName(segment.name);
        writer.put(segment.address + section.offset);
        writer.put<std::uint64_t>(section.contents.size());
        writer.put(static_cast<std::uint32_t>(segment.fileOffset + section.offset));
        for (const std::uint32_t field : {0U, 0U, section.relocations, section.kind}) {
            writer.put(field);
        }
        for (int i = 0; i < 3; ++i) {
            writer.put<std::uint32_t>(0);
        }
    }
    return std::move(writer).bytes();
}

template <class Value>
ByteVector contentsOf(std::initializer_list<Value> values) {
    ByteWriter writer;
    for (const Value value : values) {
        writer.put(value);
    }
    return std::move(writer).bytes();
}

std::uint32_t sizeOf(const ByteVector& bytes) {
    return static_cast<std::uint32_t>(bytes.size());
}

ByteVector bindingInformation(const TinyProgram& program) {
    ByteWriter writer;
    auto offset = static_cast<std::uint32_t>(program.segments[3].fileOffset);
    for (const ByteVector* const table :
         {&program.rebasing, &program.binding, &program.weakBinding, &program.lazyBinding}) {
        writer.put(offset);
        writer.put(sizeOf(*table));
        offset += sizeOf(*table);
    }
    writer.put<std::uint64_t>(0); // nothing is exported
    return std::move(writer).bytes();
}

std::vector<TinyCommand> commandsOf(const TinyProgram& program) {
    std::vector<TinyCommand> commands;
    for (const TinySegment& segment : program.segments) {
        commands.push_back({0x19, contentsOf(segment)});
    }
    commands.push_back({0x80000022, bindingInformation(program)});
    commands.push_back({0xE, named(program.loader, 1)});
    commands.push_back({0x80000028, contentsOf({program.entryOffset, std::uint64_t{0}})});
    commands.push_back({0x32, contentsOf<std::uint32_t>({program.platform, 0xD0000, 0xD0000, 0})});
    for (const std::string& library : program.libraries) {
        commands.push_back({0xC, named(library, 4)});
    }
    std::erase_if(commands, [&](const TinyCommand& command) {
        return program.leftOut.contains(command.kind);
    });
    commands.insert(commands.end(), program.more.begin(), program.more.end());
    return commands;
}

ByteVector headerOf(const TinyProgram& program) {
    ByteWriter written;
    const std::vector<TinyCommand> commands = commandsOf(program);
    for (const TinyCommand& command : commands) {
        written.put(command.kind);
        written.put(8 + sizeOf(command.contents));
        written.append(command.contents);
    }
    const ByteVector all = std::move(written).bytes();
    ByteWriter header;
    for (const std::uint32_t field :
         {program.magic, program.processor, program.model, program.fileKind,
          static_cast<std::uint32_t>(commands.size()), sizeOf(all), program.flags, 0U}) {
        header.put(field);
    }
    header.append(all);
    return std::move(header).bytes();
}

void place(ByteVector& file, std::uint64_t offset, const ByteVector& contents) {
    file.resize(std::max<std::size_t>(file.size(), offset + contents.size()));
    std::ranges::copy(contents, file.begin() + static_cast<std::ptrdiff_t>(offset));
}

// Nothing to unwind: version 1, three empty tables behind the header.
ByteVector emptyUnwindTable() {
    return contentsOf<std::uint32_t>({1, 28, 0, 28, 0, 28, 0});
}

} // namespace

// movl $42, %eax; ret
TinyProgram::TinyProgram() {
    const ByteVector answer = {0xB8, 42, 0, 0, 0, 0xC3};
    segments = {
        {"__PAGEZERO", 0, firstAddress, 0, 0, 0, 0, {}},
        {"__TEXT",
         firstAddress,
         0x1000,
         0,
         0x1000,
         5,
         0,
         {{"__text", 0, codeBegin, answer}, {"__unwind_info", 0, 0xC00, emptyUnwindTable()}}},
        {"__DATA", firstAddress + 0x1000, 0x1000, 0x1000, 0x1000, 3, 0, {}},
        {"__LINKEDIT", firstAddress + 0x2000, 0x1000, 0x2000, 0x400, 1, 0, {}}};
}

ByteVector TinyProgram::file() const {
    ByteVector bytes(0x2400);
    place(bytes, 0, headerOf(*this));
    for (const TinySegment& segment : segments) {
        for (const TinySection& section : segment.sections) {
            place(bytes, segment.fileOffset + section.offset, section.contents);
        }
    }
    std::uint64_t offset = segments[3].fileOffset;
    for (const ByteVector* const table : {&rebasing, &binding, &weakBinding, &lazyBinding}) {
        place(bytes, offset, *table);
        offset += table->size();
    }
    return bytes;
}

ByteVector universalFile(const ByteVector& slice, std::uint32_t processor, std::uint32_t offset,
                         std::uint32_t size, std::uint32_t alignment) {
    ByteWriter writer;
    for (const std::uint32_t field : {0xCAFEBABEU, 1U, processor, 3U, offset, size, alignment}) {
        writer.putBigEndian(field);
    }
    ByteVector file = std::move(writer).bytes();
    place(file, 0x1000, slice);
    return file;
}

ByteVector bindingOf(const std::string& symbol, std::uint8_t library, std::size_t place) {
    ByteVector instructions = {static_cast<std::uint8_t>(0x10 | library), 0x40};
    instructions.insert(instructions.end(), symbol.begin(), symbol.end());
    // The text's end, a pointer, in the third segment, bind, done.
    const ByteVector rest = {0x00, 0x51, 0x72, static_cast<std::uint8_t>(place), 0x90, 0x00};
    instructions.insert(instructions.end(), rest.begin(), rest.end());
    return instructions;
}

} // namespace mac_program
