#include "SimulatedMac/Calls/Call.h"

extern "C" void NSBeep();

/// The Mac's sound: nobody hears it, but the call log has it.
void NSBeep() {
    simulated_mac::Call(__func__, nlohmann::json::array());
}
