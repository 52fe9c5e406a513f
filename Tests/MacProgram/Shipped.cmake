# The end-to-end tests of the program that ships for a Mac, and which of its imports they call.
find_package(Python3 REQUIRED COMPONENTS Interpreter)
set(CALLED_IMPORTS ${CMAKE_BINARY_DIR}/called-imports.txt)

add_dependencies(EndToEndTests macrun)
add_test(NAME shipped-x86_64.EndToEndTests
  COMMAND EndToEndTests --jobs 2 --screens --gtest_filter=-Macsim.*)
set_tests_properties(shipped-x86_64.EndToEndTests PROPERTIES
  LABELS shipped-x86_64
  PROCESSORS 2
  TIMEOUT 1800
  FIXTURES_REQUIRED no-call-yet
  FIXTURES_SETUP shipped-program-has-run
  ENVIRONMENT "VEILPANE_LAUNCHER=${CMAKE_BINARY_DIR}/macrun;\
VEILPANE_PROGRAM=${VEILPANE_SHIPPED_PROGRAM};MACRUN_CALLED_IMPORTS=${CALLED_IMPORTS}")

add_test(NAME shipped-x86_64.forget_earlier_calls
  COMMAND ${CMAKE_COMMAND} -E rm -f ${CALLED_IMPORTS})
set_tests_properties(shipped-x86_64.forget_earlier_calls PROPERTIES
  LABELS shipped-x86_64 FIXTURES_SETUP no-call-yet)
add_test(NAME shipped-x86_64.every_import_is_called_or_explained
  COMMAND ${Python3_EXECUTABLE} ${CMAKE_CURRENT_SOURCE_DIR}/MacProgram/check_called_imports.py
    ${CALLED_IMPORTS} ${CMAKE_CURRENT_SOURCE_DIR}/MacProgram/uncalled-imports.txt)
set_tests_properties(shipped-x86_64.every_import_is_called_or_explained PROPERTIES
  LABELS shipped-x86_64 FIXTURES_REQUIRED shipped-program-has-run)
