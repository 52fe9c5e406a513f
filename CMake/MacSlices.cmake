# Cross-compiles the program and the probe once for each architecture, in a build of its own, and merges
# the results into universal ones: ${CMAKE_BINARY_DIR}/Veilpane and macprobe, target MacProgram.
include(ExternalProject)

find_program(LIPO llvm-lipo-19 REQUIRED)
find_package(Python3 REQUIRED COMPONENTS Interpreter)
if(NOT EXISTS ${CMAKE_SOURCE_DIR}/.tools/npm/zig)
  message(FATAL_ERROR "The cross compiler is missing: run Scripts/fetch-tools.sh")
endif()

# The tests on the simulated Mac are built for one architecture; the sources are the same for both.
list(GET VEILPANE_MAC_SLICES 0 tested_architecture)
set(merged_programs Veilpane macprobe)
foreach(architecture ${VEILPANE_MAC_SLICES})
  list(TRANSFORM merged_programs PREPEND ${CMAKE_BINARY_DIR}/${architecture}/
    OUTPUT_VARIABLE slice_programs)
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
    BUILD_BYPRODUCTS ${slice_programs})
endforeach()

# The bundle's seal covers the program; nothing else would vouch for the probe.
set(sign_macprobe COMMAND ${Python3_EXECUTABLE} ${CMAKE_SOURCE_DIR}/Packaging/sign_program.py
  ${CMAKE_BINARY_DIR}/macprobe io.github.veilpane.macprobe)
foreach(program ${merged_programs})
  list(TRANSFORM VEILPANE_MAC_SLICES REPLACE "(.+)" "${CMAKE_BINARY_DIR}/\\1/${program}"
    OUTPUT_VARIABLE slices)
  add_custom_command(
    OUTPUT ${CMAKE_BINARY_DIR}/${program}
    COMMAND ${LIPO} -create ${slices} -output ${CMAKE_BINARY_DIR}/${program}
    ${sign_${program}}
    DEPENDS ${slices}
    VERBATIM)
endforeach()
list(TRANSFORM merged_programs PREPEND ${CMAKE_BINARY_DIR}/ OUTPUT_VARIABLE universal_programs)
add_custom_target(MacProgram ALL DEPENDS ${universal_programs})
foreach(architecture ${VEILPANE_MAC_SLICES})
  add_dependencies(MacProgram Slice-${architecture})
endforeach()
