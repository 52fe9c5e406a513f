#pragma once

#include "MacProbe/Patience.h"

#include <CoreGraphics/CoreGraphics.h>

namespace macprobe {

// What goes through the pipes between a process and the one that watches it.
constexpr char watcherIsReady = 'r';
constexpr char signOfLife = '.';
constexpr char dismissal = 'd';

/// Watches over a display that another process is about to switch. Says on `output` that it is
/// ready, and then reads signs of life from `input`. After the dismissal it ends; when nothing has
/// come for as long as `patience` allows, or the session ends, it kills the other process, its
/// parent, brings the display back and ends. The end of `input` is no sign of life, and nothing
/// else: what the other process asked for last may still be on its way.
///
/// The result is an exit status.
int watchOver(CGDirectDisplayID display, int input, int output, const Patience& patience);

} // namespace macprobe
