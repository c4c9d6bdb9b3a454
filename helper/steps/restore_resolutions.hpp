// The restore step for the displays' modes.
#pragma once

#include <sys/types.h>

#include <optional>
#include <string>

namespace tolvaran {

/// Puts back the display modes recorded in ".resolution-originals", and logs how many it applied
/// when there were any. Without records nothing is done or logged, not even that the main
/// application is running: the records are looked at first.
void restoreResolutions(const std::string& tag, std::optional<pid_t> exitedPID);

}  // namespace tolvaran
