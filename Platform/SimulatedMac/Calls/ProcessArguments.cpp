#include <crt_externs.h>

namespace {

int argumentCount = 0;
char** argumentVector = nullptr;

// The C library hands a program's arguments to its constructors, too.
__attribute__((constructor)) void keepArguments(int count, char** arguments, char**) {
    argumentCount = count;
    argumentVector = arguments;
}

} // namespace

int* _NSGetArgc() {
    return &argumentCount;
}
char*** _NSGetArgv() {
    return &argumentVector;
}
