# The end-to-end tests of the program that ships for a Mac.

add_dependencies(EndToEndTests macrun)
gtest_discover_tests(EndToEndTests
  TEST_PREFIX shipped-x86_64. TEST_LIST SHIPPED_TESTS TEST_FILTER "-Macsim.*")
# Lists are not passed on as properties there.
file(WRITE ${CMAKE_CURRENT_BINARY_DIR}/shipped-tests.cmake "
set_tests_properties(\${SHIPPED_TESTS} PROPERTIES
  LABELS shipped-x86_64
  ENVIRONMENT \"VEILPANE_LAUNCHER=${CMAKE_BINARY_DIR}/macrun;\
VEILPANE_PROGRAM=${VEILPANE_SHIPPED_PROGRAM}\")
")
set_property(DIRECTORY APPEND PROPERTY TEST_INCLUDE_FILES
  ${CMAKE_CURRENT_BINARY_DIR}/shipped-tests.cmake)
