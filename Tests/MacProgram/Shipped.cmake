# The end-to-end tests of the program that ships for a Mac, and which of its imports they call.
find_package(Python3 REQUIRED COMPONENTS Interpreter)
set(UNCALLED_IMPORTS ${CMAKE_CURRENT_SOURCE_DIR}/MacProgram/uncalled-imports.txt)

# test_shipped(ARCHITECTURE LAUNCHER [WITHOUT]): the tests of one slice, which LAUNCHER runs, but for those
# of a GoogleTest pattern.
function(test_shipped architecture launcher)
  set(label shipped-${architecture})
  set(called ${CMAKE_BINARY_DIR}/called-imports-${architecture}.txt)
  add_dependencies(EndToEndTests ${launcher})
  add_test(NAME ${label}.EndToEndTests
    COMMAND EndToEndTests --jobs 2 --screens --gtest_filter=-Macsim.*:${ARGN})
  set_tests_properties(${label}.EndToEndTests PROPERTIES
    PROCESSORS 2
    TIMEOUT 1800
    FIXTURES_REQUIRED no-call-yet-${architecture}
    FIXTURES_SETUP ${label}-has-run
    ENVIRONMENT "VEILPANE_LAUNCHER=${CMAKE_BINARY_DIR}/${launcher};\
VEILPANE_PROGRAM=${VEILPANE_SHIPPED_PROGRAM};MACRUN_CALLED_IMPORTS=${called}")

  add_test(NAME ${label}.forget_earlier_calls COMMAND ${CMAKE_COMMAND} -E rm -f ${called})
  set_tests_properties(${label}.forget_earlier_calls PROPERTIES
    FIXTURES_SETUP no-call-yet-${architecture})
  add_test(NAME ${label}.every_import_is_called_or_explained
    COMMAND ${Python3_EXECUTABLE} ${CMAKE_CURRENT_SOURCE_DIR}/MacProgram/check_called_imports.py
      ${called} ${UNCALLED_IMPORTS})
  set_tests_properties(${label}.every_import_is_called_or_explained PROPERTIES
    FIXTURES_REQUIRED ${label}-has-run)
  set_tests_properties(
    ${label}.EndToEndTests ${label}.forget_earlier_calls ${label}.every_import_is_called_or_explained
    PROPERTIES LABELS ${label})
endfunction()

test_shipped(x86_64 macrun)

# A sample of what is held against the program compiled here.
add_executable(ShippedSoak Safety/Soak.cpp Safety/ShippedDelegate.mm Safety/ShippedProgram.cpp)
target_link_libraries(ShippedSoak PRIVATE Safety MacProgram CompilerWarnings)
add_test(NAME shipped-x86_64.faults_and_histories COMMAND ShippedSoak --faults 4000 --steps 12000)
set_tests_properties(shipped-x86_64.faults_and_histories PROPERTIES LABELS shipped-x86_64 PROCESSORS 2
  TIMEOUT 1800 ENVIRONMENT "VEILPANE_PROGRAM=${VEILPANE_SHIPPED_PROGRAM}")

if(VEILPANE_SHIPPED_ARM64)
  # An emulated processor takes its time, and between the ways in which Macs differ the program is the same:
  # here the kindest and the unkindest of them.
  test_shipped(arm64 macrun-arm64 "*/deadKeys:*/noActivation:*/rowsByFrame:*/deadAlerts:*/greySwitches")
endif()
