# Apple's compiler is too old before Xcode 15, and CMake before 3.26 asks it for no C++23 in Objective-C++.
if(NOT CMAKE_CXX_COMPILER_ID STREQUAL AppleClang)
  return()
endif()
if(CMAKE_VERSION VERSION_LESS 3.26)
  message(FATAL_ERROR "On a Mac Veilpane needs CMake 3.26 or later; get it from cmake.org or with: "
    "brew install cmake")
endif()
if(CMAKE_CXX_COMPILER_VERSION VERSION_LESS 15)
  message(FATAL_ERROR "Veilpane needs the command-line tools of Xcode 15 or later; update them in "
    "System Settings, General, Software Update")
endif()
