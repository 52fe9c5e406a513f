#include "MacProgram/Processor/Processor.h"

namespace mac_program {

constinit const Processor thisProcessor = {0x01000007, 3,    0x80000000,
                                           "x86_64",   4096, sizeof(std::uint64_t)};

} // namespace mac_program
