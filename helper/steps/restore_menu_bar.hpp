// The restore step for the menu bar.
#pragma once

#include <sys/types.h>

#include <optional>
#include <string>

namespace tolvaran {

/// Puts back the menu bar's auto-hide and every display's visibility override from
/// "menubar-state.json", and keeps there what could not be settled, for the next run. Without that
/// file nothing is done or logged after the running test.
void restoreMenuBar(const std::string& tag, std::optional<pid_t> exitedPID);

}  // namespace tolvaran
