# The part of the simulated Mac that is the same on a real one: its hardware, window server and users, which
# need nothing of the platform, and the calls by which a program sees them.
set(SIMULATED_MAC ${CMAKE_CURRENT_LIST_DIR})
set(SIMULATED_MAC_CALLS
  Calls/Applications.mm
  Calls/Beep.cpp
  Calls/Call.cpp
  Calls/CoreGraphics.cpp
  Calls/DisplayConfiguration.cpp
  Calls/DisplayList.cpp
  Calls/FramebufferI2C.cpp
  Calls/LaunchOptions.cpp
  Calls/Loader.cpp
  Calls/ProcessLaunch.cpp
  Calls/ProfilerPipe.cpp
  Calls/Registry.cpp
  Calls/Screens.mm
  Calls/SystemControl.cpp
  Calls/UserDefaults.mm)
set(SIMULATED_MAC_WORLD
  World/AttachedProcesses.cpp
  World/AttendedMac.cpp
  World/CallLog.cpp
  World/Complaint.cpp
  World/EventPlan.cpp
  World/HabitReaders.cpp
  World/FaultPlan.cpp
  World/Field.cpp
  World/JsonText.cpp
  World/GammaTable.cpp
  World/HardwareRegistry.cpp
  World/Ledger.cpp
  World/Mac.cpp
  World/MacState.cpp
  World/Message.cpp
  World/ProcessIdentity.cpp
  World/RunningMac.cpp
  World/Scene.cpp
  World/SceneEvents.cpp
  World/SceneFaults.cpp
  World/SceneNumbers.cpp
  World/SceneProfiler.cpp
  World/SharedMemory.cpp
  World/SimulatedCalls.cpp
  World/StateDirectory.cpp
  World/StoredDefaults.cpp
  World/StoredState.cpp
  World/TextFile.cpp
  World/Verbs.cpp)
list(TRANSFORM SIMULATED_MAC_CALLS PREPEND ${SIMULATED_MAC}/)
list(TRANSFORM SIMULATED_MAC_WORLD PREPEND ${SIMULATED_MAC}/)

# CMake 3.29 and later would compile Objective-C++ files together by itself, in batches that nobody has tried.
set(objective_cxx ${SIMULATED_MAC_CALLS})
list(FILTER objective_cxx INCLUDE REGEX "[.]mm$")
set_source_files_properties(${objective_cxx} PROPERTIES SKIP_UNITY_BUILD_INCLUSION ON)
