#include "MacProgram/Unwinding/FrameWalk.h"

#include "MacProgram/File/BadProgram.h"
#include "MacProgram/File/Hexadecimal.h"
#include "MacProgram/Processor/Frames.h"

namespace mac_program {
namespace {

// What the compiler writes. Those in the upper two bits have an operand in the lower six.
enum class FrameInstruction : std::uint8_t {
    nothing = 0x00,
    advanceByByte = 0x02,
    advanceByTwoBytes = 0x03,
    advanceByFourBytes = 0x04,
    anySavedAt = 0x05,
    anyRestored = 0x06,
    same = 0x08,
    remember = 0x0A,
    recall = 0x0B,
    define = 0x0C,
    defineRegister = 0x0D,
    defineOffset = 0x0E,
    advance = 0x40,
    savedAt = 0x80,
    restored = 0xC0
};

void requireRegister(std::uint64_t number) {
    if (!isRegister(number)) {
        throw BadProgram("an entry of __eh_frame names a register that is not there");
    }
}

} // namespace

void FrameWalk::follow(Bytes instructions) {
    for (ByteReader reader(instructions, "the instructions of __eh_frame"); !reader.isAtEnd();) {
        followOne(reader);
    }
    requireDefined();
}

void FrameWalk::followOne(ByteReader& reader) {
    const auto byte = reader.read<std::uint8_t>();
    const std::uint8_t operand = byte & 0x3F;
    switch (static_cast<FrameInstruction>(byte & 0xC0)) {
    case FrameInstruction::advance:
        return;
    case FrameInstruction::savedAt:
        requireRegister(operand);
        reader.readUnsigned();
        return;
    case FrameInstruction::restored:
        return requireRegister(operand);
    default:
        return followNamed(byte, reader);
    }
}

void FrameWalk::followNamed(std::uint8_t instruction, ByteReader& reader) {
    switch (static_cast<FrameInstruction>(instruction)) {
    case FrameInstruction::nothing:
        return;
    case FrameInstruction::advanceByByte:
        return reader.skip(1);
    case FrameInstruction::advanceByTwoBytes:
        return reader.skip(2);
    case FrameInstruction::advanceByFourBytes:
        return reader.skip(4);
    case FrameInstruction::anySavedAt:
        requireRegister(reader.readUnsigned());
        reader.readUnsigned();
        return;
    case FrameInstruction::anyRestored:
    case FrameInstruction::same:
        return requireRegister(reader.readUnsigned());
    case FrameInstruction::remember:
        ++remembered_;
        return;
    case FrameInstruction::recall:
        if (remembered_-- == 0) {
            throw BadProgram("an entry of __eh_frame recalls what it has not remembered");
        }
        return;
    case FrameInstruction::define:
        requireRegister(reader.readUnsigned());
        reader.readUnsigned();
        isDefined_ = true;
        return;
    case FrameInstruction::defineRegister:
        requireDefined();
        return requireRegister(reader.readUnsigned());
    case FrameInstruction::defineOffset:
        requireDefined();
        reader.readUnsigned();
        return;
    default:
        throw BadProgram("instruction " + hexadecimal(instruction) +
                         " of __eh_frame is not known here");
    }
}

void FrameWalk::requireDefined() const {
    if (!isDefined_) {
        throw BadProgram("an entry of __eh_frame does not define where its frame ends");
    }
}

} // namespace mac_program
