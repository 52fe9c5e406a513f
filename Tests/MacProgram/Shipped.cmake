# The end-to-end tests of the programs that ship for a Mac, and which of their imports they call.
find_package(Python3 REQUIRED COMPONENTS Interpreter)
get_filename_component(shipped_folder ${VEILPANE_SHIPPED_PROGRAM}/../../../.. ABSOLUTE)
set(SHIPPED_FILES VEILPANE_PROGRAM=${VEILPANE_SHIPPED_PROGRAM};MACPROBE_PROGRAM=${shipped_folder}/macprobe)

# test_shipped(ARCHITECTURE LAUNCHER TESTS REASONS ARGUMENT...): the executable TESTS with one slice, which
# LAUNCHER runs, and that each import is called by them or has its line in REASONS.
function(test_shipped architecture launcher tests reasons)
  set(label shipped-${architecture})
  set(name ${label}.${tests})
  set(called ${CMAKE_BINARY_DIR}/called-imports-${architecture}-${tests}.txt)
  add_dependencies(${tests} ${launcher})
  add_test(NAME ${name} COMMAND ${tests} ${ARGN})
  set_tests_properties(${name} PROPERTIES
    PROCESSORS ${ALL_PROCESSORS}
    TIMEOUT 1800
    FIXTURES_REQUIRED no-call-yet-${name}
    FIXTURES_SETUP ${name}-has-run
    ENVIRONMENT "VEILPANE_LAUNCHER=${CMAKE_BINARY_DIR}/${launcher};${SHIPPED_FILES};MACRUN_CALLED_IMPORTS=${called}")

  add_test(NAME ${name}.forget_earlier_calls COMMAND ${CMAKE_COMMAND} -E rm -f ${called})
  set_tests_properties(${name}.forget_earlier_calls PROPERTIES FIXTURES_SETUP no-call-yet-${name})
  add_test(NAME ${name}.every_import_is_called_or_explained
    COMMAND ${Python3_EXECUTABLE} ${CMAKE_CURRENT_SOURCE_DIR}/MacProgram/check_called_imports.py
      ${called} ${CMAKE_CURRENT_SOURCE_DIR}/MacProgram/${reasons})
  set_tests_properties(${name}.every_import_is_called_or_explained PROPERTIES
    FIXTURES_REQUIRED ${name}-has-run)
  set_tests_properties(
    ${name} ${name}.forget_earlier_calls ${name}.every_import_is_called_or_explained
    PROPERTIES LABELS ${label})
endfunction()

# How the simulated Mac reads its files has nothing of the program in it.
function(test_veilpane architecture launcher)
  test_shipped(${architecture} ${launcher} EndToEndTests uncalled-imports.txt
    --jobs 2 --screens --gtest_filter=-Macsim.*:HostileInput.*:${ARGN})
endfunction()

function(test_macprobe architecture launcher)
  test_shipped(${architecture} ${launcher} MacProbeTests uncalled-imports-of-macprobe.txt
    --jobs 4 --gtest_filter=MacProbeCommand.*)
  wait_beside_others(shipped-${architecture}.MacProbeTests)
endfunction()

test_veilpane(x86_64 macrun)
test_macprobe(x86_64 macrun)

add_test(NAME shipped-x86_64.damage_is_found
  COMMAND ${Python3_EXECUTABLE} ${CMAKE_CURRENT_SOURCE_DIR}/MacProgram/test_damaged_slices.py
    $<TARGET_FILE:macrun> $<TARGET_FILE:EndToEndTests> ${VEILPANE_SHIPPED_PROGRAM})
set_tests_properties(shipped-x86_64.damage_is_found PROPERTIES LABELS shipped-x86_64 TIMEOUT 600)

# A sample of what is held against the program compiled here.
add_executable(ShippedSoak Safety/Soak.cpp Safety/ShippedDelegate.mm Safety/ShippedProgram.cpp)
target_link_libraries(ShippedSoak PRIVATE Safety MacProgram CompilerWarnings)
add_test(NAME shipped-x86_64.faults_and_histories COMMAND ShippedSoak --faults 4000 --steps 12000)
set_tests_properties(shipped-x86_64.faults_and_histories PROPERTIES LABELS shipped-x86_64
  PROCESSORS ${ALL_PROCESSORS}
  TIMEOUT 1800 ENVIRONMENT "VEILPANE_PROGRAM=${VEILPANE_SHIPPED_PROGRAM}")

if(VEILPANE_SHIPPED_ARM64)
  # An emulated processor takes its time, and between the ways in which Macs differ the program is the same:
  # here the kindest and the unkindest of them.
  test_veilpane(arm64 macrun-arm64 "*/deadKeys:*/noActivation:*/rowsByFrame:*/deadAlerts:*/greySwitches")
  test_macprobe(arm64 macrun-arm64)
endif()
