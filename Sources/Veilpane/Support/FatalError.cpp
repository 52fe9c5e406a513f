#include "Veilpane/Support/FatalError.h"

#include <cstdio>
#include <cstdlib>

void fatalError(const char* message) {
    std::fprintf(stderr, "Fatal error: %s\n", message);
    std::abort();
}
