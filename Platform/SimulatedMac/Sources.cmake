# The part of the simulated Mac that is the same on a real one.
set(SIMULATED_MAC ${CMAKE_CURRENT_LIST_DIR})
set(SIMULATED_MAC_SOURCES
  Calls/Beep.cpp
  Calls/Call.cpp
  Calls/CoreGraphics.cpp
  Calls/DisplayConfiguration.cpp
  Calls/DisplayList.cpp
  Calls/FramebufferI2C.cpp
  Calls/Loader.cpp
  Calls/ProcessLaunch.cpp
  Calls/ProfilerPipe.cpp
  Calls/Registry.cpp
  Calls/Screens.mm
  Calls/UserDefaults.mm
  World/AttendedMac.cpp
  World/CallLog.cpp
  World/Complaint.cpp
  World/FaultPlan.cpp
  World/GammaTable.cpp
  World/HardwareRegistry.cpp
  World/Ledger.cpp
  World/Mac.cpp
  World/MacState.cpp
  World/ProcessIdentity.cpp
  World/RunningMac.cpp
  World/Scene.cpp
  World/SceneFaults.cpp
  World/SceneProfiler.cpp
  World/SimulatedCalls.cpp
  World/StateDirectory.cpp)
list(TRANSFORM SIMULATED_MAC_SOURCES PREPEND ${SIMULATED_MAC}/)
