#pragma once

#include <string>

namespace simulated_mac {

/// Something that happens to the Mac while a program is in one of its platform calls: another
/// program or a person acts at that very moment.
struct SceneEvent {
    enum class Moment { before, after }; ///< the call answers from the new state, or from the old

    std::string call; ///< a C function's name, or "*" for every call
    Moment moment = Moment::before;
    int nth = 1;       ///< 1 for the first call in the process; 0 for every call
    std::string line;  ///< a line of verbs: "unplug 3"
    std::string place; ///< where it stands, for messages
};

} // namespace simulated_mac
