#pragma once

/// Whether a return address lies in a library that is the system's own: those keep the methods that
/// they were built with, while the program gets replaced ones.
bool isInSystemLibrary(const void* returnAddress);
