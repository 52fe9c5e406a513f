#pragma once

#include <ctime>

namespace mac_program {

/// clock_gettime, of a clock as a Mac counts them. Refuses to go on for one that is not known here.
int readClock(int macClock, timespec* time);

} // namespace mac_program
