#include "MacProgram/File/ByteReader.h"

#include "MacProgram/File/BadProgram.h"

#include <algorithm>
#include <bit>

namespace mac_program {

Bytes partOf(Bytes bytes, std::uint64_t offset, std::uint64_t size, std::string_view what) {
    if (offset > bytes.size() || size > bytes.size() - offset) {
        throw BadProgram(std::string(what) + " reach outside the file");
    }
    return bytes.subspan(offset, size);
}

Bytes ByteReader::next(std::size_t count) {
    if (count > bytes_.size() - position_) {
        throw BadProgram(std::string(what_) + " end too early");
    }
    position_ += count;
    return bytes_.subspan(position_ - count, count);
}

std::uint32_t ByteReader::readBigEndian() {
    return std::byteswap(read<std::uint32_t>());
}

// Seven bits in each byte, the lowest ones first; the highest bit says that there are more. Of the
// tenth byte one bit is left: the others only repeat it in a number with a sign.
template <class Fits>
std::uint64_t ByteReader::readGroups(unsigned& bits, std::uint8_t& last, Fits fits) {
    std::uint64_t value = 0;
    do {
        last = read<std::uint8_t>();
        if (bits >= 64 || (bits == 63 && !fits(last))) {
            throw BadProgram(std::string(what_) + " hold a number of more than 64 bits");
        }
        value |= static_cast<std::uint64_t>(last & 0x7F) << bits;
        bits += 7;
    } while ((last & 0x80) != 0);
    return value;
}

std::uint64_t ByteReader::readUnsigned() {
    unsigned bits = 0;
    std::uint8_t last = 0;
    return readGroups(bits, last, [](std::uint8_t tenth) { return tenth <= 1; });
}

std::int64_t ByteReader::readSigned() {
    unsigned bits = 0;
    std::uint8_t last = 0;
    std::uint64_t value =
        readGroups(bits, last, [](std::uint8_t tenth) { return tenth == 0 || tenth == 0x7F; });
    if (bits < 64 && (last & 0x40) != 0) {
        value |= ~std::uint64_t{0} << bits;
    }
    return static_cast<std::int64_t>(value);
}

std::string ByteReader::readText() {
    const Bytes left = rest();
    const auto end = std::ranges::find(left, std::uint8_t{0});
    std::string text(left.begin(), end);
    skip(text.size() + 1);
    return text;
}

std::string ByteReader::readName() {
    const Bytes field = next(16);
    return {field.begin(), std::ranges::find(field, std::uint8_t{0})};
}

} // namespace mac_program
