# Builds arm64 programs with what host/setup --arch arm64 prepared.
set(CMAKE_SYSTEM_NAME Linux)
set(CMAKE_SYSTEM_PROCESSOR aarch64)
set(CMAKE_LIBRARY_ARCHITECTURE aarch64-linux-gnu)
set(CMAKE_CXX_COMPILER aarch64-linux-gnu-g++)

set(CMAKE_SYSROOT ${CMAKE_CURRENT_LIST_DIR}/../build/guest/root-arm64)
cmake_path(NORMAL_PATH CMAKE_SYSROOT)
if(NOT EXISTS ${CMAKE_SYSROOT}/usr)
  message(FATAL_ERROR "There is no ${CMAKE_SYSROOT}. Run host/setup --arch arm64, then configure again.")
endif()

# Programs such as aidl and javac are the machine's own.
set(CMAKE_FIND_ROOT_PATH ${CMAKE_SYSROOT})
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)

# CTest runs tests by it, and the build those that it asks for their list.
set(CMAKE_CROSSCOMPILING_EMULATOR qemu-aarch64-static;-L;${CMAKE_SYSROOT})
