#pragma once

#include <csignal>
#include <cstdint>

namespace mac_program {

/// A Mac's set of signals: bit N - 1 is signal N.
using MacSignalSet = std::uint32_t;

/// Refuses to go on for a signal that has another number here.
sigset_t signalSet(MacSignalSet macSet);

using SignalHandler = void (*)(int);
SignalHandler setSignalHandler(int number, SignalHandler handler);
int sendSignal(pid_t process, int number);

} // namespace mac_program
