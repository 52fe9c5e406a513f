#include "MacProgram/Unwinding/HandlerTable.h"

#include "MacProgram/File/BadProgram.h"

#include <algorithm>

namespace mac_program {
namespace {

constexpr const char* handlerTables = "tables of handlers";
constexpr std::uint8_t omitted = 0xFF;

// The lower half of an encoding tells the size; only offsets are read here.
std::uint64_t readOffset(ByteReader& reader, std::uint8_t encoding) {
    constexpr std::uint8_t variableLength = 0x01;
    constexpr std::uint8_t fourBytes = 0x03;
    switch (encoding) {
    case variableLength:
        return reader.readUnsigned();
    case fourBytes:
        return reader.read<std::uint32_t>();
    default:
        throw BadProgram("a table of handlers has an encoding that is not known here");
    }
}

} // namespace

HandlerTable::HandlerTable(Bytes tables, std::uint64_t place, FunctionRange function)
    : tables_(tables), function_(function) {
    const std::uint64_t offset = place - reinterpret_cast<std::uint64_t>(tables.data());
    ByteReader reader = at(offset);
    if (reader.read<std::uint8_t>() != omitted) {
        throw BadProgram("a table of handlers has a beginning of its own, which is not known here");
    }
    typeEncoding_ = reader.read<std::uint8_t>();
    if (typeEncoding_ != omitted) {
        const std::uint64_t distance = reader.readUnsigned();
        types_ = offset + reader.position() + distance;
        (void)partOf(reader.rest(), 0, distance, handlerTables);
    }
    callEncoding_ = reader.read<std::uint8_t>();
    const std::uint64_t callSize = reader.readUnsigned();
    calls_ = partOf(reader.rest(), 0, callSize, handlerTables);
    actions_ = offset + reader.position() + callSize;
}

Landing HandlerTable::landingFor(std::uint64_t place, const Catches& catches) const {
    for (ByteReader calls(calls_, handlerTables); !calls.isAtEnd();) {
        const std::uint64_t offset = readOffset(calls, callEncoding_);
        const std::uint64_t size = readOffset(calls, callEncoding_);
        const std::uint64_t landing = readOffset(calls, callEncoding_);
        const std::uint64_t action = calls.readUnsigned();
        const std::uint64_t begin = requireInFunction(offset, size);
        const std::uint64_t landingPlace = requireInFunction(landing, 1);
        if (place < begin || place - begin >= size) {
            continue;
        }
        if (landing == 0) {
            return {};
        }
        return action == 0 ? Landing{landingPlace, 0, false}
                           : actionsAt(action - 1, landingPlace, catches);
    }
    throw BadProgram("an exception leaves a call that must not throw");
}

ByteReader HandlerTable::at(std::uint64_t offset) const {
    const std::uint64_t begin = std::min<std::uint64_t>(offset, tables_.size());
    return {partOf(tables_, offset, tables_.size() - begin, handlerTables), handlerTables};
}

std::uint64_t HandlerTable::requireInFunction(std::uint64_t offset, std::uint64_t size) const {
    const std::uint64_t length = function_.end - function_.begin;
    if (offset > length || size > length - offset) {
        throw BadProgram("a table of handlers leads outside its function");
    }
    return function_.begin + offset;
}

// A chain: each action names a type, 0 for a clean-up, and how far away the next action is. No
// chain is longer than the bytes that it could lie in.
Landing HandlerTable::actionsAt(std::uint64_t action, std::uint64_t place,
                                const Catches& catches) const {
    Landing cleanUp;
    std::uint64_t offset = actions_ + std::min<std::uint64_t>(action, tables_.size());
    for (std::size_t count = 0; count < tables_.size(); ++count) {
        ByteReader reader = at(offset);
        const std::int64_t number = reader.readSigned();
        if (number < 0) {
            throw BadProgram("a table of handlers has a filter, which Objective-C does not know");
        }
        if (number == 0) {
            cleanUp = {place, 0, false};
        } else if (catches(typeAt(static_cast<std::uint64_t>(number)))) {
            return {place, number, true};
        }
        const std::uint64_t nextPlace = offset + reader.position();
        const auto next = static_cast<std::uint64_t>(reader.readSigned());
        if (next == 0) {
            return cleanUp;
        }
        offset = nextPlace + next;
    }
    throw BadProgram("the actions of a table of handlers lead to themselves");
}

// Types are counted backwards from the table's end; each is the distance to a pointer to the type.
const void* HandlerTable::typeAt(std::uint64_t number) const {
    constexpr std::uint8_t distanceToPointer = 0x9B;
    if (typeEncoding_ != distanceToPointer) {
        throw BadProgram("a table of handlers has an encoding of types that is not known here");
    }
    if (number > types_ / sizeof(std::int32_t)) {
        throw BadProgram("a table of handlers names a type that is not there");
    }
    ByteReader entry = at(types_ - number * sizeof(std::int32_t));
    const std::uint8_t* const here = entry.rest().data();
    const auto distance = entry.read<std::int32_t>();
    return distance == 0 ? nullptr
                         : reinterpret_cast<const void*>(reinterpret_cast<std::uint64_t>(here) +
                                                         static_cast<std::uint64_t>(distance));
}

} // namespace mac_program
