// The helper's unit of repair: every restore step once, always in the same order. Main thread only.
#pragma once

#include <sys/types.h>

#include <optional>
#include <string>

namespace tolvaran {

/// Runs every step. Each step checks whether the main application is running and whether there is
/// anything to put back, reports only through the log, and never stops the later ones. A step that
/// runs out of memory logs at "error" "gave up: " and the error.
/// @param tag       what triggered the run: "cold-start", "safety-tick", "display-reconfig" or
///                  "proc-exit"
/// @param exitedPID for "proc-exit", the instance that has just exited and does not count as
///                  running although it may still be listed
void runRestoreSequence(const std::string& tag, std::optional<pid_t> exitedPID);

/// Runs every step as runRestoreSequence() does, within a piece of the main queue's work. Runs that
/// follow each other all use the records that the first one found, until the main queue comes to
/// rest: the list of running applications may not have been updated before, so a main application
/// that has started meanwhile, and its new records, would not be recognised.
void runQueuedRestoreSequence(const std::string& tag, std::optional<pid_t> exitedPID);

}  // namespace tolvaran
