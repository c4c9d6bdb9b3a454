// Which failures are logged, and how.
#pragma once

#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "tests/faults/fault_run.hpp"

namespace tolvaran::tests {

/// Whether a function failed in one call, or in all from then on.
enum class Lasting { once, forGood };

/// Looks for the log line about a function that failed in this call.
/// @param form how it failed
/// @param log  the run's lines, "level: message"
/// @return empty if one of the lines was found, or none is due; else a regular expression for them
/// @throws std::out_of_range for a function that is missing from the tables
std::string missingLine(const Call& call, const nlohmann::json& form, Lasting lasting,
                        const std::vector<std::string>& log);

}  // namespace tolvaran::tests
