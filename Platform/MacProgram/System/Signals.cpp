#include "MacProgram/System/Signals.h"

#include "MacProgram/Runtime/Refusal.h"

#include <algorithm>
#include <iterator>
#include <string>

namespace mac_program {
namespace {

constexpr int sameSignals[] = {SIGHUP, SIGINT,  SIGQUIT, SIGILL,  SIGTRAP, SIGABRT,
                               SIGFPE, SIGKILL, SIGSEGV, SIGPIPE, SIGALRM, SIGTERM};
constexpr int macSignalCount = 32;

void requireSame(int number) {
    if (std::ranges::find(sameSignals, number) == std::end(sameSignals)) {
        refuse("signal " + std::to_string(number) + " is not known here");
    }
}

} // namespace

sigset_t signalSet(MacSignalSet macSet) {
    sigset_t set;
    sigemptyset(&set);
    for (int number = 1; number <= macSignalCount; ++number) {
        if ((macSet >> (number - 1) & 1) != 0) {
            requireSame(number);
            sigaddset(&set, number);
        }
    }
    return set;
}

SignalHandler setSignalHandler(int number, SignalHandler handler) {
    requireSame(number);
    return std::signal(number, handler);
}

int sendSignal(pid_t process, int number) {
    requireSame(number);
    return kill(process, number);
}

} // namespace mac_program
