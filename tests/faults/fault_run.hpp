// A scenario played with something going wrong, and then another run of the helper in which nothing
// does: the two halves of every fault test.
#pragma once

#include <functional>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "simulator/player/scenario.hpp"

namespace tolvaran::tests {

/// Decides the fate of one outside call: null, or a fault ({"result", "effect"}).
/// @param index    the call's number in the run, from 0
/// @param function its name
using Decide = std::function<nlohmann::json(std::size_t index, const std::string& function)>;

/// Where a Mac and its files are after a run.
struct Ending {
    nlohmann::json mac;
    nlohmann::json files;  // without the heartbeat

    bool operator==(const Ending&) const = default;
};

/// Where a new helper ends that meets no fault: it starts on what lies in "ApplicationSupport"
/// below `root`, on a Mac where Tolvaran no longer runs.
Ending healedEnding(const nlohmann::json& mac, const std::string& root);

/// What became of one scenario.
struct FaultRun {
    std::vector<std::string> calls;     // every outside call of the first run, in order
    std::vector<std::string> log;       // of the first run, "level: message"
    Ending after;                       // the first run
    Ending healed;                      // the run after it: a new helper, no Tolvaran, no faults
    std::vector<std::string> leftOver;  // what is left open or lying about after each, described
};

/// Plays the scenario, asking `decide` about every outside call, and then the next run.
FaultRun runWithFaults(const simulator::Scenario& scenario, const Decide& decide);

/// The paths of the scenarios with a virtual clock and no faults of their own (which count calls,
/// so that another fault would move them elsewhere).
std::vector<std::string> faultlessScenarios();

/// The JSON pointers at which the two differ, down to the innermost value.
std::vector<std::string> differences(const Ending& expected, const Ending& actual);

}  // namespace tolvaran::tests
