// Plays a scenario through the real helper, from the start of its process to its end, and reports
// what it did. Used by the program tolvaran_simulator, by scenario tests and by fuzzers; it may be
// called any number of times in one process.
#pragma once

#include <functional>
#include <nlohmann/json.hpp>
#include <optional>
#include <string>
#include <vector>

#include "player/scenario.hpp"

namespace simulator {

struct PlayOptions {
    /// Keeps the application-support directory as "ApplicationSupport" and the logs as "Logs" in
    /// this directory; files already there are used. None: a new temporary directory, which is
    /// removed at the end.
    std::optional<std::string> root = {};
    /// Keeps the helper's log off standard error.
    bool quiet = false;
    /// Adds scenario, timeline, order and before to the result. Takes longer.
    bool observes = false;
    /// Called when everything is prepared, just before the process begins.
    std::function<void()> prepare = {};
    /// What the process does. None: it is the helper.
    std::function<void()> program = {};
    /// Called when the process has ended, before anything that it held is cleaned up.
    std::function<void()> atEnd = {};
};

struct Outcome {
    nlohmann::json result;              // log, calls, notifications, mac, files; see `observes`
    std::vector<std::string> failures;  // one line for each expectation that failed
};

/// Plays the scenario as a newly started process: the library's process-wide values, the simulator,
/// and the environment variables that the helper reads are all fresh. The simulator is reset again
/// at the end.
/// @throws ScenarioError if an event is impossible on the machine, or the files cannot be written.
///         Exceptions of the helper itself pass through: they would have ended the process.
Outcome play(const Scenario& scenario, const PlayOptions& options = {});

}  // namespace simulator
