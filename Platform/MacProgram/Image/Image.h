#pragma once

#include "MacProgram/File/BadProgram.h"
#include "MacProgram/File/ProgramFile.h"
#include "MacProgram/Image/AddressSpace.h"

#include <functional>
#include <map>
#include <span>
#include <string>
#include <string_view>

namespace mac_program {

/// What a pointer is bound to. Throws BadProgram for a symbol that is not known here.
using Resolver = std::function<void*(const std::string& library, const std::string& symbol)>;

/// The program in memory.
class Image {
public:
    /// Lays the segments out, moves the program's pointers into itself and binds all others. It can
    /// be written to until it is sealed. Throws BadProgram.
    Image(const ProgramFile& file, const Resolver& resolve);

    /// Gives each segment the protection that the file says. From now on it can be executed.
    void seal();

    /// Where an address as linked is in memory.
    [[nodiscard]] std::uint64_t placed(std::uint64_t linked) const { return linked + slide_; }
    /// Where the code's segment begins, from which the program's tables count.
    [[nodiscard]] std::uint64_t codeBegin() const { return placed(codeBegin_); }
    [[nodiscard]] std::uint64_t entry() const { return codeBegin() + entryOffset_; }

    /// A section's bytes; none when there is no such section. Throws BadProgram when there are two
    /// of that name.
    [[nodiscard]] std::span<std::uint8_t> section(std::string_view name) const;
    /// Its elements. Throws BadProgram unless there is a whole number of them.
    template <class Element>
    [[nodiscard]] std::span<Element> elements(std::string_view name) const {
        const std::span<std::uint8_t> bytes = section(name);
        if (bytes.size() % sizeof(Element) != 0) {
            throw BadProgram(std::string(name) + " ends in the middle of an element");
        }
        return {reinterpret_cast<Element*>(bytes.data()), bytes.size() / sizeof(Element)};
    }

    /// The symbol that the pointer there was bound to, empty when it was bound to none or to some
    /// bytes behind one.
    [[nodiscard]] std::string_view symbolAt(const void* place) const;

    /// Whether `count` bytes from `place` on are the program's.
    [[nodiscard]] bool contains(const void* place, std::uint64_t count = 1) const;
    /// The object that a pointer of the program leads to. Throws BadProgram when it leads
    /// elsewhere; `what` names it in the complaint.
    template <class Object>
    [[nodiscard]] const Object& object(const void* place, std::string_view what) const {
        return *array<Object>(place, 1, what).data();
    }
    template <class Object>
    [[nodiscard]] std::span<const Object> array(const void* place, std::uint64_t count,
                                                std::string_view what) const {
        if (count > UINT32_MAX || !contains(place, count * sizeof(Object))) {
            throw BadProgram(std::string(what) + " lies outside the program");
        }
        return {static_cast<const Object*>(place), count};
    }
    /// A text of the program, without its zero.
    [[nodiscard]] std::string text(const char* place, std::string_view what) const;

private:
    void layOut(const ProgramFile& file);
    void rebase(const ProgramFile& file);
    void bind(const ProgramFile& file, const Resolver& resolve);
    void requireTarget(std::uint64_t linked, std::uint64_t place) const;
    [[nodiscard]] const Segment* segmentOf(const void* place) const;

    std::vector<Segment> segments_;
    std::vector<Section> sections_;
    AddressSpace space_;
    std::uint64_t slide_;
    std::uint64_t codeBegin_;
    std::uint64_t entryOffset_;
    std::map<std::uint64_t, std::string> symbols_; // by their places in memory
};

} // namespace mac_program
