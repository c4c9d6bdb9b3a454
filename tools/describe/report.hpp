// A report of a user's Mac: a scenario with everything needed to replay elsewhere what the helper
// does on that Mac. Used by tolvaran_describe --report.
#pragma once

#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "tools/describe/state_files.hpp"

namespace tolvaran::describe {

struct Report {
    nlohmann::json scenario;
    std::vector<std::string> notes;  // what was left out, one line each
};

/// The report of this Mac. Main thread only, since it asks the workspace.
/// @param macOS the system's version
Report makeReport(const std::string& macOS, Settings settings);

/// What is personal in the report, one line each.
std::vector<std::string> personalContent(const nlohmann::json& scenario);

}  // namespace tolvaran::describe
