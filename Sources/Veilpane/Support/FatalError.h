#pragma once

namespace veilpane {

/// Ends the program because of a mistake in it, with the message on standard error.
[[noreturn]] void fatalError(const char* message);

} // namespace veilpane
