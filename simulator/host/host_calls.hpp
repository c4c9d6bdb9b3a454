// The host's own functions behind those that the linker redirects to the simulator (the HOST_CALLs
// of outside_calls.def). The simulator calls these where it means the host itself, so that no fault
// meets its own work.
#pragma once

#include <dirent.h>
#include <dlfcn.h>
#include <fcntl.h>
#include <pwd.h>
#include <signal.h>
#include <stdio.h>
#include <stdlib.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <time.h>
#include <unistd.h>

#define APPLE_CALL(...)
#define HOST_CALL(function, ...) extern "C" decltype(::function) __real_##function;
#include "simulator/faults/outside_calls.def"
#undef HOST_CALL
#undef APPLE_CALL

namespace simulator {

using SignalHandler = void (*)(int number);

}  // namespace simulator
