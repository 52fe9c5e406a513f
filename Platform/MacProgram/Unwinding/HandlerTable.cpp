#include "MacProgram/Unwinding/HandlerTable.h"

#include "MacProgram/Runtime/Refusal.h"

#include <cstddef>
#include <cstring>

namespace mac_program {
namespace {

constexpr std::uint8_t omitted = 0xFF;

/// Reads a table in memory, whose end only its contents tell.
class Cursor {
public:
    explicit Cursor(const std::uint8_t* place) : place_(place) {}

    template <class Value>
    Value read() {
        Value value;
        std::memcpy(&value, place_, sizeof value);
        place_ += sizeof value;
        return value;
    }

    std::uint64_t readUnsigned() {
        unsigned bits = 0;
        return readGroups(bits);
    }

    std::int64_t readSigned() {
        unsigned bits = 0;
        std::uint64_t value = readGroups(bits);
        if (bits < 64 && (place_[-1] & 0x40) != 0) {
            value |= ~std::uint64_t{0} << bits;
        }
        return static_cast<std::int64_t>(value);
    }

    // The lower half of an encoding tells the size; only offsets are read here.
    std::uint64_t readOffset(std::uint8_t encoding) {
        constexpr std::uint8_t variableLength = 0x01;
        constexpr std::uint8_t fourBytes = 0x03;
        switch (encoding) {
        case variableLength:
            return readUnsigned();
        case fourBytes:
            return read<std::uint32_t>();
        default:
            refuse("a table of handlers has an encoding that is not known here");
        }
    }

    [[nodiscard]] const std::uint8_t* place() const { return place_; }

private:
    std::uint64_t readGroups(unsigned& bits) {
        std::uint64_t value = 0;
        std::uint8_t last = 0;
        do {
            last = read<std::uint8_t>();
            value |= static_cast<std::uint64_t>(last & 0x7F) << bits;
            bits += 7;
        } while ((last & 0x80) != 0 && bits < 64);
        return value;
    }

    const std::uint8_t* place_;
};

} // namespace

HandlerTable::HandlerTable(const std::uint8_t* table, std::uint64_t function)
    : function_(function) {
    Cursor cursor(table);
    if (cursor.read<std::uint8_t>() != omitted) {
        refuse("a table of handlers has a beginning of its own, which is not known here");
    }
    typeEncoding_ = cursor.read<std::uint8_t>();
    if (typeEncoding_ != omitted) {
        const std::uint64_t distance = cursor.readUnsigned();
        types_ = cursor.place() + distance;
    }
    callEncoding_ = cursor.read<std::uint8_t>();
    const std::uint64_t callSize = cursor.readUnsigned();
    calls_ = cursor.place();
    actions_ = calls_ + callSize;
}

Landing HandlerTable::landingFor(std::uint64_t place, const Catches& catches) const {
    for (Cursor cursor(calls_); cursor.place() < actions_;) {
        const std::uint64_t begin = function_ + cursor.readOffset(callEncoding_);
        const std::uint64_t size = cursor.readOffset(callEncoding_);
        const std::uint64_t landing = cursor.readOffset(callEncoding_);
        const std::uint64_t action = cursor.readUnsigned();
        if (place < begin || place >= begin + size) {
            continue;
        }
        if (landing == 0) {
            return {};
        }
        return action == 0 ? Landing{function_ + landing, 0, false}
                           : actionsAt(actions_ + action - 1, function_ + landing, catches);
    }
    refuse("an exception leaves a call that must not throw");
}

// A chain: each action names a type, 0 for a clean-up, and how far away the next action is.
Landing HandlerTable::actionsAt(const std::uint8_t* action, std::uint64_t place,
                                const Catches& catches) const {
    Landing cleanUp;
    for (;;) {
        Cursor cursor(action);
        const std::int64_t number = cursor.readSigned();
        if (number < 0) {
            refuse("a table of handlers has a filter, which Objective-C does not know");
        }
        if (number == 0) {
            cleanUp = {place, 0, false};
        } else if (catches(typeAt(static_cast<std::uint64_t>(number)))) {
            return {place, number, true};
        }
        const std::uint8_t* const nextPlace = cursor.place();
        const std::int64_t next = cursor.readSigned();
        if (next == 0) {
            return cleanUp;
        }
        action = nextPlace + next;
    }
}

// Types are counted backwards from the table's end; each is the distance to a pointer to the type.
const void* HandlerTable::typeAt(std::uint64_t number) const {
    constexpr std::uint8_t distanceToPointer = 0x9B;
    if (typeEncoding_ != distanceToPointer) {
        refuse("a table of handlers has an encoding of types that is not known here");
    }
    const std::uint8_t* const entry = types_ - number * sizeof(std::int32_t);
    const auto distance = Cursor(entry).read<std::int32_t>();
    return distance == 0 ? nullptr : Cursor(entry + distance).read<const void*>();
}

} // namespace mac_program
