// Whether the main application, Tolvaran, is running. Every restore step asks this first.
#pragma once

#include <sys/types.h>

#include <optional>

#include "platform/workspace.hpp"

namespace tolvaran {

/// The bundle identifier by which the main application is recognised.
inline constexpr const char* mainAppBundleID = "com.morvelli.Tolvaran";

/// Whether the application is the main application, terminated or not.
bool isMainApp(const workspace::RunningApplication& application);

/// The first live instance (listed, not terminated) in the workspace's order whose process ID is
/// not `excluding`. The excluded one is an instance that has just exited and may still be listed.
std::optional<pid_t> runningMainAppPID(std::optional<pid_t> excluding);

/// Whether a live instance has exactly this process ID.
bool isMainAppPIDAlive(pid_t pid);

}  // namespace tolvaran
