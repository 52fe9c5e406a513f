# Cross-compiles the program once for each architecture, in a build of its own, and merges the
# results into one universal program: ${CMAKE_BINARY_DIR}/Veilpane, target MacProgram.
include(ExternalProject)

find_program(LIPO llvm-lipo-19 REQUIRED)
if(NOT EXISTS ${CMAKE_SOURCE_DIR}/.tools/npm/zig)
  message(FATAL_ERROR "The cross compiler is missing: run Scripts/fetch-tools.sh")
endif()

# The tests on the simulated Mac are built for one architecture; the sources are the same for both.
list(GET VEILPANE_MAC_SLICES 0 tested_architecture)
set(slice_programs)
foreach(architecture ${VEILPANE_MAC_SLICES})
  set(slice_program ${CMAKE_BINARY_DIR}/${architecture}/Veilpane)
  set(builds_tests OFF)
  if(architecture STREQUAL tested_architecture)
    set(builds_tests ${BUILD_TESTING})
  endif()
  ExternalProject_Add(Slice-${architecture}
    SOURCE_DIR ${CMAKE_SOURCE_DIR}
    BINARY_DIR ${CMAKE_BINARY_DIR}/${architecture}
    PREFIX ${CMAKE_BINARY_DIR}/slices
    CMAKE_GENERATOR ${CMAKE_GENERATOR}
    CMAKE_ARGS
      -DCMAKE_TOOLCHAIN_FILE=${CMAKE_SOURCE_DIR}/Platform/MacCross/toolchain.cmake
      -DCMAKE_BUILD_TYPE=MinSizeRel
      -DVEILPANE_SLICE_ARCHITECTURE=${architecture}
      -DBUILD_TESTING=${builds_tests}
      -DCMAKE_COMPILE_WARNING_AS_ERROR=${CMAKE_COMPILE_WARNING_AS_ERROR}
    # Only the build of the slice knows whether a source has changed.
    BUILD_ALWAYS ON
    INSTALL_COMMAND ""
    # One after the other, so that each may use all processors.
    USES_TERMINAL_BUILD ON
    BUILD_BYPRODUCTS ${slice_program})
  list(APPEND slice_programs ${slice_program})
endforeach()

add_custom_command(
  OUTPUT ${CMAKE_BINARY_DIR}/Veilpane
  COMMAND ${LIPO} -create ${slice_programs} -output ${CMAKE_BINARY_DIR}/Veilpane
  DEPENDS ${slice_programs}
  VERBATIM)
add_custom_target(MacProgram ALL DEPENDS ${CMAKE_BINARY_DIR}/Veilpane)
foreach(architecture ${VEILPANE_MAC_SLICES})
  add_dependencies(MacProgram Slice-${architecture})
endforeach()
