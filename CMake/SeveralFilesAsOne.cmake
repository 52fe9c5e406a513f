# Parsing headers takes most of the time that the simulated Mac and the tests take to build: several of their
# files are compiled as one. The program's are not, nor the probe's for a Mac, so that each is known to include
# what it needs.
option(CMAKE_UNITY_BUILD "Compile several files of the simulated Mac and of the tests as one" ON)
set(CMAKE_UNITY_BUILD_BATCH_SIZE 12)

# compile_as_one(TARGET): the target's Objective-C++ files as well, which CMake does from 3.29 on only
function(compile_as_one target)
  get_target_property(sources ${target} SOURCES)
  list(FILTER sources INCLUDE REGEX "[.]mm$")
  if(NOT CMAKE_UNITY_BUILD OR NOT sources)
    return()
  endif()
  set_source_files_properties(${sources} PROPERTIES HEADER_FILE_ONLY ON)
  set(index 0)
  foreach(source ${sources})
    cmake_path(ABSOLUTE_PATH source)
    math(EXPR batch "${index} / ${CMAKE_UNITY_BUILD_BATCH_SIZE}")
    string(APPEND text_${batch} "#include \"${source}\"\n")
    math(EXPR index "${index} + 1")
  endforeach()
  foreach(number RANGE ${batch})
    set(file ${CMAKE_CURRENT_BINARY_DIR}/${target}-${number}.mm)
    file(CONFIGURE OUTPUT ${file} CONTENT "${text_${number}}" @ONLY)
    target_sources(${target} PRIVATE ${file})
    set_source_files_properties(${file} PROPERTIES SKIP_PRECOMPILE_HEADERS ON)
  endforeach()
endfunction()
