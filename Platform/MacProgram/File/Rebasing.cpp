#include "MacProgram/File/Rebasing.h"

#include "MacProgram/File/BadProgram.h"
#include "MacProgram/File/Hexadecimal.h"

namespace mac_program {
namespace {

enum class RebaseInstruction : std::uint8_t {
    done = 0x00,
    setType = 0x10,
    setPlace = 0x20,
    advance = 0x30,
    advancePointers = 0x40,
    rebaseFew = 0x50,
    rebaseMany = 0x60,
    rebaseAndAdvance = 0x70,
    rebaseManyApart = 0x80
};

/// Carries out the instructions, of which each has its kind in the upper half of a byte.
class Rebasing {
public:
    explicit Rebasing(const ProgramFile& program)
        : program_(program), reader_(program.rebasing, "rebase instructions") {}

    std::vector<std::uint64_t> run() {
        while (!reader_.isAtEnd() && !isDone_) {
            const auto byte = reader_.read<std::uint8_t>();
            carryOut(static_cast<RebaseInstruction>(byte & 0xF0), byte & 0x0F);
        }
        return std::move(places_);
    }

private:
    void carryOut(RebaseInstruction instruction, std::uint8_t operand) {
        switch (instruction) {
        case RebaseInstruction::done:
            isDone_ = true;
            return;
        case RebaseInstruction::setType:
            return requireType(operand);
        case RebaseInstruction::setPlace:
            place_ = segment(operand).address + reader_.readUnsigned();
            return;
        case RebaseInstruction::advance:
            place_ += reader_.readUnsigned();
            return;
        case RebaseInstruction::advancePointers:
            place_ += operand * pointerSize;
            return;
        case RebaseInstruction::rebaseFew:
            return rebase(operand, 0);
        case RebaseInstruction::rebaseMany:
            return rebase(reader_.readUnsigned(), 0);
        case RebaseInstruction::rebaseAndAdvance:
            return rebase(1, reader_.readUnsigned());
        case RebaseInstruction::rebaseManyApart: {
            const std::uint64_t count = reader_.readUnsigned();
            return rebase(count, reader_.readUnsigned());
        }
        }
        throw BadProgram("rebase instruction " +
                         hexadecimal(static_cast<std::uint8_t>(instruction)) +
                         " is not known here");
    }

    static void requireType(std::uint8_t type) {
        if (type != plainPointer) {
            throw BadProgram("something else than a pointer is to be rebased");
        }
    }

    const Segment& segment(std::uint8_t index) const {
        if (index >= program_.segments.size()) {
            throw BadProgram("rebase instructions name a segment that is not there");
        }
        return program_.segments[index];
    }

    void rebase(std::uint64_t count, std::uint64_t skipped) {
        for (; count > 0; --count) {
            program_.requirePointerAt(place_);
            if (places_.size() == program_.mostPointers()) {
                throw BadProgram("there are more pointers to rebase than fit");
            }
            places_.push_back(place_);
            place_ += pointerSize + skipped;
        }
    }

    const ProgramFile& program_;
    ByteReader reader_;
    std::uint64_t place_ = 0;
    bool isDone_ = false;
    std::vector<std::uint64_t> places_;
};

} // namespace

std::vector<std::uint64_t> rebasedPlaces(const ProgramFile& program) {
    return Rebasing(program).run();
}

} // namespace mac_program
