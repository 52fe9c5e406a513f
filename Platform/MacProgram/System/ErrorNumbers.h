#pragma once

#include <cstddef>

namespace mac_program {

/// An error number as a Mac counts. Refuses to go on for one that a Mac does not have.
int macErrorNumber(int error);

/// strerror_r: the text of an error of a Mac's, cut to `size` bytes with the zero at its end.
/// Returns an error number of a Mac, or 0.
int describeError(int macError, char* text, std::size_t size);

/// Where the program finds and sets this thread's last error number.
int* errorNumberPlace();

} // namespace mac_program
