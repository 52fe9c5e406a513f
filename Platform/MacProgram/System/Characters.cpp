#include "MacProgram/System/Characters.h"

#include <array>
#include <cctype>
#include <cstdint>
#include <utility>

namespace mac_program {
namespace {

/// As programs for a Mac have it compiled in.
struct CharacterTable {
    std::array<char, 8> magic = {'R', 'u', 'n', 'e', 'M', 'a', 'g', 'A'};
    std::array<char, 32> encoding = {};
    std::array<void*, 2> conversions = {};
    std::int32_t invalidCharacter = 0;
    std::array<std::uint32_t, 256> kinds = {};
    std::array<std::int32_t, 256> lower = {};
    std::array<std::int32_t, 256> upper = {};
    std::array<char, 512> beyond = {}; // ranges of other characters: none
};

constexpr std::pair<std::uint32_t, int (*)(int)> kinds[] = {
    {0x100, std::isalpha},   {0x200, std::iscntrl},  {0x400, std::isdigit},
    {0x800, std::isgraph},   {0x1000, std::islower}, {0x2000, std::ispunct},
    {0x4000, std::isspace},  {0x8000, std::isupper}, {0x10000, std::isxdigit},
    {0x20000, std::isblank}, {0x40000, std::isprint}};

std::uint32_t kindsOf(int character) {
    // A digit's value is in the lowest byte.
    std::uint32_t found =
        std::isdigit(character) != 0 ? static_cast<std::uint32_t>(character - '0') : 0;
    for (const auto& [kind, is] : kinds) {
        found |= is(character) != 0 ? kind : 0;
    }
    return found;
}

CharacterTable makeTable() {
    CharacterTable table;
    for (int character = 0; character < 128; ++character) {
        const auto index = static_cast<std::size_t>(character);
        table.kinds[index] = kindsOf(character);
        table.lower[index] = std::tolower(character);
        table.upper[index] = std::toupper(character);
    }
    return table;
}

} // namespace

const void* characterTable() {
    static const CharacterTable table = makeTable();
    return &table;
}

} // namespace mac_program
