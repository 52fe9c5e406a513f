# Here the whole Mac is simulated: CoreFoundation counts its objects, GNUstep draws on X11, and a test may
# fork.
set(TESTED_PROGRAM Veilpane)

target_sources(TestSupport PRIVATE Support/ChildProcess.cpp Support/VirtualScreen.cpp)

target_sources(UnitTests PRIVATE
  Unit/Power/KnownLimitsTest.cpp
  Unit/Ownership/OwnedObjectsTest.cpp
  Unit/Support/StandardStreamsTest.mm)

target_sources(EndToEndTests PRIVATE
  EndToEnd/DeskCommandTest.cpp
  EndToEnd/Desktop.cpp
  EndToEnd/FullDeviceTest.cpp
  EndToEnd/HostileProcessTest.cpp
  EndToEnd/MenuBarApplicationTest.cpp)
add_executable(Soak
  Safety/Companion.cpp
  Safety/Desk.cpp
  Safety/FaultRuns.cpp
  Safety/Forked.cpp
  Safety/History.cpp
  Safety/Mischief.cpp
  Safety/Operation.cpp
  Safety/Promise.cpp
  Safety/Rules.cpp
  Safety/Situations.cpp
  Safety/Soak.mm)
target_link_libraries(Soak PRIVATE TestSupport CompilerWarnings)
# A fair sample of what Scripts/soak.sh does at length; under the sanitizers a smaller one.
if(VEILPANE_SANITIZE)
  set(SOAK_SAMPLE --faults 1500 --steps 5000)
else()
  set(SOAK_SAMPLE --faults 10400 --steps 58000)
endif()
add_test(NAME Safety.faults_and_histories COMMAND Soak ${SOAK_SAMPLE})
set_tests_properties(Safety.faults_and_histories PROPERTIES LABELS safety PROCESSORS 2)

find_package(X11 REQUIRED)
target_link_libraries(EndToEndTests PRIVATE X11::X11 X11::Xtst)

target_sources(SimulatedMacTests PRIVATE
  ${SIMULATED_MAC_TESTS}/CallHabitsTest.cpp
  ${SIMULATED_MAC_TESTS}/DeskPictureTest.cpp
  ${SIMULATED_MAC_TESTS}/EventsTest.cpp
  ${SIMULATED_MAC_TESTS}/FaultKindsTest.cpp
  ${SIMULATED_MAC_TESTS}/HabitsTest.cpp
  ${SIMULATED_MAC_TESTS}/HardwareTest.cpp
  ${SIMULATED_MAC_TESTS}/PlatformCallsTest.cpp
  ${SIMULATED_MAC_TESTS}/ProfilerTest.cpp
  ${SIMULATED_MAC_TESTS}/SessionEndTest.cpp
  ${SIMULATED_MAC_TESTS}/SimulatedCallsTest.cpp
  ${SIMULATED_MAC_TESTS}/TransferToMonitor.cpp
  ${SIMULATED_MAC_TESTS}/UserDefaultsTest.mm
  ${SIMULATED_MAC_TESTS}/VerbsTest.cpp)
target_compile_definitions(SimulatedMacTests PRIVATE
  SIMULATED_MAC_FOLDER="${CMAKE_SOURCE_DIR}/Platform/SimulatedMac")
target_link_libraries(SimulatedMacTests PRIVATE DeskPicture PkgConfig::PANGOCAIRO)

add_executable(MenuBarTests
  Support/MenuBarTest.mm
  Unit/Menu/AppDelegateTest.mm
  Unit/Menu/EventLogTest.mm
  Unit/Menu/MenuRowViewsTest.mm
  Unit/Menu/MenuTextTest.mm
  Unit/Menu/StatusIconTest.mm
  Unit/Menu/StatusMenuTest.mm)
target_link_libraries(MenuBarTests PRIVATE TestSupport CompilerWarnings)
gtest_discover_tests(MenuBarTests PROPERTIES LABELS menu-bar)

set(GNUSTEP_TESTS ${CMAKE_SOURCE_DIR}/Platform/GNUstep/Tests)
add_executable(GNUstepTests
  Support/MenuBarTest.mm
  ${GNUSTEP_TESTS}/AutoLayoutTest.mm
  ${GNUSTEP_TESTS}/LinearProgramTest.cpp
  ${GNUSTEP_TESTS}/MenusTest.mm
  ${CMAKE_SOURCE_DIR}/Platform/GNUstep/Layout/LinearProgram.cpp)
target_link_libraries(GNUstepTests PRIVATE TestSupport CompilerWarnings glpk)
gtest_discover_tests(GNUstepTests PROPERTIES LABELS gnustep)

add_executable(StatusIconPicture Pictures/StatusIconPicture.mm)
target_link_libraries(StatusIconPicture PRIVATE VeilpaneCore CompilerWarnings)
set_target_properties(StatusIconPicture PROPERTIES
  RUNTIME_OUTPUT_DIRECTORY ${CMAKE_BINARY_DIR} LINKER_LANGUAGE CXX)

find_package(Python3 REQUIRED COMPONENTS Interpreter)
foreach(script bootstrap check_layers fetch_tools planted_bugs)
  add_test(NAME Scripts.${script}
    COMMAND ${Python3_EXECUTABLE} ${CMAKE_CURRENT_SOURCE_DIR}/Scripts/test_${script}.py)
  set_tests_properties(Scripts.${script} PROPERTIES LABELS scripts)
endforeach()
