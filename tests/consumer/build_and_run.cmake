# Installs the library into the build tree and, with only what was installed there, builds and runs
# the consumer, found by CMake, and the guide's example, found by pkg-config. Called with
#   BUILD     the build tree
#   COMPILER  the C++ compiler
#   FLAGS     what everything must be compiled and linked with
#   CLANG     Clang, which imports the library as a module
#   GUIDE     docs/library.md, which has the example
#   CRASH     the object of guide_after_a_crash.cpp, if there is a simulated Mac
cmake_minimum_required(VERSION 3.25)
set(source ${CMAKE_CURRENT_LIST_DIR})
set(work ${BUILD}/consumer)

function(run)
    execute_process(COMMAND ${ARGN} COMMAND_ERROR_IS_FATAL ANY)
endfunction()

function(run_consumer program state)
    file(REMOVE_RECURSE ${state})
    run(${CMAKE_COMMAND} -E env TOLVARAN_APPLICATION_SUPPORT_DIR=${state} ${program})
    file(GLOB found LIST_DIRECTORIES FALSE RELATIVE ${state}/State ${state}/State/* ${state}/State/.*)
    set(expected .display-originals .helper-heartbeat .resolution-originals
        dock-autohide-pending.json hot-corners-snapshot.json menubar-state.json
        native-mirrored-sets.json separated-sets.json side-pinned-sets.json)
    list(SORT found)
    list(SORT expected)
    if(NOT "${found}" STREQUAL "${expected}")
        message(FATAL_ERROR "${program} left ${found}, not ${expected}")
    endif()
endfunction()

file(REMOVE_RECURSE ${work})
run(${CMAKE_COMMAND} --install ${BUILD} --component library --prefix ${work}/prefix)

# What an installed header mentions must be installed, and no header may need this system's JSON.
set(headers ${work}/prefix/include/tolvaran)
file(GLOB_RECURSE public RELATIVE ${headers} ${headers}/restore/*.hpp)
if(NOT public)
    message(FATAL_ERROR "no header was installed in ${headers}/restore")
endif()
foreach(header ${public})
    file(READ ${headers}/${header} content)
    string(REGEX MATCHALL "[a-z_/]+\\.[hc]pp" mentioned "${content}")
    get_filename_component(folder ${header} DIRECTORY)
    foreach(other ${mentioned})
        if(NOT EXISTS ${headers}/${other} AND NOT EXISTS ${headers}/${folder}/${other})
            message(FATAL_ERROR "${header} mentions ${other}, which is not installed")
        endif()
    endforeach()
    if(content MATCHES "json::|nlohmann|rapidjson")
        message(FATAL_ERROR "${header} mentions ${CMAKE_MATCH_0}")
    endif()
endforeach()

run(${CMAKE_COMMAND} -S ${source} -B ${work}/build -G Ninja
    -DCMAKE_CXX_COMPILER=${COMPILER} "-DCMAKE_CXX_FLAGS=${FLAGS}"
    -DCMAKE_PREFIX_PATH=${work}/prefix -DCMAKE_FIND_USE_PACKAGE_REGISTRY=OFF)
run(${CMAKE_COMMAND} --build ${work}/build)
run_consumer(${work}/build/consumer ${work}/state)

# The guide's example, found by pkg-config, must leave nothing to be put back.
set(ENV{PKG_CONFIG_PATH} ${work}/prefix/lib/pkgconfig)
execute_process(COMMAND pkg-config --cflags --libs TolvaranRestore OUTPUT_VARIABLE options
                OUTPUT_STRIP_TRAILING_WHITESPACE COMMAND_ERROR_IS_FATAL ANY)
separate_arguments(options UNIX_COMMAND "${FLAGS} ${options}")
file(READ ${GUIDE} guide)
if(NOT guide MATCHES "\n```cpp\n(.*\n})\n```\n")
    message(FATAL_ERROR "there is no example in ${GUIDE}")
endif()
file(WRITE ${work}/example.cpp "${CMAKE_MATCH_1}\n")
file(WRITE ${work}/main.cpp "int example();\nint main() { return example(); }\n")
run(${COMPILER} -std=c++20 -Dmain=example -c ${work}/example.cpp -o ${work}/example.o ${options})
run(${COMPILER} ${work}/main.cpp ${work}/example.o -o ${work}/example ${options})
file(REMOVE_RECURSE ${work}/state)
run(${CMAKE_COMMAND} -E env TOLVARAN_APPLICATION_SUPPORT_DIR=${work}/state ${work}/example)
file(GLOB left LIST_DIRECTORIES FALSE ${work}/state/State/* ${work}/state/State/.*)
if(left)
    message(FATAL_ERROR "the guide's example left ${left}")
endif()

# The example after a crash, if there is a simulated Mac.
if(CRASH)
    run(${COMPILER} ${CRASH} ${work}/example.o -o ${work}/guide_after_a_crash ${options})
    run(${CMAKE_COMMAND} -E env TOLVARAN_APPLICATION_SUPPORT_DIR=${work}/state
        ${work}/guide_after_a_crash)
endif()

if(NOT CLANG)
    message(FATAL_ERROR "there is no Clang to import the library as a module")
endif()
execute_process(COMMAND pkg-config --cflags TolvaranRestore OUTPUT_VARIABLE cflags
                OUTPUT_STRIP_TRAILING_WHITESPACE COMMAND_ERROR_IS_FATAL ANY)
separate_arguments(cflags UNIX_COMMAND "${cflags}")
run(${CLANG} -std=c++20 -fmodules -fcxx-modules -fmodules-cache-path=${work}/modules
    -fsyntax-only ${source}/imports_module.cpp ${cflags})
