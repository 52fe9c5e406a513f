#include "MacProgram/System/Clocks.h"

#include "MacProgram/Runtime/Refusal.h"

#include <string>

namespace mac_program {
namespace {

clockid_t clockHere(int macClock) {
    switch (macClock) {
    case 0:
        return CLOCK_REALTIME;
    case 4:
        return CLOCK_MONOTONIC_RAW;
    case 6:
        return CLOCK_MONOTONIC;
    default:
        refuse("clock " + std::to_string(macClock) + " is not known here");
    }
}

} // namespace

int readClock(int macClock, timespec* time) {
    return clock_gettime(clockHere(macClock), time);
}

} // namespace mac_program
