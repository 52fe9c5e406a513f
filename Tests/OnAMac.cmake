# On a Mac everything that the tests run has the simulated Mac in it, so that no real display is touched.
target_link_libraries(TestSupport PUBLIC SimulatedMac)

target_sources(MenuBarTests PRIVATE
  Support/AppKitHostOnAMac.mm
  Unit/Menu/MenuOnAMacTest.mm)
target_link_libraries(MenuBarTests PRIVATE "-framework Security")

set(TESTED_PROGRAM VeilpaneOnSimulatedMac)
add_executable(VeilpaneOnSimulatedMac ${CMAKE_SOURCE_DIR}/Sources/Veilpane/main.mm)
target_link_libraries(VeilpaneOnSimulatedMac PRIVATE VeilpaneCore SimulatedMac CompilerWarnings)
set_target_properties(VeilpaneOnSimulatedMac PROPERTIES
  OUTPUT_NAME Veilpane RUNTIME_OUTPUT_DIRECTORY ${CMAKE_BINARY_DIR}/simulated)

set_target_properties(UnitTests EndToEndTests SimulatedMacTests MenuBarTests PROPERTIES
  RUNTIME_OUTPUT_DIRECTORY ${CMAKE_BINARY_DIR}/simulated LINKER_LANGUAGE OBJCXX)

# No test runs before it is known that none can reach a real display.
find_package(Python3 REQUIRED COMPONENTS Interpreter)
add_test(NAME MacTests.touch_no_real_display
  COMMAND ${Python3_EXECUTABLE} ${CMAKE_CURRENT_SOURCE_DIR}/MacBuild/check_simulated.py nm
    ${CMAKE_BINARY_DIR}/simulated $<TARGET_FILE:Veilpane>)
set_tests_properties(MacTests.touch_no_real_display PROPERTIES FIXTURES_SETUP simulated-mac-only)
set(TEST_PROPERTIES FIXTURES_REQUIRED simulated-mac-only)

# The system looks at a program before its first start, which takes longer than CMake's five seconds.
set(DISCOVERY DISCOVERY_TIMEOUT 60)
