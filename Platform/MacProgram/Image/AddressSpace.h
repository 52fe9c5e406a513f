#pragma once

#include <cstddef>
#include <cstdint>

namespace mac_program {

/// Owns a range of this process's address space. Nothing in it can be used until it is allowed.
class AddressSpace {
public:
    /// Throws BadProgram when there is no such range.
    explicit AddressSpace(std::size_t size);
    AddressSpace(const AddressSpace&) = delete;
    AddressSpace& operator=(const AddressSpace&) = delete;
    ~AddressSpace();

    [[nodiscard]] std::uint8_t* begin() const { return begin_; }
    [[nodiscard]] std::uint64_t address() const { return reinterpret_cast<std::uint64_t>(begin_); }
    [[nodiscard]] std::size_t size() const { return size_; }

    /// Allows what `protection` says, as for mprotect, of whole pages. What has never been written
    /// to is zero. Throws BadProgram for pages outside the range.
    void allow(std::size_t offset, std::size_t size, int protection);

private:
    std::uint8_t* begin_;
    std::size_t size_;
};

} // namespace mac_program
