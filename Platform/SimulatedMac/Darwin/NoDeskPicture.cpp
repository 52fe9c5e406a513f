// On a Mac macsim is built without the libraries that the picture of the desk is drawn with.

#include "SimulatedMac/Tools/DeskPicture.h"

#include <stdexcept>

namespace simulated_mac {

void drawDesk(const std::vector<DisplayStatus>&, const Scene&, const std::string&) {
    throw std::runtime_error("desk: this build draws no pictures");
}

} // namespace simulated_mac
