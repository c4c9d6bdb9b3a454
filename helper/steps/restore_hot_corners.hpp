// The restore step for the hot corners and the screen saver's hold on its own.
#pragma once

#include <sys/types.h>

#include <optional>
#include <string>

namespace tolvaran {

/// Ends a screen-saver hold recorded in "hot-corner-screen-saver-hold", and then puts back the
/// corners saved in "hot-corners-snapshot.json". What could not be put back stays for the next run.
/// Without either file nothing is done or logged after the running test.
void restoreHotCorners(const std::string& tag, std::optional<pid_t> exitedPID);

}  // namespace tolvaran
