#include "MacProgram/Unwinding/CallFrames.h"

#include "MacProgram/Processor/Frames.h"

#include <cstring>
#include <string_view>

extern "C" {

// Of the unwinder; it keeps the pointer.
void __register_frame(void* entries);
void __deregister_frame(void* entries);

} // extern "C"

namespace mac_program {
namespace {

constexpr std::uint8_t wordSize = 8;
constexpr std::uint8_t negativeWordSize = 0x78; // -8 as LEB128

} // namespace

CallFrames::CallFrames(const std::vector<FunctionFrame>& frames) {
    for (const FunctionFrame& frame : frames) {
        add(frame);
    }
    put<std::uint32_t>(0);
}

CallFrames::~CallFrames() {
    if (isAnnounced_) {
        __deregister_frame(bytes_.data());
    }
}

void CallFrames::announce() {
    __register_frame(bytes_.data());
    isAnnounced_ = true;
}

void CallFrames::add(const FunctionFrame& frame) {
    const std::size_t common = commonPart(frame.personality);
    const std::size_t begin = beginEntry();
    put(static_cast<std::uint32_t>(bytes_.size() - common));
    put(frame.begin);
    put(frame.end - frame.begin);
    put<std::uint8_t>(frame.personality != 0 ? sizeof frame.handlers : 0);
    if (frame.personality != 0) {
        put(frame.handlers);
    }
    put(frame.instructions);
    endEntry(begin);
}

// What all functions with the same personality share.
std::size_t CallFrames::commonPart(std::uint64_t personality) {
    const auto [known, isNew] = commonParts_.try_emplace(personality, bytes_.size());
    if (!isNew) {
        return known->second;
    }
    const bool hasPersonality = personality != 0;
    const std::size_t begin = beginEntry();
    put<std::uint32_t>(0);
    put<std::uint8_t>(1); // version
    for (const char each : std::string_view(hasPersonality ? "zPLR" : "zR")) {
        put(each);
    }
    put<std::uint8_t>(0);
    put<std::uint8_t>(1); // instructions begin at any byte
    put(negativeWordSize);
    put(returnAddress);
    // Three encodings, all of them absolute addresses, and the personality itself.
    put<std::uint8_t>(hasPersonality ? 3 + wordSize : 1);
    if (hasPersonality) {
        put<std::uint8_t>(0);
        put(personality);
        put<std::uint8_t>(0);
    }
    put<std::uint8_t>(0);
    put(frameOnEntry());
    endEntry(begin);
    return begin;
}

std::size_t CallFrames::beginEntry() {
    const std::size_t begin = bytes_.size();
    put<std::uint32_t>(0);
    return begin;
}

// Filled up with instructions that do nothing.
void CallFrames::endEntry(std::size_t begin) {
    while (bytes_.size() % wordSize != 0) {
        put<std::uint8_t>(0);
    }
    const auto length = static_cast<std::uint32_t>(bytes_.size() - begin - sizeof(std::uint32_t));
    std::memcpy(bytes_.data() + begin, &length, sizeof length);
}

template <class Value>
void CallFrames::put(Value value) {
    const std::size_t end = bytes_.size();
    bytes_.resize(end + sizeof value);
    std::memcpy(bytes_.data() + end, &value, sizeof value);
}

void CallFrames::put(const FrameInstructions& instructions) {
    bytes_.insert(bytes_.end(), instructions.bytes().begin(), instructions.bytes().end());
}

} // namespace mac_program
