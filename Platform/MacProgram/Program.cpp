#include "MacProgram/Program.h"

#include "MacProgram/File/BadProgram.h"
#include "MacProgram/File/UniversalFile.h"
#include "MacProgram/Image/Image.h"
#include "MacProgram/Metadata/Classes.h"
#include "MacProgram/Metadata/ConstantStrings.h"
#include "MacProgram/Runtime/CalledImports.h"
#include "MacProgram/Runtime/Exceptions.h"
#include "MacProgram/Runtime/Library.h"
#include "MacProgram/System/ExecutablePath.h"
#include "MacProgram/System/Threads.h"
#include "MacProgram/Unwinding/CallFrames.h"

#include <cerrno>
#include <filesystem>
#include <fstream>
#include <system_error>

namespace mac_program {
namespace {

// More than any program of ours.
constexpr std::uintmax_t greatestSize = std::uintmax_t{1} << 30;

void requireNone(const std::error_code& error) {
    if (error) {
        throw BadProgram("cannot be read: " + error.message());
    }
}

// A pipe or a folder can be opened, too, and reading it could last for ever.
std::uintmax_t requireSize(const std::string& file) {
    std::error_code error;
    const std::filesystem::file_status status = std::filesystem::status(file, error);
    if (status.type() == std::filesystem::file_type::directory) {
        error = std::make_error_code(std::errc::is_a_directory);
    }
    requireNone(error);
    if (status.type() != std::filesystem::file_type::regular) {
        throw BadProgram("is no ordinary file");
    }
    const std::uintmax_t size = std::filesystem::file_size(file, error);
    requireNone(error);
    if (size == 0 || size > greatestSize) {
        throw BadProgram(size == 0 ? "is empty" : "is too large");
    }
    return size;
}

std::vector<std::uint8_t> contentsOf(const std::string& file) {
    std::vector<std::uint8_t> contents(requireSize(file));
    errno = 0;
    std::ifstream stream(file, std::ios::binary);
    if (!stream.read(reinterpret_cast<char*>(contents.data()),
                     static_cast<std::streamsize>(contents.size()))) {
        requireNone({errno, std::generic_category()});
        throw BadProgram("becomes shorter while it is read");
    }
    return contents;
}

void* boundTo(const std::string& library, const std::string& name, const Substitutes& substitutes) {
    if (const auto found = substitutes.find(name); found != substitutes.end()) {
        return const_cast<void*>(found->second);
    }
    const Symbol symbol = requireSymbol(library, name);
    CalledImports* const called = CalledImports::ifWanted();
    return called != nullptr && symbol.isFunction ? called->through(symbol) : symbol.address;
}

} // namespace

Main load(const std::string& file, const Substitutes& substitutes) {
    const std::vector<std::uint8_t> contents = contentsOf(file);
    const ProgramFile program = readProgramFile(sliceForThisProcessor(contents));
    [[clang::no_destroy]] static Image image(
        program, [&substitutes](const std::string& library, const std::string& name) {
            return boundTo(library, name, substitutes);
        });
    setExecutablePath(file);
    requireSpaceForThreadLocals(image);
    const std::vector<FunctionFrame> functions = functionFrames(image);
    adoptHandlers(image, functions);
    [[clang::no_destroy]] static CallFrames frames(functions);
    adoptConstantStrings(image);
    registerClasses(image);
    image.seal();
    if (CalledImports* const called = CalledImports::ifWanted()) {
        called->seal();
    }
    frames.announce();
    return reinterpret_cast<Main>(image.entry());
}

} // namespace mac_program
