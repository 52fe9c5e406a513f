#include "MacProgram/Processor/Processor.h"

#include "MacProgram/File/BadProgram.h"

namespace mac_program {

void requireKnownModel(std::uint32_t model) {
    if ((model & ~thisProcessor.capability) != thisProcessor.model) {
        throw BadProgram(std::string("it is for a model of ") + thisProcessor.name +
                         " that is not known here");
    }
}

} // namespace mac_program
