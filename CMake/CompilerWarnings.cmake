# Warnings for the project's own code. The presets of this project's own machines make them errors; who
# builds with another compiler is only told.
add_library(CompilerWarnings INTERFACE)
target_compile_options(CompilerWarnings INTERFACE
  -Wall -Wextra -Wpedantic -Wshadow -Wconversion -Wsign-conversion -Wnon-virtual-dtor
  -Wold-style-cast -Wextra-semi -Wimplicit-fallthrough
  # AppKit's and the I/O Kit's own idioms.
  -Wno-gnu-zero-variadic-macro-arguments -Wno-dollar-in-identifier-extension)
