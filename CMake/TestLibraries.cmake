# What the tests are made with: nlohmann_json::nlohmann_json and GTest::gtest.
if(NOT CMAKE_CROSSCOMPILING)
  find_package(nlohmann_json 3.11 QUIET)
  find_package(GTest QUIET)
  if(NOT nlohmann_json_FOUND OR NOT GTest_FOUND)
    message(FATAL_ERROR "The tests need GoogleTest and nlohmann-json 3.11 or later; on a Mac get them "
      "with: brew install googletest nlohmann-json")
  endif()
  return()
endif()

# For a Mac, on Debian: of its headers and of GoogleTest's sources, as its libraries are for Linux.
set(headers ${CMAKE_BINARY_DIR}/test-libraries)
file(MAKE_DIRECTORY ${headers})
file(CREATE_LINK /usr/include/nlohmann ${headers}/nlohmann SYMBOLIC)
add_library(nlohmann_json INTERFACE)
target_include_directories(nlohmann_json SYSTEM INTERFACE ${headers})
add_library(nlohmann_json::nlohmann_json ALIAS nlohmann_json)

add_library(gtest STATIC EXCLUDE_FROM_ALL /usr/src/googletest/googletest/src/gtest-all.cc)
target_include_directories(gtest
  SYSTEM PUBLIC /usr/src/googletest/googletest/include PRIVATE /usr/src/googletest/googletest)
set_target_properties(gtest PROPERTIES COMPILE_WARNING_AS_ERROR OFF)
target_compile_options(gtest PRIVATE -O0)
add_library(GTest::gtest ALIAS gtest)
