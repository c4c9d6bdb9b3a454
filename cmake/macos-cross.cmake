# Cross-compiles for macOS with the host's Clang and LLVM's linker, as Xcode does on a Mac: against
# the SDK's headers, Apple's C++ standard library among them, and with the system's libraries linked
# dynamically. tools/build-mac configures with it and gives
#   TOLVARAN_MAC_SYSROOT       a directory in the form of Xcode's SDKs (tools/mac/make-sysroot)
#   TOLVARAN_MAC_ARCHITECTURE  arm64 or x86_64
# and, in CMAKE_FIND_ROOT_PATH, where packages of header-only libraries are.
list(APPEND CMAKE_TRY_COMPILE_PLATFORM_VARIABLES TOLVARAN_MAC_SYSROOT TOLVARAN_MAC_ARCHITECTURE)

set(CMAKE_SYSTEM_NAME Darwin)
set(CMAKE_SYSTEM_PROCESSOR ${TOLVARAN_MAC_ARCHITECTURE})
set(CMAKE_OSX_SYSROOT ${TOLVARAN_MAC_SYSROOT})
set(CMAKE_OSX_ARCHITECTURES "")  # part of the target below

find_program(TOLVARAN_CLANG clang++ REQUIRED)
foreach(language CXX OBJCXX)
    set(CMAKE_${language}_COMPILER ${TOLVARAN_CLANG})
    set(CMAKE_${language}_FLAGS "-target ${TOLVARAN_MAC_ARCHITECTURE}-apple-macos -stdlib=libc++")
endforeach()
set(CMAKE_EXE_LINKER_FLAGS -fuse-ld=lld)
find_program(CMAKE_AR llvm-ar REQUIRED)
find_program(CMAKE_RANLIB llvm-ranlib REQUIRED)
set(CMAKE_INSTALL_NAME_TOOL true CACHE FILEPATH "")  # wanted for shared libraries; there are none

set(CMAKE_TRY_COMPILE_CONFIGURATION Release)
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
