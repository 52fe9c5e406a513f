# On a Mac everything that the tests run has the simulated Mac in it, so that no real display is touched.
target_sources(TestSupport PRIVATE Support/TestMain.cpp)
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
add_test(NAME MacTests.touch_no_real_display
  COMMAND ${Python3_EXECUTABLE} ${CMAKE_CURRENT_SOURCE_DIR}/MacBuild/check_simulated.py nm
    ${CMAKE_BINARY_DIR}/simulated $<TARGET_FILE:Veilpane>)
set_tests_properties(MacTests.touch_no_real_display PROPERTIES FIXTURES_SETUP simulated-mac-only)

# A process that uses Foundation cannot be copied here, so that each test is started on its own.
include(GoogleTest)
if(CMAKE_CROSSCOMPILING)
  # A program for another machine cannot be asked for its tests.
  set(CMAKE_GTEST_DISCOVER_TESTS_DISCOVERY_MODE PRE_TEST)
endif()
function(register_tests tests label)
  gtest_discover_tests(${tests}
    # The system looks at a program before its first start, which takes longer than CMake's five seconds.
    DISCOVERY_TIMEOUT 60
    PROPERTIES LABELS ${label} FIXTURES_REQUIRED simulated-mac-only)
endfunction()
register_tests(UnitTests unit)
register_tests(EndToEndTests end-to-end)
register_tests(SimulatedMacTests simulated-mac)
register_tests(MenuBarTests menu-bar)
