#include "MacProgram/Program.h"

#include "MacProgram/File/BadProgram.h"
#include "MacProgram/File/UniversalFile.h"
#include "MacProgram/Image/Image.h"
#include "MacProgram/Metadata/Classes.h"
#include "MacProgram/Metadata/ConstantStrings.h"
#include "MacProgram/Runtime/CalledImports.h"
#include "MacProgram/Runtime/Library.h"
#include "MacProgram/System/ExecutablePath.h"
#include "MacProgram/System/Threads.h"
#include "MacProgram/Unwinding/CallFrames.h"

#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <system_error>

namespace mac_program {
namespace {

std::vector<std::uint8_t> contentsOf(const std::string& file) {
    std::error_code error;
    std::ifstream stream(file, std::ios::binary);
    if (!std::filesystem::is_regular_file(file, error) || !stream || stream.peek() == EOF) {
        throw BadProgram("cannot be read");
    }
    return {std::istreambuf_iterator<char>(stream), {}};
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
    [[clang::no_destroy]] static CallFrames frames(functionFrames(image));
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
