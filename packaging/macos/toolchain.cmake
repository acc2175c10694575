# Builds for macOS on Linux, with a Clang that brings the headers and the library of the system.
# TAGWRITER_ZIG: the directory of that compiler. TAGWRITER_ARCHITECTURE: arm64 or x86_64.
set(CMAKE_TRY_COMPILE_PLATFORM_VARIABLES TAGWRITER_ZIG TAGWRITER_ARCHITECTURE)
set(CMAKE_SYSTEM_NAME Darwin)
set(CMAKE_SYSTEM_PROCESSOR ${TAGWRITER_ARCHITECTURE})
string(REPLACE arm64 aarch64 architecture ${TAGWRITER_ARCHITECTURE})
set(target -target ${architecture}-macos.11.0)
set(CMAKE_C_COMPILER ${TAGWRITER_ZIG}/zig cc ${target})
set(CMAKE_CXX_COMPILER ${TAGWRITER_ZIG}/zig c++ ${target})
find_program(CMAKE_AR llvm-ar REQUIRED)
find_program(CMAKE_RANLIB llvm-ranlib REQUIRED)
find_program(CMAKE_INSTALL_NAME_TOOL llvm-install-name-tool REQUIRED)
# Nothing of the build machine's own libraries; header-only libraries are found by their packages.
set(CMAKE_FIND_ROOT_PATH ${CMAKE_INSTALL_PREFIX})
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
