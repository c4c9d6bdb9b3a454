// Whether the main application, Tolvaran, is running. Every restore step checks this. Main thread
// only.
#pragma once

#include <sys/types.h>

#include <optional>

#include "platform/workspace.hpp"

namespace tolvaran {

/// The bundle identifier by which the main application is recognised.
inline constexpr const char* mainAppBundleID = "com.morvelli.Tolvaran";

/// Whether the application is the main application, terminated or not.
bool isMainApp(const workspace::RunningApplication& application);

/// The first live instance in the workspace's order whose process ID is not `excluding`; none if
/// there is none. An instance is live if it is listed and not flagged terminated.
/// @param excluding an instance that has just exited and may still be listed, if any
std::optional<pid_t> runningMainAppPID(std::optional<pid_t> excluding);

/// Whether a live instance has exactly this process ID.
bool isMainAppPIDAlive(pid_t pid);

}  // namespace tolvaran
