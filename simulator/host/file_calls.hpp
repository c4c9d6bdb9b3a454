// The host's functions that the linker redirects to the simulator: the clock's nanosleep, the
// process's getpid, getpwuid, kill, localtime_r and signal, and the file calls.
// faults/outside_calls.def lists them all.
//
// Faults on file calls are for the system under test only. They meet only calls on paths below the
// application-support and log directories (the environment variables
// TOLVARAN_APPLICATION_SUPPORT_DIR and TOLVARAN_LOGS_DIR) and below directories that a test
// exposes, and calls on descriptors opened there. A fault's result is the name or number of the
// error with which the call fails; for read and write also {"bytes": n}: the call then moves only
// the first n bytes and says so. With `"effect": false` alone the call reports success and does
// nothing: a write claims to have written everything, a read is at the end of the file, and opening
// opens nothing (/dev/null, or no directory).
//
// What a test or the simulator does through the C++ library (std::ifstream, std::filesystem) goes
// to the host directly; the simulator's own direct calls use host_calls.hpp.
//
// With the virtual clock kill() knows this process and those of the running applications: it finds
// them with signal 0 and refuses (EPERM) to do anything else.
#pragma once

#include <sys/types.h>

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <string_view>

namespace simulator {

/// Lets faults meet calls on files below this directory too, until the next reset.
void exposeToFaults(const std::string& directory);

/// Takes what the process writes to standard error.
/// @return whether to write it to the host's standard error as well
using StandardErrorSink = std::function<bool(std::string_view text)>;

/// Sets the sink; empty for none. A reset keeps it.
void setStandardErrorSink(StandardErrorSink sink);

/// What getpid() returns until the next reset; none: the host's answer.
void setProcessID(std::optional<pid_t> pid);

/// A redirected call that changed a file, opened or closed one, or flushed it.
struct FileCall {
    std::string_view function;
    const char* path = nullptr;     // for a call on a path; mkostemp has filled in the name
    const char* newPath = nullptr;  // for rename and link
    int descriptor = -1;            // for a call on a descriptor
    int flags = 0;                  // for open; for fcntl, the command
    std::string_view data = {};     // for write, what it was given
    std::int64_t result = 0;        // what the host returned; never a failure
};

/// Shows `observe` every call of close, fcntl, fsync, link, mkdir, mkostemp, open, rename,
/// unlink and write, wherever the file lies, after the host has performed it. A call
/// that fails, or that a fault keeps from having its effect, is not shown. reset() ends it.
void observeFileCalls(std::function<void(const FileCall& call)> observe);

}  // namespace simulator
