// Runs the program that its own name, the first argument, is the file of. macrun starts it so, as
// then all of this process's arguments are the program's, as on a Mac.

#include "MacProgram/File/BadProgram.h"
#include "MacProgram/Program.h"
#include "MacProgram/Runtime/Refusal.h"

#include <cstdlib>
#include <unistd.h>

namespace {

mac_program::Main loadOrRefuse(const char* file) {
    mac_program::setProgramName(file);
    try {
        return mac_program::load(file);
    } catch (const mac_program::BadProgram& reason) {
        mac_program::refuse(reason.what());
    }
}

} // namespace

int main(int count, char** arguments) {
    static const char* const apple[] = {nullptr};
    std::exit(loadOrRefuse(arguments[0])(count, arguments, environ, apple));
}
