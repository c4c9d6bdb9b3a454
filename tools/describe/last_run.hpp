// What the helper's log says about its start and its last restore run.
#pragma once

#include <sys/types.h>

#include <array>
#include <optional>
#include <string>
#include <vector>

#include "report/log_reading.hpp"

namespace tolvaran::describe {

/// What can be put back. Two of these belong to the same step of a run.
enum class Matter { arrangement, modes, menuBar, hotCorners, screenSaver, dock };
inline constexpr std::size_t matterCount = 6;

struct HelperStart {
    std::string time;  // local
    pid_t pid = 0;
};

struct LastRun {
    std::optional<HelperStart> start;  // the last one in the log
    /// The warnings and errors of the last finished run, by matter.
    std::array<std::vector<std::string>, matterCount> failures;
};

/// Reads the log's lines, oldest first.
LastRun readLastRun(const std::vector<std::string>& lines);

}  // namespace tolvaran::describe
