// The restore step for the Dock's auto-hide setting.
#pragma once

#include <sys/types.h>

#include <optional>
#include <string>

namespace tolvaran {

/// Forces the Dock back to the auto-hide value in "dock-autohide-pending.json" and removes that
/// marker. Without a marker nothing is done or logged after the running test.
void restoreDockAutoHide(const std::string& tag, std::optional<pid_t> exitedPID);

}  // namespace tolvaran
