#include "MacProgram/File/Binding.h"

#include "MacProgram/File/BadProgram.h"
#include "MacProgram/File/Hexadecimal.h"

#include <utility>

namespace mac_program {
namespace {

enum class BindInstruction : std::uint8_t {
    done = 0x00,
    setSmallLibrary = 0x10,
    setLibrary = 0x20,
    setSymbol = 0x40,
    setType = 0x50,
    setAddend = 0x60,
    setPlace = 0x70,
    advance = 0x80,
    bind = 0x90,
    bindAndAdvance = 0xA0,
    bindAndAdvancePointers = 0xB0,
    bindManyApart = 0xC0
};

enum class Table {
    ordinary,
    lazy, ///< `done` only ends the part for one symbol
    weak  ///< its symbols are of no library
};

/// Carries out the instructions, of which each has its kind in the upper half of a byte.
class BindingRun {
public:
    BindingRun(const ProgramFile& program, Bytes instructions, Table table)
        : program_(program), reader_(instructions, "bind instructions"), table_(table) {}

    std::vector<Binding> run() {
        while (!reader_.isAtEnd() && !isDone_) {
            const auto byte = reader_.read<std::uint8_t>();
            carryOut(static_cast<BindInstruction>(byte & 0xF0), byte & 0x0F);
        }
        return std::move(bindings_);
    }

private:
    void carryOut(BindInstruction instruction, std::uint8_t operand) {
        switch (instruction) {
        case BindInstruction::done:
            isDone_ = table_ != Table::lazy;
            return;
        case BindInstruction::setSmallLibrary:
            return setLibrary(operand);
        case BindInstruction::setLibrary:
            return setLibrary(reader_.readUnsigned());
        case BindInstruction::setSymbol:
            return setSymbol(operand);
        case BindInstruction::setType:
            return requireType(operand);
        case BindInstruction::setAddend:
            next_.addend = reader_.readSigned();
            return;
        case BindInstruction::setPlace:
            next_.place = segment(operand).address + reader_.readUnsigned();
            return;
        case BindInstruction::advance:
            next_.place += reader_.readUnsigned();
            return;
        case BindInstruction::bind:
            return bind(0);
        case BindInstruction::bindAndAdvance:
            return bindAndAdvance();
        case BindInstruction::bindAndAdvancePointers:
            return bind(operand * pointerSize);
        case BindInstruction::bindManyApart:
            return bindManyApart();
        }
        throw BadProgram("bind instruction " + hexadecimal(static_cast<std::uint8_t>(instruction)) +
                         " is not known here");
    }

    void setLibrary(std::uint64_t ordinal) {
        if (ordinal == 0 || ordinal > program_.libraries.size()) {
            throw BadProgram("bind instructions name a library that is not there");
        }
        next_.library = program_.libraries[ordinal - 1];
    }

    // A symbol may be marked as one that is allowed to be missing. Here it is asked for all the
    // same.
    void setSymbol(std::uint8_t flags) {
        constexpr std::uint8_t mayBeMissing = 1;
        next_.symbol = reader_.readText();
        if (table_ == Table::weak) {
            throw BadProgram("any library may define " + next_.symbol + ", and none does");
        }
        if ((flags & ~mayBeMissing) != 0) {
            throw BadProgram("the flags of " + next_.symbol + " are not known here");
        }
    }

    static void requireType(std::uint8_t type) {
        if (type != plainPointer) {
            throw BadProgram("something else than a pointer is to be bound");
        }
    }

    const Segment& segment(std::uint8_t index) const {
        if (index >= program_.segments.size()) {
            throw BadProgram("bind instructions name a segment that is not there");
        }
        return program_.segments[index];
    }

    void bind(std::uint64_t skipped) {
        program_.requirePointerAt(next_.place);
        if (next_.symbol.empty() || next_.library.empty()) {
            throw BadProgram("bind instructions name no symbol");
        }
        if (bindings_.size() == program_.mostPointers()) {
            throw BadProgram("there are more pointers to bind than fit");
        }
        bindings_.push_back(next_);
        next_.place += pointerSize + skipped;
    }

    void bindAndAdvance() {
        bind(0);
        next_.place += reader_.readUnsigned();
    }

    void bindManyApart() {
        std::uint64_t count = reader_.readUnsigned();
        const std::uint64_t skipped = reader_.readUnsigned();
        for (; count > 0; --count) {
            bind(skipped);
        }
    }

    const ProgramFile& program_;
    ByteReader reader_;
    Table table_;
    bool isDone_ = false;
    Binding next_;
    std::vector<Binding> bindings_;
};

} // namespace

std::vector<Binding> bindings(const ProgramFile& program) {
    std::vector<Binding> all = BindingRun(program, program.binding, Table::ordinary).run();
    const std::vector<Binding> lazy = BindingRun(program, program.lazyBinding, Table::lazy).run();
    all.insert(all.end(), lazy.begin(), lazy.end());
    BindingRun(program, program.weakBinding, Table::weak).run();
    return all;
}

} // namespace mac_program
