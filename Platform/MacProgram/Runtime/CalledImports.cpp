#include "MacProgram/Runtime/CalledImports.h"

#include "MacProgram/File/BadProgram.h"
#include "MacProgram/Processor/CallThunk.h"
#include "MacProgram/Runtime/Messages.h"

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <filesystem>
#include <sys/mman.h>
#include <system_error>
#include <unistd.h>

extern "C" void* mac_program_note_call(std::uint32_t number);

void* mac_program_note_call(std::uint32_t number) {
    return mac_program::CalledImports::ifWanted()->noteCall(number);
}

namespace mac_program {
namespace {

constexpr std::size_t mostImports = 1024;
constexpr std::size_t codeSize = thunkSize * mostImports;
// Code and targets are protected by whole pages of any system.
static_assert(codeSize % 16384 == 0);
// The first one is where all first calls go.
constexpr std::size_t targetsSize = sizeof(void*) * (mostImports + 1);

} // namespace

CalledImports* CalledImports::ifWanted() {
    [[clang::no_destroy]] static const std::unique_ptr<CalledImports> only = [] {
        const char* const file = std::getenv("MACRUN_CALLED_IMPORTS");
        return std::unique_ptr<CalledImports>(file == nullptr ? nullptr : new CalledImports(file));
    }();
    return only.get();
}

CalledImports::CalledImports(std::string file)
    : file_(std::move(file)), space_(codeSize + targetsSize), targets_(space_.begin() + codeSize) {
    space_.allow(0, space_.size(), PROT_READ | PROT_WRITE);
    auto* const firstCall = reinterpret_cast<void*>(mac_program_first_call);
    std::memcpy(targets_, &firstCall, sizeof firstCall);
}

// At first the target is what lies behind the thunk's jump to it.
void* CalledImports::through(const Symbol& import) {
    const auto known = std::ranges::find(imports_, import.name, &Import::name);
    const auto number = static_cast<std::size_t>(known - imports_.begin());
    std::uint8_t* const thunk = space_.begin() + thunkSize * number;
    if (known != imports_.end()) {
        return thunk;
    }
    if (number == mostImports) {
        throw BadProgram("it has too many imports to tell which are called");
    }
    std::uint8_t* const target = targets_ + sizeof(void*) * (number + 1);
    std::uint8_t* const untilFirstCall =
        writeThunk(thunk, target, targets_, static_cast<std::uint32_t>(number));
    std::memcpy(target, &untilFirstCall, sizeof untilFirstCall);
    imports_.push_back({std::string(import.name), import.address});
    return thunk;
}

void CalledImports::seal() {
    space_.allow(0, codeSize, PROT_READ | PROT_EXEC);
    tellAllWhenNew();
}

void CalledImports::tellAllWhenNew() const {
    std::error_code unreadable;
    if (std::filesystem::file_size(file_, unreadable) > 0 && !unreadable) {
        return;
    }
    std::string lines;
    for (const Import& import : imports_) {
        lines += "bound " + import.name + "\n";
    }
    append(lines);
}

void* CalledImports::noteCall(std::uint32_t number) {
    const int error = errno;
    const Import& import = imports_[number];
    std::memcpy(targets_ + sizeof(void*) * (number + 1), &import.address, sizeof import.address);
    append("called " + import.name + "\n");
    errno = error;
    return import.address;
}

// One write, so that processes beside each other do not mix their lines.
void CalledImports::append(const std::string& lines) const {
    const int descriptor = open(file_.c_str(), O_WRONLY | O_APPEND | O_CREAT | O_CLOEXEC, 0644);
    const ssize_t written = write(descriptor, lines.data(), lines.size());
    static_cast<void>(written);
    close(descriptor);
}

} // namespace mac_program
