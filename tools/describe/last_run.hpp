// What the helper's log says about its start and its last restore run.
#pragma once

#include <sys/types.h>

#include <optional>
#include <string>
#include <vector>

namespace tolvaran::describe {

struct HelperStart {
    std::string time;  // local
    pid_t pid = 0;
};

struct LastRun {
    std::optional<HelperStart> start;  // the last one in the log
    /// The warnings and errors of the last finished run, except those about processes.
    std::vector<std::string> failures;
};

/// Reads the log's lines, oldest first.
LastRun readLastRun(const std::vector<std::string>& lines);

}  // namespace tolvaran::describe
