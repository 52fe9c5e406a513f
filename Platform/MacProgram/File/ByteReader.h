#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <span>
#include <string>
#include <string_view>

namespace mac_program {

using Bytes = std::span<const std::uint8_t>;

/// The part of `bytes` that a file says to be at `offset`. Throws BadProgram when it is not inside;
/// `what` names the part, in the plural.
Bytes partOf(Bytes bytes, std::uint64_t offset, std::uint64_t size, std::string_view what);

/// Reads a part of a file from its beginning. Throws BadProgram instead of going past the end.
class ByteReader {
public:
    /// `what` names the part in complaints, in the plural: "load commands". It must outlive the
    /// reader.
    ByteReader(Bytes bytes, std::string_view what) : bytes_(bytes), what_(what) {}

    /// The next value, as the processors that these programs are for store it: the least
    /// significant byte first.
    template <class Value>
    Value read() {
        Value value;
        std::memcpy(&value, next(sizeof value).data(), sizeof value);
        return value;
    }
    /// The next four bytes, the most significant one first.
    std::uint32_t readBigEndian();
    /// Numbers of variable length (LEB128) of at most 64 bits.
    std::uint64_t readUnsigned();
    std::int64_t readSigned();
    /// A text up to its zero.
    std::string readText();
    /// A name in a field of 16 bytes, filled up with zeros.
    std::string readName();

    void skip(std::size_t count) { next(count); }
    [[nodiscard]] bool isAtEnd() const { return position_ == bytes_.size(); }
    [[nodiscard]] std::size_t position() const { return position_; }
    /// The bytes from the present position on.
    [[nodiscard]] Bytes rest() const { return bytes_.subspan(position_); }

private:
    Bytes next(std::size_t count);
    template <class Fits>
    std::uint64_t readGroups(unsigned& bits, std::uint8_t& last, Fits fits);

    Bytes bytes_;
    std::string_view what_;
    std::size_t position_ = 0;
};

} // namespace mac_program
