// What ends this program for an exception that nobody catches.
//
// The C++ library that is linked in has a handler that names the exception's type; its demangler
// alone is larger than the program. The crash report has the stack of the throw in either case. All
// that the library defines in the same file is defined here, so that its file is left out.

#include <cstdlib>
#include <exception>
#include <new>

namespace {

[[noreturn]] void endForUncaughtException() {
    std::abort();
}

} // namespace

extern "C" {

extern std::terminate_handler __cxa_terminate_handler;
extern std::terminate_handler __cxa_unexpected_handler;
extern std::new_handler __cxa_new_handler;

std::terminate_handler __cxa_terminate_handler = endForUncaughtException;
std::terminate_handler __cxa_unexpected_handler = endForUncaughtException;
std::new_handler __cxa_new_handler = nullptr;

} // extern "C"
