#include "MacProgram/Tests/TinyClass.h"

#include <array>
#include <cstring>
#include <map>

namespace mac_program {
namespace {

constexpr std::uint64_t codeAddress = 0x100000000;
constexpr std::uint64_t dataAddress = 0x100001000;

// From the beginning of the code and of the data.
constexpr std::uint64_t implementation = 0x800;
constexpr std::uint64_t className = 0xD00;
constexpr std::uint64_t methodName = 0xD20;
constexpr std::uint64_t methodType = 0xD30;
constexpr std::size_t classBegin = 0x40;
constexpr std::size_t metaclassBegin = 0x80;
constexpr std::size_t methodsBegin = 0xC0;
constexpr std::size_t descriptionBegin = 0x100;
constexpr std::size_t metaclassDescriptionBegin = 0x180;
constexpr std::size_t variablesBegin = 0x200;
constexpr std::size_t variableOffsetBegin = 0x230;
constexpr std::size_t dataSize = 0x240;

ByteVector zeroEnded(const std::string& text) {
    ByteVector bytes(text.begin(), text.end());
    bytes.push_back(0);
    return bytes;
}

template <class Value>
void write(ByteVector& bytes, std::size_t place, Value value) {
    std::memcpy(bytes.data() + place, &value, sizeof value);
}

using Pointers = std::map<std::size_t, std::uint64_t>;

// What stands where: a class is five words, the last one its description, whose name is its fourth
// word.
Pointers pointersOf(const TinyClass& tiny) {
    Pointers pointers = {{0x00, dataAddress + classBegin},
                         {classBegin, dataAddress + metaclassBegin},
                         {classBegin + 0x20, dataAddress + descriptionBegin},
                         {metaclassBegin + 0x20, dataAddress + metaclassDescriptionBegin},
                         {TinyClass::namePlace, codeAddress + className},
                         {descriptionBegin + 0x20, dataAddress + methodsBegin},
                         {descriptionBegin + 0x30, dataAddress + variablesBegin},
                         {TinyClass::variableOffsetPlace, dataAddress + variableOffsetBegin},
                         {variablesBegin + 0x10, codeAddress + methodName},
                         {variablesBegin + 0x18, codeAddress + methodType},
                         {metaclassDescriptionBegin + 0x18, codeAddress + className},
                         {methodsBegin + 0x08, codeAddress + methodName},
                         {methodsBegin + 0x10, codeAddress + methodType},
                         {TinyClass::implementationPlace, codeAddress + implementation}};
    if (tiny.protocols != 0) {
        pointers[TinyClass::protocolsPlace] = dataAddress + tiny.protocols;
    }
    if (tiny.inheritsItself) {
        pointers[TinyClass::superclassPlace] = dataAddress + classBegin;
    }
    return pointers;
}

// Instructions to move the pointers: each one's place in the third segment, one pointer.
ByteVector rebasingOf(const Pointers& pointers, const std::set<std::size_t>& unmoved) {
    ByteVector instructions = {0x11};
    for (const auto& [place, target] : pointers) {
        if (!unmoved.contains(place)) {
            instructions.push_back(0x22);
            instructions.push_back(static_cast<std::uint8_t>((place & 0x7F) | 0x80));
            instructions.push_back(static_cast<std::uint8_t>(place >> 7));
            instructions.push_back(0x51);
        }
    }
    return instructions;
}

} // namespace

void TinyClass::addTo(TinyProgram& program) const {
    ByteVector data(dataSize);
    const Pointers pointers = pointersOf(*this);
    for (const auto& [place, target] : pointers) {
        write(data, place, target);
    }
    write(data, descriptionBegin, std::array{flags, instanceBegin, instanceSize});
    write(data, metaclassDescriptionBegin,
          std::array{metaclassFlags, metaclassSize, metaclassSize});
    write(data, methodsBegin, std::array{methodSize, methodCount});
    write(data, variablesBegin, std::array{std::uint32_t{32}, std::uint32_t{1}});
    write(data, variablesBegin + 0x20, std::array{variableAlignment, std::uint32_t{4}});
    write(data, variableOffsetBegin, variableOffset);
    program.data().sections = {
        {"__objc_classlist", 0, 0, {data.begin(), data.begin() + 8}},
        {"__objc_data", 0, classBegin, {data.begin() + classBegin, data.end()}}};
    program.code().sections.push_back({"__objc_classname", 0, className, zeroEnded(name)});
    program.code().sections.push_back({"__objc_methname", 0, methodName, zeroEnded("answer")});
    program.code().sections.push_back({"__objc_methtype", 0, methodType, zeroEnded("i16@0:8")});
    program.rebasing = rebasingOf(pointers, unmoved);
    if (!inheritsItself && !inheritsNothing) {
        program.libraries = {"/usr/lib/libobjc.A.dylib"};
        program.binding = bindingOf(superclass, 1, superclassPlace);
    }
}

} // namespace mac_program
