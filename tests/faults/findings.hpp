// Compares a run with a fault with the run without it.
#pragma once

#include <string>
#include <vector>

#include "tests/faults/fault_run.hpp"

namespace tolvaran::tests {

/// Whether the file at this place is as it was before the run. Unlike the helper, the main
/// application need not try again, so it may leave a file like that.
bool isAsBefore(const nlohmann::json& filesBefore, const Ending& ending, const std::string& place);

/// Where an ending differs from the right ones of this story.
std::vector<std::string> wrongPlaces(const FaultRun& calm, const Ending& ending);

/// What is wrong with a run, beyond what the table of prescribed losses allows: where the next run
/// ends differently, records that were removed too early, and what was left behind.
std::vector<std::string> findings(const FaultRun& calm, const FaultRun& hit);

}  // namespace tolvaran::tests
