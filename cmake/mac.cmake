# What a build for a Mac also needs: Objective-C++, both architectures, and the check that the
# simulator's headers declare what Apple's do.
enable_language(OBJCXX)
set(CMAKE_OBJCXX_STANDARD 20)
set(CMAKE_OBJCXX_STANDARD_REQUIRED ON)
set(CMAKE_OBJCXX_EXTENSIONS OFF)

# The product is universal wherever a Mac builds it. A cross-build's target is one architecture.
if(CMAKE_HOST_APPLE AND NOT CMAKE_OSX_ARCHITECTURES)
    set(CMAKE_OSX_ARCHITECTURES arm64 x86_64)
endif()

# The simulator's headers must declare what the SDK declares.
separate_arguments(flags UNIX_COMMAND "${CMAKE_CXX_COMPILER_ARG1} ${CMAKE_CXX_FLAGS}")
list(APPEND flags -std=c++20 -mmacosx-version-min=${CMAKE_OSX_DEPLOYMENT_TARGET})
if(CMAKE_OSX_SYSROOT)
    list(APPEND flags -isysroot ${CMAKE_OSX_SYSROOT})
endif()
file(GLOB_RECURSE headers CONFIGURE_DEPENDS ${PROJECT_SOURCE_DIR}/simulator/include/*.h)
set(checked ${CMAKE_BINARY_DIR}/declarations/checked)
set(test_of_check ${PROJECT_SOURCE_DIR}/tests/packaging/declarations_test.py)
add_custom_command(
    OUTPUT ${checked}
    # First test the check on headers that differ; only this build has a compiler for it.
    COMMAND ${PYTHON3} ${test_of_check} ${CMAKE_CXX_COMPILER} ${flags}
    COMMAND ${PROJECT_SOURCE_DIR}/tools/check-declarations
            --headers ${PROJECT_SOURCE_DIR}/simulator/include --work ${CMAKE_BINARY_DIR}/declarations
            -- ${CMAKE_CXX_COMPILER} ${flags}
    COMMAND ${CMAKE_COMMAND} -E touch ${checked}
    DEPENDS ${PROJECT_SOURCE_DIR}/tools/check-declarations ${test_of_check} ${headers}
    COMMENT "Comparing the simulator's declarations with the SDK's")
add_custom_target(check_declarations DEPENDS ${checked})
