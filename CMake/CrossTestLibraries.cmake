# nlohmann_json::nlohmann_json and GTest::gtest for a Mac, made on Debian: of its headers and of
# GoogleTest's sources, as its libraries are for Linux.
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
add_library(GTest::gtest ALIAS gtest)
