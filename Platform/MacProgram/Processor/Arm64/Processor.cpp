#include "MacProgram/Processor/Processor.h"

namespace mac_program {

constinit const Processor thisProcessor = {0x0100000C, 0, 0, "arm64", 16384, sizeof(std::uint32_t)};

} // namespace mac_program
