// The restore step for a cursor that was left detached from the mouse.
#pragma once

#include <sys/types.h>

#include <optional>
#include <string>

namespace tolvaran {

/// Associates the cursor with the mouse. There is no record of its state, so this happens, and logs
/// one line, on every run while the main application is not running.
void restoreCursorAssociation(const std::string& tag, std::optional<pid_t> exitedPID);

}  // namespace tolvaran
