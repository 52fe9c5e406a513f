#include "MacProgram/Unwinding/CompactUnwinding.h"

#include "MacProgram/Processor/Frames.h"
#include "MacProgram/Unwinding/FrameEntry.h"

#include <algorithm>
#include <map>
#include <string_view>

namespace mac_program {
namespace {

constexpr const char* unwindEntries = "the entries of __unwind_info";

/// Offsets in the table count from its beginning, those of functions from the code's beginning.
class UnwindTable {
public:
    UnwindTable(const Image& image, Bytes bytes)
        : image_(image)
        , bytes_(bytes)
        , code_(image.section("__text"))
        , handlerTables_(image.section("__gcc_except_tab")) {
        ByteReader header(bytes_, unwindEntries);
        if (header.read<std::uint32_t>() != 1) {
            throw BadProgram("the version of __unwind_info is not known here");
        }
        const auto encodings = header.read<std::uint32_t>();
        encodings_ = numbersAt(encodings, header.read<std::uint32_t>());
        const auto personalities = header.read<std::uint32_t>();
        personalities_ = numbersAt(personalities, header.read<std::uint32_t>());
        const auto index = header.read<std::uint32_t>();
        readIndex(at(index), header.read<std::uint32_t>());
    }

    std::vector<FunctionFrame> frames() {
        for (std::size_t i = 0; i + 1 < functions_.size(); ++i) {
            const std::uint64_t begin = image_.codeBegin() + functions_[i].offset;
            const std::uint64_t end = image_.codeBegin() + functions_[i + 1].offset;
            if (end <= begin) {
                throw BadProgram("the functions of __unwind_info are out of order");
            }
            if (!isInside(code_, begin, end - begin)) {
                throw BadProgram("a function of __unwind_info lies outside the code");
            }
            frames_.push_back(frameOf(functions_[i], begin, end));
            requireHandlers(functions_[i], frames_.back());
        }
        if (!handlers_.empty()) {
            throw BadProgram("__unwind_info has a table of handlers that no function has");
        }
        return std::move(frames_);
    }

private:
    struct Function {
        std::uint32_t offset;
        std::uint32_t encoding;
    };

    static bool isInside(Bytes section, std::uint64_t place, std::uint64_t count) {
        const std::uint64_t offset = place - reinterpret_cast<std::uint64_t>(section.data());
        return offset <= section.size() && count <= section.size() - offset;
    }

    [[nodiscard]] ByteReader at(std::uint32_t offset) const {
        return {partOf(bytes_, offset, bytes_.size() - std::min<std::size_t>(offset, bytes_.size()),
                       unwindEntries),
                unwindEntries};
    }

    [[nodiscard]] std::vector<std::uint32_t> numbersAt(std::uint32_t offset,
                                                       std::uint32_t count) const {
        ByteReader reader = at(offset);
        std::vector<std::uint32_t> numbers;
        for (; count > 0; --count) {
            numbers.push_back(reader.read<std::uint32_t>());
        }
        return numbers;
    }

    // The last entry is only the end of the functions and of the handlers before it.
    void readIndex(ByteReader index, std::uint32_t count) {
        std::uint32_t handlersBegin = 0;
        for (std::uint32_t i = 0; i < count; ++i) {
            const auto offset = index.read<std::uint32_t>();
            const auto page = index.read<std::uint32_t>();
            const auto handlers = index.read<std::uint32_t>();
            if (i > 0) {
                readHandlers(handlersBegin, handlers);
            }
            handlersBegin = handlers;
            if ((page == 0) != (i + 1 == count)) {
                throw BadProgram("the pages of __unwind_info do not end as they should");
            }
            page == 0 ? functions_.push_back({offset, 0}) : readPage(offset, page);
        }
    }

    void readHandlers(std::uint32_t begin, std::uint32_t end) {
        if (end < begin || (end - begin) % 8 != 0) {
            throw BadProgram("the tables of handlers of __unwind_info are out of order");
        }
        ByteReader reader = at(begin);
        for (; begin < end; begin += 8) {
            const auto function = reader.read<std::uint32_t>();
            if (!handlers_.try_emplace(function, reader.read<std::uint32_t>()).second) {
                throw BadProgram("a function of __unwind_info has two tables of handlers");
            }
        }
    }

    void readPage(std::uint32_t firstFunction, std::uint32_t offset) {
        constexpr std::uint32_t regular = 2;
        constexpr std::uint32_t compressed = 3;
        ByteReader page = at(offset);
        switch (page.read<std::uint32_t>()) {
        case regular:
            return readRegularPage(offset, page);
        case compressed:
            return readCompressedPage(firstFunction, offset, page);
        default:
            throw BadProgram("a page of __unwind_info is of a kind that is not known here");
        }
    }

    void readRegularPage(std::uint32_t offset, ByteReader page) {
        const auto entries = page.read<std::uint16_t>();
        const auto count = page.read<std::uint16_t>();
        ByteReader entry = at(offset + entries);
        for (std::uint32_t i = 0; i < count; ++i) {
            const auto function = entry.read<std::uint32_t>();
            functions_.push_back({function, entry.read<std::uint32_t>()});
        }
    }

    // Of three bytes for the function and one for the encoding: one of all pages, or of this one.
    void readCompressedPage(std::uint32_t firstFunction, std::uint32_t offset, ByteReader page) {
        const auto entries = page.read<std::uint16_t>();
        const auto count = page.read<std::uint16_t>();
        const auto own = page.read<std::uint16_t>();
        const auto encodings = numbersAt(offset + own, page.read<std::uint16_t>());
        for (const std::uint32_t entry : numbersAt(offset + entries, count)) {
            functions_.push_back(
                {firstFunction + (entry & 0xFFFFFF), encodingOf(entry >> 24, encodings)});
        }
    }

    [[nodiscard]] std::uint32_t encodingOf(std::uint32_t number,
                                           const std::vector<std::uint32_t>& own) const {
        if (number < encodings_.size()) {
            return encodings_[number];
        }
        number -= static_cast<std::uint32_t>(encodings_.size());
        if (number >= own.size()) {
            throw BadProgram("__unwind_info names an encoding that is not there");
        }
        return own[number];
    }

    [[nodiscard]] FunctionFrame frameOf(const Function& function, std::uint64_t begin,
                                        std::uint64_t end) const {
        const std::uint32_t encoding = function.encoding & 0x0FFFFFFF;
        if (const auto entry = entryInstead(encoding)) {
            return frameOf(frameEntryAt(image_, *entry), begin, end);
        }
        constexpr std::uint32_t hasHandlers = 0x40000000;
        constexpr std::uint32_t isNoBeginning = 0x80000000;
        if ((function.encoding & isNoBeginning) != 0) {
            throw BadProgram("a function of __unwind_info does not begin where it begins");
        }
        FunctionFrame frame = {begin, end, mac_program::frameOf(encoding), 0, 0};
        frame.personality = personalityOf(function.encoding >> 28 & 3);
        if ((function.encoding & hasHandlers) != 0) {
            frame.handlers = handlersOf(function);
        }
        return frame;
    }

    // What is behind the function up to the next one belongs to none.
    [[nodiscard]] FunctionFrame frameOf(const FrameEntry& entry, std::uint64_t begin,
                                        std::uint64_t end) const {
        if (entry.begin != begin || entry.end <= begin || entry.end > end) {
            throw BadProgram("__unwind_info leads to another function's entry of __eh_frame");
        }
        FunctionFrame frame = {begin, entry.end, {}, 0, entry.handlers};
        if (entry.personality != 0) {
            frame.personality = personalityAt(entry.personality);
        }
        frame.instructions.append(entry.commonInstructions);
        frame.instructions.append(entry.instructions);
        return frame;
    }

    [[nodiscard]] std::uint64_t personalityOf(std::uint32_t number) const {
        if (number == 0) {
            return 0;
        }
        if (number > personalities_.size()) {
            throw BadProgram("__unwind_info names a personality that is not there");
        }
        return personalityAt(image_.codeBegin() + personalities_[number - 1]);
    }

    // Either the program's own, which is one of its functions, or the one for Objective-C.
    [[nodiscard]] std::uint64_t personalityAt(std::uint64_t place) const {
        const auto& personality = image_.object<std::uint64_t>(reinterpret_cast<const void*>(place),
                                                               "a personality of a function");
        const std::string_view symbol = image_.symbolAt(&personality);
        const auto isBegin = [&](const Function& function) {
            return image_.codeBegin() + function.offset == personality;
        };
        if (symbol != "___objc_personality_v0" &&
            !(symbol.empty() && std::ranges::any_of(functions_, isBegin))) {
            throw BadProgram("a personality of a function is none that is known here");
        }
        return personality;
    }

    [[nodiscard]] std::uint64_t handlersOf(const Function& function) const {
        const auto found = handlers_.find(function.offset);
        if (found == handlers_.end()) {
            throw BadProgram("__unwind_info lacks a function's table of handlers");
        }
        return image_.codeBegin() + found->second;
    }

    // A table is of use only to a personality, and what the table of functions tells of it may not
    // differ from what the function's frame tells.
    void requireHandlers(const Function& function, const FunctionFrame& frame) {
        if ((frame.handlers != 0) != (frame.personality != 0)) {
            throw BadProgram("a function has a personality or handlers, but not both");
        }
        if (frame.handlers != 0 && !isInside(handlerTables_, frame.handlers, 1)) {
            throw BadProgram("a table of handlers lies outside __gcc_except_tab");
        }
        const auto told = handlers_.find(function.offset);
        if (told == handlers_.end()) {
            return;
        }
        if (image_.codeBegin() + told->second != frame.handlers) {
            throw BadProgram("__unwind_info has a table of handlers that no function has");
        }
        handlers_.erase(told);
    }

    const Image& image_;
    Bytes bytes_;
    Bytes code_;
    Bytes handlerTables_;
    std::vector<std::uint32_t> encodings_;
    std::vector<std::uint32_t> personalities_;
    std::vector<Function> functions_;
    std::map<std::uint32_t, std::uint32_t> handlers_;
    std::vector<FunctionFrame> frames_;
};

} // namespace

std::vector<FunctionFrame> functionFrames(const Image& image) {
    const auto bytes = image.section("__unwind_info");
    if (bytes.empty()) {
        throw BadProgram("there is no __unwind_info");
    }
    return UnwindTable(image, bytes).frames();
}

} // namespace mac_program
