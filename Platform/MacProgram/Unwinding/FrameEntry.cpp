#include "MacProgram/Unwinding/FrameEntry.h"

#include "MacProgram/Processor/Frames.h"

namespace mac_program {
namespace {

constexpr const char* frameEntries = "the entries of __eh_frame";

[[noreturn]] void refuseEntry() {
    throw BadProgram("an entry of __eh_frame is of a kind that is not known here");
}

void require(bool isKnown) {
    if (!isKnown) {
        refuseEntry();
    }
}

/// What several entries share, up to its instructions.
struct CommonEntry {
    std::uint64_t personality = 0;
    bool hasPersonality = false;
    Bytes instructions;
};

class EntryReader {
public:
    EntryReader(const Image& image, Bytes section) : image_(image), section_(section) {}

    [[nodiscard]] FrameEntry entryAt(std::uint32_t offset) const {
        const Bytes bytes = contentsAt(offset);
        ByteReader fields(bytes, frameEntries);
        // How far the shared part lies before this very number.
        const std::uint64_t place = offset + sizeof(std::uint32_t);
        const auto distance = fields.read<std::uint32_t>();
        require(distance != 0 && distance <= place);
        const CommonEntry common = commonAt(static_cast<std::uint32_t>(place - distance));
        FrameEntry entry;
        entry.begin = readPlace(fields);
        const auto length = fields.read<std::uint64_t>();
        require(length <= UINT64_MAX - entry.begin);
        entry.end = entry.begin + length;
        entry.personality = common.personality;
        entry.commonInstructions = common.instructions;
        const std::uint64_t size = fields.readUnsigned();
        require(size == (common.hasPersonality ? sizeof entry.handlers : 0));
        if (common.hasPersonality) {
            entry.handlers = readPlace(fields);
        }
        entry.instructions = fields.rest();
        return entry;
    }

private:
    [[nodiscard]] Bytes contentsAt(std::uint32_t offset) const {
        ByteReader start(partOf(section_, offset, sizeof(std::uint32_t), frameEntries),
                         frameEntries);
        const auto size = start.read<std::uint32_t>();
        return partOf(section_, offset + sizeof(std::uint32_t), size, frameEntries);
    }

    [[nodiscard]] CommonEntry commonAt(std::uint32_t offset) const {
        constexpr std::uint8_t distanceToPointer = 0x9B;
        constexpr std::uint8_t distance = 0x10;
        ByteReader fields(contentsAt(offset), frameEntries);
        require(fields.read<std::uint32_t>() == 0 && fields.read<std::uint8_t>() == 1);
        const std::string kinds = fields.readText();
        require(kinds == "zPLR" || kinds == "zR");
        require(fields.readUnsigned() == 1 && fields.readSigned() == -8 &&
                fields.readUnsigned() == returnAddress);
        CommonEntry common;
        common.hasPersonality = kinds == "zPLR";
        require(fields.readUnsigned() == (common.hasPersonality ? 7 : 1));
        if (common.hasPersonality) {
            require(fields.read<std::uint8_t>() == distanceToPointer);
            common.personality = readIndirect(fields);
            require(fields.read<std::uint8_t>() == distance);
        }
        require(fields.read<std::uint8_t>() == distance);
        common.instructions = fields.rest();
        return common;
    }

    [[nodiscard]] static std::uint64_t addressOf(const ByteReader& fields) {
        return reinterpret_cast<std::uint64_t>(fields.rest().data());
    }

    // The distance from the number itself; nothing stays nothing.
    [[nodiscard]] std::uint64_t readPlace(ByteReader& fields) const {
        const std::uint64_t here = addressOf(fields);
        const auto distance = fields.read<std::uint64_t>();
        if (distance == 0) {
            return 0;
        }
        if (!image_.contains(reinterpret_cast<const void*>(here + distance))) {
            throw BadProgram("an entry of __eh_frame leads outside the program");
        }
        return here + distance;
    }

    [[nodiscard]] static std::uint64_t readIndirect(ByteReader& fields) {
        const std::uint64_t here = addressOf(fields);
        const auto distance = static_cast<std::uint64_t>(fields.read<std::int32_t>());
        return here + distance;
    }

    const Image& image_;
    Bytes section_;
};

} // namespace

FrameEntry frameEntryAt(const Image& image, std::uint32_t offset) {
    return EntryReader(image, image.section("__eh_frame")).entryAt(offset);
}

} // namespace mac_program
