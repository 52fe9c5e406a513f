// Reads whatever bytes as a program. They are read or refused; nothing else may happen.

#include "MacProgram/File/BadProgram.h"
#include "MacProgram/File/Binding.h"
#include "MacProgram/File/Rebasing.h"
#include "MacProgram/File/UniversalFile.h"
#include "MacProgram/Tests/TinyProgram.h"

using namespace mac_program;

namespace {

void readOrRefuse(Bytes bytes) {
    try {
        const ProgramFile program = readProgramFile(sliceForThisProcessor(bytes));
        (void)rebasedPlaces(program);
        (void)bindings(program);
    } catch (const BadProgram&) {
    }
}

// Three bytes are a place among the first 64 KiB and what is written there: so the fuzzer begins
// close to a program that is read to its end.
ByteVector changedProgram(Bytes changes) {
    TinyProgram program;
    program.rebasing = {0x11, 0x22, 0x00, 0x53, 0x81, 0x02, 0x08, 0x00};
    program.binding = bindingOf("_exit");
    program.lazyBinding = bindingOf("_abort");
    ByteVector file = program.file();
    for (; changes.size() >= 3; changes = changes.subspan(3)) {
        file[(changes[0] | static_cast<std::size_t>(changes[1]) << 8) % file.size()] = changes[2];
    }
    return file;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
    readOrRefuse(Bytes(bytes, size));
    readOrRefuse(changedProgram(Bytes(bytes, size)));
    return 0;
}
