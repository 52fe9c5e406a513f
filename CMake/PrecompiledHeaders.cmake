# Parsing JSON's and GoogleTest's headers takes most of the time that the simulated Mac and the tests take
# to build. Without a precompiled header each file includes what it needs all the same.

# precompile(TARGET HEADER…): for the target's C++ files, when it has all of them
function(precompile target)
  precompile_for(${target} PRIVATE
    <algorithm> <functional> <map> <optional> <set> <string> <vector> ${ARGN})
endfunction()

# reuse_precompiled(TARGET OTHER): what was precompiled for another target. A definition that only this one has
# is no hindrance, as the headers ask for none of them.
function(reuse_precompiled target other)
  precompile_for(${target} REUSE_FROM ${other})
endfunction()

function(precompile_for target)
  if(APPLE)
    return() # the cross compiler cannot, and a Mac builds the tests once
  endif()
  target_precompile_headers(${target} ${ARGN})
  # So that a compiler cache knows the same header again.
  target_compile_options(${target} PRIVATE "SHELL:-Xclang -fno-pch-timestamp")
  # GCC's runtime header takes the compiler's own Protocol for another one in a precompiled header.
  get_target_property(sources ${target} SOURCES)
  list(FILTER sources INCLUDE REGEX "[.]mm$")
  set_source_files_properties(${sources} PROPERTIES SKIP_PRECOMPILE_HEADERS ON)
endfunction()
