# Compiles for arm64 Linux on another machine, with what Scripts/bootstrap.sh --arm64 has unpacked. The
# compiler is clang, which is one for every processor.
set(CMAKE_SYSTEM_NAME Linux)
set(CMAKE_SYSTEM_PROCESSOR aarch64)
set(CMAKE_SYSROOT ${CMAKE_CURRENT_LIST_DIR}/../.tools/arm64-root)
cmake_path(NORMAL_PATH CMAKE_SYSROOT)
if(NOT EXISTS ${CMAKE_SYSROOT})
  message(FATAL_ERROR "What is needed of arm64 is missing: run Scripts/bootstrap.sh --arm64")
endif()

foreach(language C CXX OBJCXX ASM)
  set(CMAKE_${language}_COMPILER_TARGET aarch64-linux-gnu)
endforeach()
foreach(language C CXX OBJCXX)
  # By that path, and not by the link that leads there, clang's paths are what CMake takes them for.
  set(CMAKE_${language}_COMPILER_EXTERNAL_TOOLCHAIN ${CMAKE_SYSROOT}/usr)
endforeach()
foreach(kind EXE SHARED MODULE)
  set(CMAKE_${kind}_LINKER_FLAGS_INIT -fuse-ld=lld)
endforeach()

set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)
