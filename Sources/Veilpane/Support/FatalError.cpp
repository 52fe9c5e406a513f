#include "Veilpane/Support/FatalError.h"

#include <cstdio>
#include <cstdlib>

namespace veilpane {

void fatalError(const char* message) {
    std::fprintf(stderr, "Fatal error: %s\n", message);
    std::abort();
}

} // namespace veilpane
