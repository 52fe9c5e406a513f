// Runs the program that its own name, the first argument, is the file of. macrun starts it so, as
// then all of this process's arguments are the program's, as on a Mac.

#include "MacProgram/Program.h"
#include "MacProgram/Runtime/Refusal.h"

#include <cstdlib>
#include <exception>
#include <new>
#include <unistd.h>

namespace {

mac_program::Main loadOrRefuse(const char* file) {
    mac_program::setProgramName(file);
    try {
        return mac_program::load(file);
    } catch (const std::bad_alloc&) {
        mac_program::refuse("there is not enough memory");
    } catch (const std::exception& reason) {
        mac_program::refuse(reason.what());
    }
}

} // namespace

int main(int count, char** arguments) {
    static const char* const apple[] = {nullptr};
    std::exit(loadOrRefuse(arguments[0])(count, arguments, environ, apple));
}
