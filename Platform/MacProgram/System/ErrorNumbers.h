#pragma once

namespace mac_program {

/// An error number as a Mac counts. Refuses to go on for one that a Mac does not have.
int macErrorNumber(int error);

/// Where the program finds and sets this thread's last error number.
int* errorNumberPlace();

} // namespace mac_program
