#include "MacProgram/Tests/TinyUnwinding.h"

#include <cstring>

namespace mac_program {

// The header of seven numbers, personalities, two entries of the index, handlers, and one page.
void TinyUnwinding::addTo(TinyProgram& program) const {
    constexpr std::uint32_t headerSize = 28;
    const auto index = static_cast<std::uint32_t>(headerSize + 4 * personalities.size());
    const std::uint32_t list = index + 24;
    const auto page = static_cast<std::uint32_t>(list + 8 * handlers.size());
    std::vector<std::uint32_t> words = {
        1, headerSize, 0, headerSize, static_cast<std::uint32_t>(personalities.size()), index, 2};
    words.insert(words.end(), personalities.begin(), personalities.end());
    const std::uint32_t pages[] = {begin, page, list, end, lastPage, page - handlersCut};
    words.insert(words.end(), std::begin(pages), std::end(pages));
    for (const auto& [handled, table] : handlers) {
        words.push_back(handled);
        words.push_back(table);
    }
    // Of either kind: its entries begin after 12 bytes, and it has no encodings of its own.
    const std::uint32_t entries[] = {pageKind, 12 | 1 << 16, 0, begin, encoding};
    words.insert(words.end(), std::begin(entries), std::end(entries));
    ByteVector bytes(words.size() * sizeof(std::uint32_t));
    std::memcpy(bytes.data(), words.data(), bytes.size());
    program.code().sections.back().contents = bytes;
}

} // namespace mac_program
