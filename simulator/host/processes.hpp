// The processes behind the running applications. A process is alive while its application is
// listed. With the real clock a launched application is a child process of this one, and the
// kernel reports its end, whatever the cause.
#pragma once

#include <sys/types.h>

#include <cstdint>
#include <functional>

#include "simulator/loop/clock.hpp"

namespace simulator {

/// Starts a child process that does nothing until it is killed. It dies with this one, and with
/// reset().
/// @throws std::system_error if the host refuses
pid_t startProcess();

/// Ends a process: a child by SIGKILL, which is noticed when the event loop next waits; a process
/// that exists only in the machine, immediately.
void killProcess(pid_t pid);

bool isAlive(pid_t pid);

/// Called once when a process ends, then forgotten.
using ExitHandler = std::function<void()>;
using ExitWatch = std::uint64_t;
ExitWatch watchExit(pid_t pid, ExitHandler handler);
void unwatchExit(ExitWatch watch);

/// Waits in the kernel until `time`, or until a child ends; that child is then removed from the
/// list of applications, its watches are called, and did-terminate is posted. For the real clock.
void waitForProcesses(clock::Time time);

}  // namespace simulator
