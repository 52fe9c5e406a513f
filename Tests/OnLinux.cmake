# Here the whole Mac is simulated: CoreFoundation counts its objects, GNUstep draws on X11, and a test may
# fork.
set(TESTED_PROGRAM Veilpane)

target_sources(TestSupport PRIVATE
  Support/ChildProcess.cpp
  Support/TestMainOnLinux.cpp
  Support/TestProcesses.cpp
  Support/VirtualScreen.cpp
  Support/WarmFoundation.mm)
# The safety runs have a main function of their own, and take the rest.
set_source_files_properties(Support/TestMainOnLinux.cpp PROPERTIES SKIP_UNITY_BUILD_INCLUSION ON)

# CTest runs four tests at once, which suits those that wait. One that computes on two processors has them nearly
# for itself: beside it is room for one that waits.
set(ALL_PROCESSORS 3)

# Tests are compiled more often than anybody waits for what they compute themselves. All of a precompiled header's
# users are optimised alike.
target_compile_options(TestSupport PRIVATE -O0)

# Each executable starts once and runs its tests in copies of itself, two at a time.
function(register_tests tests label)
  target_compile_options(${tests} PRIVATE -O0)
  add_test(NAME ${tests} COMMAND ${tests} --jobs 2 ${ARGN})
  # All tests of an executable together, under the sanitizers on a busy machine; a single one has its own.
  set_tests_properties(${tests} PROPERTIES LABELS ${label} PROCESSORS ${ALL_PROCESSORS} TIMEOUT 2400)
endfunction()
# wait_beside_others(TEST…): they wait for most of their time, so they run one after the other, beside those that
# compute.
function(wait_beside_others)
  set_tests_properties(${ARGN} PROPERTIES PROCESSORS 1 RESOURCE_LOCK waiting)
endfunction()
register_tests(UnitTests unit)
register_tests(SimulatedMacTests simulated-mac)
wait_beside_others(SimulatedMacTests)
register_tests(MenuBarTests menu-bar --screens)
register_tests(EndToEndTests end-to-end --screens)

target_sources(UnitTests PRIVATE
  Unit/Inventory/LargeReportTest.cpp
  Unit/Power/KnownLimitsTest.cpp
  Unit/Ownership/OwnedObjectsTest.cpp
  Unit/Support/StandardStreamsTest.mm)

target_sources(EndToEndTests PRIVATE
  EndToEnd/DeskCommandTest.cpp
  EndToEnd/Desktop.cpp
  EndToEnd/FullDeviceTest.cpp
  EndToEnd/HostileProcessTest.cpp
  EndToEnd/MenuBarApplicationTest.cpp
  EndToEnd/UnusualAnswersTest.cpp)
# The promises and rules, for whoever holds the program to them.
add_library(Safety STATIC
  Safety/CapturedOutput.cpp
  Safety/Companion.cpp
  Safety/Desk.cpp
  Safety/FaultRuns.cpp
  Safety/Forked.cpp
  Safety/History.cpp
  Safety/KnownLies.cpp
  Safety/Mischief.cpp
  Safety/Model.cpp
  Safety/Operation.cpp
  Safety/Promise.cpp
  Safety/Rules.cpp
  Safety/PrintedReport.cpp
  Safety/Situations.cpp)
target_link_libraries(Safety PUBLIC TestSupport PRIVATE CompilerWarnings)
add_executable(Soak Safety/Soak.cpp Safety/CompiledProgram.cpp)
target_link_libraries(Soak PRIVATE Safety CompilerWarnings)
# A fair sample of what Scripts/soak.sh does at length; under the sanitizers a smaller one.
if(VEILPANE_SANITIZE)
  set(SOAK_SAMPLE --part 10 --faults 600 --steps 2000)
else()
  set(SOAK_SAMPLE --faults 10000 --steps 50000)
endif()
add_test(NAME Safety.faults_and_histories COMMAND Soak ${SOAK_SAMPLE})
# Its processes are thousands of copies, which end without a look for leaks; the ledger is asked instead.
set_tests_properties(Safety.faults_and_histories PROPERTIES LABELS safety PROCESSORS ${ALL_PROCESSORS} TIMEOUT 1800
  ENVIRONMENT "ASAN_OPTIONS=fast_unwind_on_malloc=1:detect_leaks=0:quarantine_size_mb=8;TMPDIR=/dev/shm")

find_package(X11 REQUIRED)
target_link_libraries(EndToEndTests PRIVATE X11::X11 X11::Xtst)

target_sources(SimulatedMacTests PRIVATE
  ${SIMULATED_MAC_TESTS}/CallHabitsTest.cpp
  ${SIMULATED_MAC_TESTS}/DeskPictureTest.cpp
  ${SIMULATED_MAC_TESTS}/EventsTest.cpp
  ${SIMULATED_MAC_TESTS}/FaultKindsTest.cpp
  ${SIMULATED_MAC_TESTS}/HabitsTest.cpp
  ${SIMULATED_MAC_TESTS}/HardwareTest.cpp
  ${SIMULATED_MAC_TESTS}/LookingCallsTest.cpp
  ${SIMULATED_MAC_TESTS}/MatchingServices.cpp
  ${SIMULATED_MAC_TESTS}/PlatformCallsTest.cpp
  ${SIMULATED_MAC_TESTS}/ProcessStartTest.cpp
  ${SIMULATED_MAC_TESTS}/ProfilerTest.cpp
  ${SIMULATED_MAC_TESTS}/SessionEndTest.cpp
  ${SIMULATED_MAC_TESTS}/SimulatedCallsTest.cpp
  ${SIMULATED_MAC_TESTS}/TransferToMonitor.cpp
  ${SIMULATED_MAC_TESTS}/UserDefaultsTest.mm
  ${SIMULATED_MAC_TESTS}/VerbsTest.cpp)
target_compile_definitions(SimulatedMacTests PRIVATE
  SIMULATED_MAC_FOLDER="${CMAKE_SOURCE_DIR}/Platform/SimulatedMac")
target_link_libraries(SimulatedMacTests PRIVATE DeskPicture PkgConfig::PANGOCAIRO)

# What the probe tells of a Mac, and that it leaves the Mac as it was.
add_executable(MacProbeTests
  EndToEnd/ProgramRun.cpp
  MacProbe/AnswersTest.cpp
  MacProbe/AssumptionsTest.cpp
  MacProbe/ForkedLauncher.cpp
  MacProbe/MacProbeCommandTest.cpp
  MacProbe/SceneRecordingTest.cpp
  MacProbe/SwitchingTest.cpp)
target_link_libraries(MacProbeTests PRIVATE MacProbe Safety CompilerWarnings)
target_compile_definitions(MacProbeTests PRIVATE
  SIMULATED_MAC_FOLDER="${CMAKE_SOURCE_DIR}/Platform/SimulatedMac" PROJECT_VERSION="${PROJECT_VERSION}"
  MACPROBE_EXECUTABLE="$<TARGET_FILE:macprobe>" VEILPANE_EXECUTABLE="$<TARGET_FILE:Veilpane>"
  MACSIM_EXECUTABLE="$<TARGET_FILE:macsim>")
add_dependencies(MacProbeTests macprobe macsim Veilpane)
reuse_precompiled(MacProbeTests TestSupport)
# A killed process tells no sanitizer's findings, and copying a sanitized one twice for each call takes minutes.
if(VEILPANE_SANITIZE)
  set(probe_tests "--gtest_filter=-MacProbeSwitching.*killed:MacProbeSwitching.it_comes_back_on*")
endif()
# As a person at a Mac would.
register_tests(MacProbeTests mac-probe --jobs 4 ${probe_tests})
wait_beside_others(MacProbeTests)

target_sources(MenuBarTests PRIVATE
  Support/AppKitHostOnLinux.mm
  Unit/Menu/AppDelegateOnGNUstepTest.mm
  Unit/Menu/EventLogOnLinuxTest.mm
  Unit/Menu/MenuRowViewsOnGNUstepTest.mm
  Unit/Menu/MenuUnderFaultsTest.mm)
target_link_libraries(MenuBarTests PRIVATE Safety)

set(GNUSTEP_TESTS ${CMAKE_SOURCE_DIR}/Platform/GNUstep/Tests)
add_executable(GNUstepTests
  Support/AppKitHostOnLinux.mm
  Support/MenuBarTest.mm
  ${GNUSTEP_TESTS}/AutoLayoutTest.mm
  ${GNUSTEP_TESTS}/LinearProgramTest.cpp
  ${GNUSTEP_TESTS}/MenusTest.mm
  ${CMAKE_SOURCE_DIR}/Platform/GNUstep/Layout/LinearProgram.cpp)
target_link_libraries(GNUstepTests PRIVATE TestSupport CompilerWarnings glpk)
compile_as_one(GNUstepTests)
register_tests(GNUstepTests gnustep --screens)

reuse_precompiled(Safety SimulatedMacWorld)
# Whoever links it takes only what it needs: the desk and what may happen to it ask for no tested program.
set_target_properties(Safety PROPERTIES UNITY_BUILD_MODE GROUP)
set_source_files_properties(
  Safety/CapturedOutput.cpp Safety/Desk.cpp Safety/Forked.cpp Safety/KnownLies.cpp Safety/Mischief.cpp
  Safety/Model.cpp Safety/Promise.cpp Safety/Rules.cpp Safety/PrintedReport.cpp Safety/Situations.cpp
  PROPERTIES UNITY_GROUP desk)
set_source_files_properties(
  Safety/Companion.cpp Safety/FaultRuns.cpp Safety/History.cpp Safety/Operation.cpp
  PROPERTIES UNITY_GROUP operations)

add_executable(StatusIconPicture Pictures/StatusIconPicture.mm)
target_link_libraries(StatusIconPicture PRIVATE VeilpaneCore CompilerWarnings)
set_target_properties(StatusIconPicture PROPERTIES
  RUNTIME_OUTPUT_DIRECTORY ${CMAKE_BINARY_DIR} LINKER_LANGUAGE CXX)

add_library(TwoPixelsAPoint MODULE Pictures/TwoPixelsAPoint.cpp)
target_link_libraries(TwoPixelsAPoint PRIVATE CompilerWarnings)
target_include_directories(TwoPixelsAPoint SYSTEM PRIVATE ${PANGOCAIRO_INCLUDE_DIRS})
set_target_properties(TwoPixelsAPoint PROPERTIES LIBRARY_OUTPUT_DIRECTORY ${CMAKE_BINARY_DIR})

add_test(NAME Program.destroys_nothing_at_its_end
  COMMAND ${Python3_EXECUTABLE} ${CMAKE_CURRENT_SOURCE_DIR}/Scripts/check_destructors.py
    ${CMAKE_NM} $<TARGET_FILE:VeilpaneCore> $<TARGET_OBJECTS:Veilpane>)
set_tests_properties(Program.destroys_nothing_at_its_end PROPERTIES LABELS unit)
foreach(script bootstrap check_layers check_limits coverage every_script fetch_arm64_root fetch_tools planted_bugs
    pictures publish release test)
  add_test(NAME Scripts.${script}
    COMMAND ${Python3_EXECUTABLE} ${CMAKE_CURRENT_SOURCE_DIR}/Scripts/test_${script}.py)
  set_tests_properties(Scripts.${script} PROPERTIES LABELS scripts)
endforeach()

add_test(NAME Scripts.readme
  COMMAND ${Python3_EXECUTABLE} ${CMAKE_CURRENT_SOURCE_DIR}/Scripts/test_readme.py $<TARGET_FILE:Veilpane>)
set_tests_properties(Scripts.readme PROPERTIES LABELS scripts)

set(MAC_PROGRAM_TESTS ${CMAKE_SOURCE_DIR}/Platform/MacProgram/Tests)
add_executable(MacProgramTests
  ${MAC_PROGRAM_TESTS}/DamagedFileTest.cpp
  ${MAC_PROGRAM_TESTS}/DamagedPrograms.cpp
  ${MAC_PROGRAM_TESTS}/FramesTest.cpp
  ${MAC_PROGRAM_TESTS}/FrameWalkTest.cpp
  ${MAC_PROGRAM_TESTS}/HandlerTableTest.cpp
  ${MAC_PROGRAM_TESTS}/TinyClass.cpp
  ${MAC_PROGRAM_TESTS}/TinyProgram.cpp
  ${MAC_PROGRAM_TESTS}/TinyUnwinding.cpp)
target_link_libraries(MacProgramTests PRIVATE TestSupport MacProgramFile CompilerWarnings)
if(TARGET macrun)
  target_sources(MacProgramTests PRIVATE ${MAC_PROGRAM_TESTS}/MacrunTest.cpp EndToEnd/ProgramRun.cpp)
  target_compile_definitions(MacProgramTests PRIVATE
    MACRUN_EXECUTABLE="$<TARGET_FILE:macrun>" VEILPANE_EXECUTABLE="$<TARGET_FILE:Veilpane>"
    MACSIM_EXECUTABLE="$<TARGET_FILE:macsim>")
  add_dependencies(MacProgramTests macrun)
endif()
register_tests(MacProgramTests mac-program)

# A fuzzer has to be told what each branch of the code that it tries compares, so that is compiled once more.
get_target_property(reading MacProgramFile SOURCES)
list(TRANSFORM reading PREPEND ${CMAKE_SOURCE_DIR}/Platform/MacProgram/)
add_executable(MacProgramFuzzer
  ${MAC_PROGRAM_TESTS}/ReadingFuzzer.cpp ${MAC_PROGRAM_TESTS}/TinyProgram.cpp ${reading})
target_include_directories(MacProgramFuzzer PRIVATE ${CMAKE_SOURCE_DIR}/Platform)
target_compile_options(MacProgramFuzzer PRIVATE -fsanitize=fuzzer,address,undefined -fno-sanitize-recover=all)
target_link_options(MacProgramFuzzer PRIVATE -fsanitize=fuzzer,address,undefined)
target_link_libraries(MacProgramFuzzer PRIVATE CompilerWarnings)
add_test(NAME MacProgramFuzzer.reads_or_refuses_whatever_it_gets
  COMMAND MacProgramFuzzer -runs=20000 -seed=1 -verbosity=0
    -artifact_prefix=${CMAKE_BINARY_DIR}/fuzzer-)
set_tests_properties(MacProgramFuzzer.reads_or_refuses_whatever_it_gets PROPERTIES LABELS mac-program)

# The end-to-end tests once more, with the program that ships for a Mac instead of the one for Linux. It is
# another build's: who has it, as Scripts/test.sh, tells where. From then on one that is missing is a failure.
set(VEILPANE_SHIPPED_PROGRAM "" CACHE FILEPATH
  "A program for a Mac, universal or for x86_64, that the end-to-end tests run as well")
option(VEILPANE_SHIPPED_ARM64 "Let them run its arm64 slice too, in the build linux-arm64" OFF)
if(VEILPANE_SHIPPED_PROGRAM AND TARGET macrun)
  include(MacProgram/Shipped.cmake)
endif()
